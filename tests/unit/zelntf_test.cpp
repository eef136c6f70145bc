// All notification handlers.

#include <gmock/gmock.h>

#include "bridge/zelbuild.h"
#include "support/library_fixture.h"
#include "support/trace_view.h"
#include "zelfinfo.h"
#include "zelntfsampleemit.h"
#include "zelntfshutdown.h"
#include "zelntfsubnode.h"
#include "zeltablemanager.h"

namespace {

using fake::list;
using fake::map;
using fake::text;
using testing::ElementsAre;
using testing::IsEmpty;

class ZelNtfTest : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    ZelAgent::s_prodCode = "ZJX";
    ZelAgent::s_iraVersion = "01.02.03";
    ZelAgent::s_versionAff = "AFF_V";
    ZelAgent::s_managers = {{"T1", &first}, {"T2", &second}};
    for (ZelTableManager* manager : {&first, &second}) {
      manager->cacheSamples({"row"}, "sub", 100);
      manager->cacheSamples({"row"}, "other", 100);
    }
  }
  void TearDown() override {
    for (ZelTableManager* manager : {&first, &second}) {
      manager->deleteCachedSamples("sub");
      manager->deleteCachedSamples("other");
    }
    ZelAgent::s_managers.clear();
    LibraryTest::TearDown();
  }

  template <typename Handler>
  bool notify(Handler&& handler, const fake::Value& body) {
    const ZelMsg msg(handler.getType(), ZelMsg::Notification, body().release());
    return handler.onNotify(msg);
  }

  bool registerSubnode(const std::string& info, const std::string& suffix) {
    return notify(
        ZelSubnodeRegHandler(),
        map({{0, text("sub")}, {1, text("AFF_SUB")}, {2, text(info)}, {3, text(suffix)}}));
  }

  bool isCached(const char* subnode) {
    const bool inFirst = first.getCachedSamples(subnode) != nullptr;
    EXPECT_EQ(second.getCachedSamples(subnode) != nullptr, inFirst);
    return inFirst;
  }

  ZelTableManager first{"ZJX", "T1", new std::vector<ZelColumnInfo*>};
  ZelTableManager second{"ZJX", "T2", new std::vector<ZelColumnInfo*>};
};

constexpr const char* kRegister =
    "IRA_Subnode_Register_nAff(sub, JX, 01.02.03, 4, AFF_SUB, AFF_FEAT_INTERNATIONALIZATION, "
    "AFF_FEAT_DM_PARITY, AFF_V)";

TEST_F(ZelNtfTest, EveryHandlerServesItsCode) {
  EXPECT_EQ(ZelSubnodeRegHandler().getType(), 10);
  EXPECT_EQ(ZelSubnodeDeregHandler().getType(), 11);
  EXPECT_EQ(ZelSampleEmitHandler().getType(), 13);
  EXPECT_EQ(ZelSubnodeConnHandler().getType(), 14);
  EXPECT_EQ(ZelSubnodeDisconnHandler().getType(), 15);
  EXPECT_EQ(ZelShutdownHandler().getType(), 16);
}

TEST_F(ZelNtfTest, ASubnodeIsRegisteredWithItsInformationAndSent) {
  EXPECT_TRUE(registerSubnode("version 5", "x64"));

  EXPECT_THAT(framework.calls(), ElementsAre(kRegister, "IRA_SetNodeInfo(version 5~x64, sub)",
                                             "IRA_Subnode_SendRequest()"));
  EXPECT_THAT(framework.messages(), IsEmpty());
}

TEST_F(ZelNtfTest, NodeInformationStaysWithinSixteenCharacters) {
  const struct {
    const char* info;
    const char* suffix;
    const char* expected;  // null: none is set
  } cases[] = {
      {"123456789012345", "x", "123456789012345~"}, {"123456789012345", "", "123456789012345~"},
      {"12345678901234", "x", "12345678901234~x"},  {"12345678901234", "xy", "12345678901234~"},
      {"1234567890123456", "x", nullptr},           {"", "x", nullptr},
  };
  for (const auto& [info, suffix, expected] : cases) {
    framework.reset();

    EXPECT_TRUE(registerSubnode(info, suffix));

    const auto calls = framework.callsOf("IRA_SetNodeInfo");
    if (expected == nullptr) {
      EXPECT_THAT(calls, IsEmpty()) << info;
    } else {
      EXPECT_THAT(calls, ElementsAre("IRA_SetNodeInfo(" + std::string(expected) + ", sub)"));
    }
    EXPECT_EQ(framework.calls().back(), "IRA_Subnode_SendRequest()");
  }
}

TEST_F(ZelNtfTest, WithoutInformationTheSuffixIsNotRead) {
  EXPECT_TRUE(
      notify(ZelSubnodeRegHandler(), map({{0, text("sub")}, {1, text("AFF_SUB")}, {2, text("")}})));
}

TEST_F(ZelNtfTest, AFailedRegistrationNamesTheWholeProductCodeAndSendsNothing) {
  framework.rc["IRA_Subnode_Register_nAff"] = 5;

  EXPECT_FALSE(registerSubnode("info", ""));

  EXPECT_THAT(framework.messages(),
              ElementsAre("ERROR: failed to register subnode <sub,ZJX,01.02.03,AFF_SUB,AFF_V> "
                          "(rc 5)"));
  EXPECT_THAT(framework.calls(), ElementsAre(kRegister));
}

TEST_F(ZelNtfTest, AnEmptyProductCodeIsRegisteredAsAnEmptyOne) {
  ZelAgent::s_prodCode = "\0JUNK";

  EXPECT_TRUE(registerSubnode("", ""));

  EXPECT_THAT(framework.calls()[0], testing::StartsWith("IRA_Subnode_Register_nAff(sub, , 01."));
}

TEST_F(ZelNtfTest, FailedNodeInformationKeepsTheRegistrationFromBeingSent) {
  framework.rc["IRA_SetNodeInfo"] = 6;

  EXPECT_FALSE(registerSubnode("info", "s"));

  EXPECT_THAT(framework.messages(),
              ElementsAre("ERROR: IRA_SetNodeInfo(info~s,sub) failed (rc 6)"));
  EXPECT_THAT(framework.callsOf("IRA_Subnode_SendRequest"), IsEmpty());
}

TEST_F(ZelNtfTest, AFailedSendIsTraced) {
  framework.rc["IRA_Subnode_SendRequest"] = 7;

  EXPECT_FALSE(registerSubnode("", ""));

  EXPECT_THAT(framework.messages(), ElementsAre("ERROR: IRA_Subnode_SendRequest() failed (rc 7)"));
}

TEST_F(ZelNtfTest, TheSuffixIsNotReadWhenNoInformationIsSet) {
  for (const char* info : {"1234567890123456", "12345678901234567", ""}) {
    EXPECT_TRUE(notify(ZelSubnodeRegHandler(),
                       map({{0, text("sub")}, {1, text("AFF_SUB")}, {2, text(info)}})));
  }

  EXPECT_THAT(framework.callsOf("IRA_SetNodeInfo"), IsEmpty());
  EXPECT_THAT(framework.callsOf("IRA_Subnode_SendRequest").size(), 3u);
  EXPECT_THAT(framework.messages(), IsEmpty());
}

TEST_F(ZelNtfTest, ADeregistrationIsSentAndForgetsTheSubnodesSamples) {
  EXPECT_TRUE(notify(ZelSubnodeDeregHandler(), map({{0, text("sub")}})));

  EXPECT_THAT(framework.calls(),
              ElementsAre("IRA_Subnode_Deregister(sub)", "IRA_Subnode_SendRequest()"));
  EXPECT_FALSE(isCached("sub"));
  EXPECT_TRUE(isCached("other"));
}

TEST_F(ZelNtfTest, AFailedDeregistrationIsNotSentButStillForgetsTheSamples) {
  framework.rc["IRA_Subnode_Deregister"] = 3;

  EXPECT_FALSE(notify(ZelSubnodeDeregHandler(), map({{0, text("sub")}})));

  EXPECT_THAT(framework.calls(), ElementsAre("IRA_Subnode_Deregister(sub)"));
  EXPECT_THAT(framework.messages(), ElementsAre("ERROR: failed to deregister subnode sub (rc 3)"));
  EXPECT_FALSE(isCached("sub"));
}

TEST_F(ZelNtfTest, AFailedSendOfADeregistrationNamesItsOwnCode) {
  framework.rc["IRA_Subnode_SendRequest"] = 4;

  EXPECT_FALSE(notify(ZelSubnodeDeregHandler(), map({{0, text("sub")}})));

  EXPECT_THAT(framework.messages(), ElementsAre("ERROR: failed to deregister subnode sub (rc 4)"));
  EXPECT_FALSE(isCached("sub"));
}

TEST_F(ZelNtfTest, EmittedRowsReachTheOpenRequestsOfTheTableByteForByteAndInOrder) {
  ZelTableManager events("ZJX", "EV",
                         new std::vector<ZelColumnInfo*>{new ZelColumnInfo("A", kIntfChars, 4, 0)});
  ZelAgent::s_managers["EV"] = &events;
  RequestDetail detail;
  const std::unique_ptr<vuira> open(events.CreateCtira(&detail, nullptr));
  events.requests.append(open.get());
  const std::string rows[] = {"row1", std::string("\0\xFF\0z", 4), "abcd"};

  EXPECT_TRUE(
      notify(ZelSampleEmitHandler(),
             map({{0, text("EV")},
                  {1, list({fake::bytes(rows[0]), fake::bytes(rows[1]), fake::bytes(rows[2])})}})));

  EXPECT_THAT(fake::recordOf(*open).dispatched, ElementsAre(rows[0], rows[1], rows[2]));
  events.requests.remove(open.get());
}

TEST_F(ZelNtfTest, AFailedEmitIsTracedWithItsCode) {
  RequestDetail detail;
  vuira* open = first.CreateCtira(&detail, nullptr);
  first.requests.append(open);
  framework.rc["Dispatch"] = 9;

  EXPECT_FALSE(notify(ZelSampleEmitHandler(), map({{0, text("T1")}, {1, list({})}})));

  EXPECT_TRUE(framework.hasMessage("ERROR [9]: failed to emit events for table T1"));
  first.requests.remove(open);
  delete open;
}

TEST_F(ZelNtfTest, AnEmitForAnUnknownTableChangesNothing) {
  EXPECT_FALSE(notify(ZelSampleEmitHandler(), map({{0, text("NONE")}, {1, list({})}})));

  EXPECT_THAT(framework.messages(), ElementsAre("ERROR: cannot find manager for table NONE"));
  EXPECT_THAT(framework.calls(), IsEmpty());
}

TEST_F(ZelNtfTest, AConnectedSubnodeIsOnlyTraced) {
  EXPECT_TRUE(notify(ZelSubnodeConnHandler(), map({{0, text("sub")}})));

  EXPECT_THAT(framework.messages(), ElementsAre("sub connected"));
  EXPECT_THAT(framework.calls(), IsEmpty());
  EXPECT_TRUE(isCached("sub"));
}

TEST_F(ZelNtfTest, ADisconnectedSubnodeLosesItsCachedSamples) {
  EXPECT_TRUE(notify(ZelSubnodeDisconnHandler(), map({{0, text("sub")}})));

  EXPECT_THAT(framework.messages(), ElementsAre("sub disconnected"));
  EXPECT_FALSE(isCached("sub"));
  EXPECT_TRUE(isCached("other"));
}

TEST_F(ZelNtfTest, AShutdownNotificationStopsTheAgent) {
  EXPECT_TRUE(notify(ZelShutdownHandler(), map({})));

  EXPECT_THAT(framework.messages(),
              ElementsAre("Shutdown per Java app request", "Agent shuts down ..."));
  EXPECT_TRUE(ZelAgent::s_isShutdown.load());
}

TEST_F(ZelNtfTest, ABodyWithoutItsKeysOrOfAnotherKindThrows) {
  EXPECT_THROW(notify(ZelSubnodeRegHandler(), map({{0, text("sub")}})), ZelException);
  EXPECT_THROW(notify(ZelSubnodeDeregHandler(), map({{0, fake::integer(1)}})), std::bad_cast);
  EXPECT_THROW(
      notify(ZelSampleEmitHandler(), map({{0, text("T1")}, {1, list({fake::text("no bytes")})}})),
      std::bad_cast);
  EXPECT_THROW(notify(ZelSubnodeConnHandler(), fake::integer(5)), std::bad_cast);
}

// A connect, disconnect or shutdown notification can't fail.
TEST_F(ZelNtfTest, EveryHandlersEntryAndResultAreTracedInTheFlowClassOnly) {
  const fake::Value subnode =
      map({{0, text("sub")}, {1, text("AFF")}, {2, text("")}, {3, text("")}});
  const fake::Value known = map({{0, text("T1")}, {1, list({})}});
  const fake::Value unknown = map({{0, text("NONE")}, {1, list({})}});
  const struct {
    const char* unit;
    std::function<bool()> deliver;
    const char* failing;  // operation that fails
    bool result;
  } cases[] = {
      {"ZELNTFSUBNODE", [&] { return notify(ZelSubnodeRegHandler(), subnode); }, "", true},
      {"ZELNTFSUBNODE", [&] { return notify(ZelSubnodeRegHandler(), subnode); },
       "IRA_Subnode_Register_nAff", false},
      {"ZELNTFSUBNODE", [&] { return notify(ZelSubnodeDeregHandler(), subnode); }, "", true},
      {"ZELNTFSUBNODE", [&] { return notify(ZelSubnodeDeregHandler(), subnode); },
       "IRA_Subnode_Deregister", false},
      {"ZELNTFSUBNODE", [&] { return notify(ZelSubnodeConnHandler(), subnode); }, "", true},
      {"ZELNTFSUBNODE", [&] { return notify(ZelSubnodeDisconnHandler(), subnode); }, "", true},
      {"ZELNTFSAMPLEEMIT", [&] { return notify(ZelSampleEmitHandler(), known); }, "", true},
      {"ZELNTFSAMPLEEMIT", [&] { return notify(ZelSampleEmitHandler(), unknown); }, "", false},
      {"ZELNTFSHUTDOWN", [&] { return notify(ZelShutdownHandler(), map({})); }, "", true},
  };
  for (const auto& [unit, deliver, failing, result] : cases) {
    framework.reset();
    framework.rc[failing] = 5;
    framework.setAllMasks(fake::allBut(kRas1Flow));
    EXPECT_EQ(deliver(), result);
    EXPECT_THAT(fake::flowOf(unit), IsEmpty());

    framework.setAllMasks(0);
    framework.setMask(unit, kRas1Flow);
    EXPECT_EQ(deliver(), result);
    EXPECT_THAT(fake::flowOf(unit),
                ElementsAre("onNotify entry", result ? "onNotify exit 1" : "onNotify exit 0"));
  }
}

}  // namespace
