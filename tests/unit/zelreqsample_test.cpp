#include "zelreqsample.h"

#include <typeinfo>

#include "support/failing_allocation.h"
#include "support/library_fixture.h"
#include "support/trace_view.h"

namespace {

using fake::bytes;
using fake::integer;
using fake::list;
using fake::map;

ZelFilterInfo filter(const std::string& column, const std::string& value, int oper) {
  ZelFilterInfo made;
  made.m_column = column;
  made.m_value = value;
  made.m_oper = oper;
  return made;
}

class ZelReqTakeSampleTest : public LibraryTest {
 protected:
  static std::string bodyOf(ZelReqTakeSample& request) {
    const std::unique_ptr<ZelMsg> msg(request.createRegMsg());
    return fake::describe(msg->body.get());
  }

  void reply(const fake::Value& value) { request.onReply(value()->toMap()); }

  ZelReqTakeSample request{"TAB", {}, {}, false, false, ""};
};

TEST_F(ZelReqTakeSampleTest, WaitsForItsReply) { EXPECT_FALSE(request.isOneWay()); }

TEST_F(ZelReqTakeSampleTest, AsksWithRequestCode2) {
  const std::unique_ptr<ZelMsg> msg(request.createRegMsg());

  EXPECT_EQ(msg->id, 2);
  EXPECT_EQ(msg->type, 0);
}

TEST_F(ZelReqTakeSampleTest, SendsFiltersWithoutTheirOperators) {
  ZelReqTakeSample full("TAB", {filter("A", "1", 2), filter("B", "x", 3)}, {"node1", "node2"}, true,
                        false, "SIT");

  EXPECT_EQ(bodyOf(full),
            "{0: \"TAB\", 1: [{2: \"A\", 3: \"1\"}, {2: \"B\", 3: \"x\"}], "
            "5: [\"node1\", \"node2\"], 6: true, 7: false, 8: \"SIT\"}");
}

TEST_F(ZelReqTakeSampleTest, SendsEmptyListsForNoFiltersAndNoSubnodes) {
  ZelReqTakeSample automated("TAB", {}, {}, false, true, "");

  EXPECT_EQ(bodyOf(automated), "{0: \"TAB\", 1: [], 5: [], 6: false, 7: true, 8: \"\"}");
}

TEST_F(ZelReqTakeSampleTest, HandsItsBodyOverOnce) {
  bodyOf(request);

  const std::unique_ptr<ZelMsg> second(request.createRegMsg());

  EXPECT_EQ(second->body, nullptr);
}

TEST_F(ZelReqTakeSampleTest, KeepsCopiesOfTheRowsInTheirOrder) {
  reply(map({{4, list({bytes(std::string("b\0", 2)), bytes("a")})}, {10, integer(30)}}));

  EXPECT_EQ(request.getRows(), (std::vector<std::string>{std::string("b\0", 2), "a"}));
  EXPECT_EQ(request.getCacheInterval(), 30);
}

TEST_F(ZelReqTakeSampleTest, HasNoRowsAfterAnEmptyReply) {
  reply(map({{4, list({})}, {10, integer(5)}}));

  EXPECT_TRUE(request.getRows().empty());
}

TEST_F(ZelReqTakeSampleTest, CachesNothingForAnIntervalThatIsNotPositive) {
  for (const int seconds : {0, -1}) {
    reply(map({{4, list({})}, {10, integer(seconds)}}));

    EXPECT_EQ(request.getCacheInterval(), 0);
  }
}

TEST_F(ZelReqTakeSampleTest, RefusesAReplyThatLacksAKey) {
  EXPECT_THROW(reply(map({{10, integer(0)}})), ZelException);
  EXPECT_THROW(reply(map({{4, list({})}})), ZelException);
}

TEST_F(ZelReqTakeSampleTest, RefusesAReplyOfOtherKinds) {
  EXPECT_THROW(reply(map({{4, integer(1)}, {10, integer(0)}})), std::bad_cast);
  EXPECT_THROW(reply(map({{4, list({fake::text("row")})}, {10, integer(0)}})), std::bad_cast);
  EXPECT_THROW(reply(map({{4, list({})}, {10, fake::longInteger(0)}})), std::bad_cast);
  EXPECT_THROW(reply(map({{4, list({fake::nothing()})}, {10, integer(0)}})), ZelException);
}

TEST_F(ZelReqTakeSampleTest, TracesEntryAndExitInTheFlowClass) {
  framework.setMask("ZELREQSAMPLE", kRas1Flow);

  ZelReqTakeSample traced("TAB", {}, {}, false, false, "");
  const std::unique_ptr<ZelMsg> msg(traced.createRegMsg());

  EXPECT_EQ(
      fake::flowOf("ZELREQSAMPLE"),
      (std::vector<std::string>{"ZelReqTakeSample entry", "ZelReqTakeSample exit",
                                "createRegMsg entry", fake::exitOf("createRegMsg", msg.get())}));
}

TEST_F(ZelReqTakeSampleTest, TracesNothingWithoutTheFlowClass) {
  framework.setAllMasks(fake::allBut(kRas1Flow));

  ZelReqTakeSample quiet("TAB", {}, {}, false, false, "");
  bodyOf(quiet);
  quiet.onReply(map({{4, list({})}, {10, integer(0)}})()->toMap());

  EXPECT_TRUE(framework.trace().empty());
}

TEST_F(ZelReqTakeSampleTest, GoesThroughTheBridge) {
  bridge.replies[2] = map({{4, list({bytes("row")})}, {10, integer(7)}});

  ZelClient::run(request, false);

  EXPECT_FALSE(request.isAppExc());
  EXPECT_EQ(request.getRows(), std::vector<std::string>{"row"});
  EXPECT_EQ(request.getCacheInterval(), 7);
}

TEST_F(ZelReqTakeSampleTest, FreesWhatItHasBuiltWhenMemoryRunsOut) {
  const std::vector<ZelFilterInfo> filters = {filter("A", "a value that is long", 2)};
  const std::vector<std::string> subnodes = {"a subnode whose name is long"};
  bool built = false;
  for (int successes = 0; !built; ++successes) {
    const fake::FailingAllocation failing(successes);
    try {
      const ZelReqTakeSample request("a table whose name is long", filters, subnodes, true, true,
                                     "a situation whose name is long");
      built = !fake::FailingAllocation::hasFailed();
    } catch (const std::bad_alloc&) {
      // The leak checker tells what was not freed.
    }
    ASSERT_LT(successes, 1000);
  }
}

}  // namespace
