#include "zelreqinit.h"

#include <gmock/gmock.h>

#include <typeinfo>

#include "support/library_fixture.h"
#include "support/original_agent.h"
#include "support/trace_view.h"
#include "zelfinfo.h"
#include "zelsittrap.h"
#include "zeltablemanager.h"

namespace {

using fake::integer;
using fake::list;
using fake::map;
using fake::text;

fake::Value column(const char* name, int type, int size, int offset) {
  return map({{10, text(name)}, {11, integer(type)}, {12, integer(size)}, {13, integer(offset)}});
}

fake::Value table(const char* name, std::vector<fake::Value> columns, bool sitTrap = false) {
  return map({{7, text(name)}, {9, list(std::move(columns))}, {15, fake::boolean(sitTrap)}});
}

fake::Value reply(std::vector<fake::Value> tables) {
  return map({{5, text("host")},
              {6, text("affinity")},
              {4, text("version")},
              {1, text("free")},
              {8, list(std::move(tables))}});
}

// Reaches the columns that a manager keeps for the objects it makes.
struct Columns : ZelTableManager {
  static const std::vector<ZelColumnInfo*>& of(ZelTableManager& manager) {
    return *(manager.*(&Columns::columns));
  }
};

class ZelReqInitTest : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    ZelAgent::s_prodCode = "ZJX";
    ZelAgent::s_instId = "inst";
  }
  void TearDown() override {
    for (const auto& [name, manager] : managers) {
      delete manager;
    }
    LibraryTest::TearDown();
  }
  void answer(const fake::Value& body) { request.onReply(body()->toMap()); }

  std::map<std::string, ZelTableManager*> managers;
  ZelReqInit request{"myhost", managers};
};

TEST_F(ZelReqInitTest, TheBodyCarriesProductInstanceHostAndAFalseFlagAndNothingElse) {
  const std::unique_ptr<ZelMsg> msg(request.createRegMsg());

  EXPECT_EQ(msg->id, 0);
  EXPECT_EQ(msg->type, ZelMsg::Request);
  EXPECT_EQ(fake::describe(msg->body.get()), R"({0: "ZJX", 2: false, 3: "inst", 5: "myhost"})");
  EXPECT_FALSE(request.isOneWay());
}

TEST_F(ZelReqInitTest, TheReplysTextsAreKept) {
  answer(reply({}));

  EXPECT_EQ(request.getHostName(), "host");
  EXPECT_EQ(request.getAffinity(), "affinity");
  EXPECT_EQ(request.getVersionAffinity(), "version");
  EXPECT_EQ(request.getText(), "free");
}

TEST_F(ZelReqInitTest, AnEmptyTableListLeavesTheMapUnchanged) {
  answer(reply({}));
  EXPECT_TRUE(managers.empty());

  answer(reply({table("T", {})}));
  const auto before = managers;
  answer(reply({}));
  EXPECT_EQ(managers.size(), 1u);
  EXPECT_EQ(managers, before);
}

TEST_F(ZelReqInitTest, EachTableGetsAManagerWithItsColumnsInOrder) {
  answer(reply({table("T1", {column("A", 1, 4, 0), column("B", 9, 32, 4)}),
                table("T2", {column("C", 3, 8, 0)}, true)}));

  ASSERT_EQ(managers.size(), 2u);
  ZelTableManager& first = *managers["T1"];
  EXPECT_STREQ(first.tableName, "T1");
  ASSERT_EQ(Columns::of(first).size(), 2u);
  EXPECT_EQ(Columns::of(first)[1]->name, "B");
  EXPECT_EQ(Columns::of(first)[1]->dataType, kIntfChars);
  EXPECT_EQ(Columns::of(first)[1]->size, 32);
  EXPECT_EQ(Columns::of(first)[1]->offset, 4);
  EXPECT_EQ(dynamic_cast<ZelSitTrapManager*>(&first), nullptr);
  EXPECT_NE(dynamic_cast<ZelSitTrapManager*>(managers["T2"]), nullptr);
}

TEST_F(ZelReqInitTest, ATableWithoutColumnsIsStillCreated) {
  answer(reply({table("EMPTY", {})}));

  ASSERT_EQ(managers.count("EMPTY"), 1u);
  EXPECT_TRUE(Columns::of(*managers["EMPTY"]).empty());
}

/// Is the agent, and notes the managers that it makes.
class RecordingAgent : public ZelAgent {
 public:
  ZelTableManager* createTableManager(const char* tableName, std::vector<ZelColumnInfo*>* columns,
                                      bool sitTrap) override {
    made.push_back(ZelAgent::createTableManager(tableName, columns, sitTrap));
    return made.back();
  }

  std::vector<ZelTableManager*> made;
};

TEST_F(ZelReqInitTest, OfTwoTablesOfOneNameTheManagerCreatedLastStays) {
  const fake::OriginalAgent original;
  RecordingAgent agent;

  answer(reply({table("T", {column("FIRST", 1, 4, 0)}), table("T", {column("LAST", 3, 8, 0)})}));

  ASSERT_EQ(agent.made.size(), 2u);
  const std::unique_ptr<ZelTableManager> replaced(agent.made[0]);  // nobody else deletes it
  EXPECT_EQ(managers, (std::map<std::string, ZelTableManager*>{{"T", agent.made[1]}}));
  EXPECT_EQ(Columns::of(*managers["T"])[0]->name, "LAST");
}

TEST_F(ZelReqInitTest, AManagerThatIsReplacedIsNotDeleted) {
  const std::unique_ptr<ZelTableManager> replaced(
      new ZelTableManager("ZJX", "T", new std::vector<ZelColumnInfo*>));
  managers["T"] = replaced.get();

  answer(reply({table("T", {column("LAST", 1, 4, 0)})}));

  EXPECT_NE(managers["T"], replaced.get());
  EXPECT_STREQ(replaced->tableName, "T");
}

TEST_F(ZelReqInitTest, AMissingKeyThrowsAndEarlierTablesStay) {
  const auto broken = reply({table("GOOD", {}), map({{7, text("BAD")}})});

  EXPECT_THROW(answer(broken), ZelException);

  EXPECT_EQ(managers.size(), 1u);
  EXPECT_TRUE(framework.hasMessage("ERROR: Invalid key 9"));
}

TEST_F(ZelReqInitTest, AColumnThatCannotBeReadFreesTheColumnsBeforeIt) {
  const auto broken =
      reply({table("BAD", {column("A", 1, 4, 0), map({{10, text("B")}, {11, text("x")}})})});

  EXPECT_THROW(answer(broken), std::bad_cast);  // the address sanitizer sees what is not freed

  EXPECT_TRUE(managers.empty());
}

TEST_F(ZelReqInitTest, AMissingOrWronglyKindedTextThrows) {
  EXPECT_THROW(answer(map({{5, text("host")}})), ZelException);
  EXPECT_THROW(answer(map({{5, integer(1)}})), std::bad_cast);
}

TEST_F(ZelReqInitTest, EntryAndExitAreTracedInTheFlowClassOnly) {
  framework.setAllMasks(fake::allBut(kRas1Flow));
  std::unique_ptr<ZelMsg> msg(request.createRegMsg());
  answer(reply({}));
  EXPECT_TRUE(fake::flowOf("ZELREQINIT").empty());

  framework.setMask("ZELREQINIT", kRas1Flow);
  msg.reset(request.createRegMsg());
  answer(reply({}));
  EXPECT_THAT(fake::flowOf("ZELREQINIT"),
              testing::ElementsAre("createRegMsg entry", fake::exitOf("createRegMsg", msg.get()),
                                   "onReply entry", "onReply exit"));
}

}  // namespace
