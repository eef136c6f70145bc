#include <gmock/gmock.h>

#include <cstring>

#include "agentfw/vuira.h"
#include "bridge/zelbuild.h"
#include "support/default_code_page.h"
#include "support/library_fixture.h"
#include "support/trace_view.h"
#include "zelreqtakeaction.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

// A table with or without an ORIGINNODE column of 32 bytes at offset 4.
class Rows : public vuira {
 public:
  Rows(RequestDetail detail, TableManager& table, bool hasNode)
      : vuira(&detail, nullptr, &table), hasOriginNode(hasNode) {
    rowSize = 40;
  }
  int NumColumns() override { return hasOriginNode ? 2 : 1; }
  int GetColumnInfo(ColumnInfo* out, int index) override {
    *out = index == 0 ? ColumnInfo{"NUMBER", 0, 4, kIntfInt32}
                      : ColumnInfo{"ORIGINNODE", 4, 32, kIntfChars};
    return 0;
  }

 private:
  const bool hasOriginNode;
};

class Table : public TableManager {
 public:
  explicit Table(const char* name) : TableManager("ZJX", name) {}
  vuira* CreateCtira(RequestDetail*, ContextInfo*) override { return nullptr; }
};

class ZelTakeActionTest : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    bridge.replies[3] = fake::map({{2, fake::integer(4)}, {3, fake::text("done")}});
    capsule.command = "restart";
  }

  int run(vuira& owner) {
    capsule.owner = &owner;
    return ZelAgent::handleTakeAction(&capsule);
  }

  std::string sentBody() const { return bridge.sentOf(3).at(0).body(); }

  VuiraAutomationCapsule capsule;
  Table table{"MYTABLE"};
  Table commands{"CLACTRMT"};
};

std::string rowOf(const std::string& node) {
  std::string row(40, '.');
  row.replace(4, 32, node + std::string(32 - node.size(), ' '));
  return row;
}

TEST_F(ZelTakeActionTest, TheCommandRunsOnTheNodeOfItsRowAndCompletesTheCapsule) {
  Rows owner({}, table, true);
  std::string first = rowOf("first");
  std::string second = rowOf("second:node");
  owner.InsertRow(first.data());
  owner.InsertRow(second.data());
  capsule.rowOrReturnCode = 1;

  EXPECT_EQ(run(owner), 0);

  EXPECT_EQ(sentBody(), "{0: \"second:node" + std::string(21, ' ') + "\", 1: \"restart\"}");
  EXPECT_EQ(capsule.rowOrReturnCode, 4);
  EXPECT_THAT(framework.calls(), Contains("SetMessage(done)"));
  EXPECT_EQ(framework.calls().back(), "FinishedAutomationCommand(4)");
  EXPECT_THAT(framework.messages(), Contains("<restart>"));
}

TEST_F(ZelTakeActionTest, TheNodeOfARowIsAlwaysThirtyTwoCharacters) {
  Rows owner({}, table, true);
  std::string row = rowOf("");
  owner.InsertRow(row.data());
  capsule.rowOrReturnCode = 0;

  run(owner);

  EXPECT_EQ(sentBody(), "{0: \"" + std::string(32, ' ') + "\", 1: \"restart\"}");
}

TEST_F(ZelTakeActionTest, ATableWithoutNodeColumnGetsAnEmptyNode) {
  Rows owner({}, table, false);

  EXPECT_EQ(run(owner), 0);

  EXPECT_EQ(sentBody(), R"({0: "", 1: "restart"})");
}

TEST_F(ZelTakeActionTest, ANodeCommandGoesToTheObjectsNode) {
  RequestDetail detail;
  detail.nodeText = "mynode";
  detail.subnodes = {"other"};
  Rows owner(detail, commands, true);

  run(owner);

  EXPECT_EQ(sentBody(), R"({0: "mynode", 1: "restart"})");
  EXPECT_THAT(framework.callsOf("GetColumnInfoByName"), IsEmpty());
}

TEST_F(ZelTakeActionTest, ANodeCommandWithoutNodeTextGoesToTheFirstSubnode) {
  RequestDetail detail;
  detail.subnodes = {"sub1", "sub2"};
  Rows owner(detail, commands, true);
  owner.GetSubnode();  // the iteration is started again

  run(owner);

  EXPECT_EQ(sentBody(), R"({0: "sub1", 1: "restart"})");
}

TEST_F(ZelTakeActionTest, ANodeCommandWithoutNodeTextAndSubnodeGetsAnEmptyNode) {
  Rows owner({}, commands, true);

  EXPECT_EQ(run(owner), 0);

  EXPECT_EQ(sentBody(), R"({0: "", 1: "restart"})");
}

TEST_F(ZelTakeActionTest, ACommandInTheAgentsCodePageIsPassedOnByteForByte) {
  Rows owner({}, table, false);
  capsule.command = "caf\xC3\xA9 \xFF";
  capsule.codePage = 0;

  run(owner);

  EXPECT_EQ(sentBody(), "{0: \"\", 1: \"caf\xC3\xA9 \xFF\"}");
}

TEST_F(ZelTakeActionTest, AUtf8CommandGoesThroughUnicodeIntoTheAgentsCodePage) {
  Rows owner({}, table, false);
  capsule.command = "plain";
  capsule.codePage = 1;

  run(owner);

  EXPECT_EQ(sentBody(), R"({0: "", 1: "plain"})");
}

TEST_F(ZelTakeActionTest, AUtf8CommandIsSentInTheAgentsCodePage) {
  const fake::DefaultCodePage latin1("ISO-8859-1");
  Rows owner({}, table, false);
  capsule.command = "caf\xC3\xA9";
  capsule.codePage = 1;

  run(owner);

  EXPECT_EQ(sentBody(), "{0: \"\", 1: \"caf\xE9\"}");
  EXPECT_THAT(framework.messages(), Contains("<caf\xE9>"));
}

TEST_F(ZelTakeActionTest, OnlyTheCodePageFlagOneConverts) {
  const fake::DefaultCodePage latin1("ISO-8859-1");
  Rows owner({}, table, false);
  capsule.command = "caf\xC3\xA9";
  for (const int codePage : {0, 2, -1}) {
    bridge.reset();
    capsule.codePage = codePage;

    run(owner);

    EXPECT_EQ(sentBody(), "{0: \"\", 1: \"caf\xC3\xA9\"}") << codePage;
  }
}

TEST_F(ZelTakeActionTest, ACommandThatIsNoUtf8IsUsedAsItWas) {
  Rows owner({}, table, false);
  capsule.command = "bad \xFF";
  capsule.codePage = 1;

  run(owner);

  EXPECT_EQ(sentBody(), "{0: \"\", 1: \"bad \xFF\"}");
}

TEST_F(ZelTakeActionTest, AnApplicationExceptionLeavesTheCapsuleUncompleted) {
  Rows owner({}, table, false);
  bridge.exceptions[3] = {3, "unknown command"};
  capsule.rowOrReturnCode = 0;

  EXPECT_EQ(run(owner), 7);

  EXPECT_THAT(framework.callsOf("FinishedAutomationCommand"), IsEmpty());
  EXPECT_THAT(framework.callsOf("SetMessage"), IsEmpty());
  EXPECT_EQ(capsule.rowOrReturnCode, 0);
}

TEST_F(ZelTakeActionTest, EveryKnownExceptionIsTracedAndReturnsSeven) {
  Rows owner({}, table, false);
  bridge.replies[3] = fake::map({});
  EXPECT_EQ(run(owner), 7);
  EXPECT_TRUE(framework.hasMessage("ERROR: Invalid key 2"));

  framework.onCall["GetColumnInfoByName"] = [] { throw std::runtime_error("broken"); };
  EXPECT_EQ(run(owner), 7);
  EXPECT_TRUE(framework.hasMessage("ERROR: STD C++ library exception 'broken'"));

  framework.onCall["GetColumnInfoByName"] = [] { throw ZelAppException{3, "app"}; };
  EXPECT_EQ(run(owner), 7);
  EXPECT_TRUE(framework.hasMessage("ERROR: request processing failed ...\napp"));

  framework.onCall["GetColumnInfoByName"] = [] { throw ZelException("x.cpp", 3, 1); };
  EXPECT_EQ(run(owner), 7);
  EXPECT_TRUE(framework.hasMessage("ERROR: internal exception in x.cpp at line 3"));
  EXPECT_THAT(framework.callsOf("FinishedAutomationCommand"), IsEmpty());
}

TEST_F(ZelTakeActionTest, TheRequestIsNotOneWayAndHasCodeThree) {
  ZelReqTakeAction request("n", "c");
  const std::unique_ptr<ZelMsg> msg(request.createRegMsg());

  EXPECT_FALSE(request.isOneWay());
  EXPECT_EQ(msg->id, 3);
  EXPECT_EQ(msg->type, ZelMsg::Request);
}

TEST_F(ZelTakeActionTest, AnUnknownExceptionEndsTheProcess) {
  Rows owner({}, table, false);
  framework.onCall["GetColumnInfoByName"] = [] { throw 1; };

  EXPECT_EXIT(
      {
        fake::printMessagesAtExit();
        run(owner);
      },
      testing::ExitedWithCode(255),
      "ZELAGENT handleTakeAction: " + std::string(kUnknownExceptionText));
}

TEST_F(ZelTakeActionTest, TheRequestTracesBothDirectionsInTheDetailClassOnly) {
  const char* const details[] = {"Node [mynode]", "Command [restart]", "RC [4]", "Message [done]"};
  RequestDetail detail;
  detail.nodeText = "mynode";
  Rows owner(detail, commands, true);

  framework.setAllMasks(fake::allBut(kRas1Detail));
  run(owner);
  for (const char* text : details) {
    EXPECT_THAT(framework.messages(), Not(Contains(text)));
  }

  framework.setAllMasks(0);
  framework.setMask("ZELREQTAKEACTION", kRas1Detail);
  run(owner);
  for (const char* text : details) {
    EXPECT_THAT(framework.messages(), Contains(text));
  }
}

TEST_F(ZelTakeActionTest, TheCommandIsTracedInNoClass) {
  Rows owner({}, table, false);
  framework.setAllMasks(0);

  run(owner);

  EXPECT_THAT(framework.messages(), Contains("<restart>"));
}

TEST_F(ZelTakeActionTest, TheRequestsEntryAndExitAreTracedInTheFlowClassOnly) {
  ZelReqTakeAction request("n", "c");
  const auto reply = fake::map({{2, fake::integer(1)}, {3, fake::text("m")}})();
  framework.setAllMasks(fake::allBut(kRas1Flow));
  std::unique_ptr<ZelMsg> msg(request.createRegMsg());
  request.onReply(reply->toMap());
  EXPECT_THAT(fake::flowOf("ZELREQTAKEACTION"), IsEmpty());

  framework.setMask("ZELREQTAKEACTION", kRas1Flow);
  msg.reset(request.createRegMsg());
  request.onReply(reply->toMap());
  EXPECT_THAT(fake::flowOf("ZELREQTAKEACTION"),
              ElementsAre("createRegMsg entry", fake::exitOf("createRegMsg", msg.get()),
                          "onReply entry", "onReply exit"));
}

TEST_F(ZelTakeActionTest, TheHandlersEntryAndResultAreTracedInTheFlowClassOnly) {
  Rows owner({}, table, false);
  framework.setAllMasks(fake::allBut(kRas1Flow));
  run(owner);
  EXPECT_THAT(fake::flowOf("ZELAGENT"), IsEmpty());

  framework.setAllMasks(0);
  framework.setMask("ZELAGENT", kRas1Flow);
  run(owner);
  bridge.exceptions[3] = {3, "unknown command"};
  run(owner);
  EXPECT_THAT(fake::flowOf("ZELAGENT"),
              ElementsAre("handleTakeAction entry", "handleTakeAction exit 0",
                          "handleTakeAction entry", "handleTakeAction exit 7"));
}

}  // namespace
