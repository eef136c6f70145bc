#include "zelreqsituation.h"

#include <typeinfo>

#include "support/failing_allocation.h"
#include "support/library_fixture.h"
#include "support/trace_view.h"

namespace {

using fake::bytes;
using fake::list;
using fake::map;

class ZelReqSituationTest : public LibraryTest {
 protected:
  static std::string bodyOf(ZelReqSituation& request) {
    const std::unique_ptr<ZelMsg> msg(request.createRegMsg());
    return fake::describe(msg->body.get());
  }

  void reply(const fake::Value& value) { request.onReply(value()->toMap()); }

  ZelReqSituation request{"TAB", {}, {}, false, false, "SIT", 30, true};
};

TEST_F(ZelReqSituationTest, WaitsForItsReply) { EXPECT_FALSE(request.isOneWay()); }

TEST_F(ZelReqSituationTest, AsksWithRequestCode6) {
  const std::unique_ptr<ZelMsg> msg(request.createRegMsg());

  EXPECT_EQ(msg->id, 6);
  EXPECT_EQ(msg->type, 0);
}

TEST_F(ZelReqSituationTest, SendsFiltersWithTheirOperators) {
  ZelFilterInfo filter;
  filter.m_column = "A";
  filter.m_value = "1";
  filter.m_oper = 5;
  ZelReqSituation full("TAB", {filter}, {"node1"}, true, true, "SIT", 4'000'000'000U, false);

  EXPECT_EQ(bodyOf(full),
            "{0: \"TAB\", 1: [{2: \"A\", 3: \"1\", 11: 5}], 5: [\"node1\"], 6: true, 7: true, "
            "8: \"SIT\", 9: -294967296, 10: false}");
}

TEST_F(ZelReqSituationTest, SendsEmptyListsForNoFiltersAndNoSubnodes) {
  EXPECT_EQ(bodyOf(request),
            "{0: \"TAB\", 1: [], 5: [], 6: false, 7: false, 8: \"SIT\", 9: 30, 10: true}");
}

TEST_F(ZelReqSituationTest, HandsItsBodyOverOnce) {
  bodyOf(request);

  const std::unique_ptr<ZelMsg> second(request.createRegMsg());

  EXPECT_EQ(second->body, nullptr);
}

TEST_F(ZelReqSituationTest, KeepsTheRowsOfAReplyThatHasNoCacheInterval) {
  reply(map({{4, list({bytes("b"), bytes("a")})}}));

  EXPECT_EQ(request.getRows(), (std::vector<std::string>{"b", "a"}));
}

TEST_F(ZelReqSituationTest, HasNoRowsAfterAnEmptyReply) {
  reply(map({{4, list({})}}));

  EXPECT_TRUE(request.getRows().empty());
}

TEST_F(ZelReqSituationTest, RefusesAReplyWithoutRows) {
  EXPECT_THROW(reply(map({})), ZelException);
  EXPECT_THROW(reply(map({{4, bytes("row")}})), std::bad_cast);
}

TEST_F(ZelReqSituationTest, TracesEntryAndExitInTheFlowClass) {
  framework.setMask("ZELREQSITUATION", kRas1Flow);

  ZelReqSituation traced("TAB", {}, {}, false, false, "SIT", 30, true);
  const std::unique_ptr<ZelMsg> msg(traced.createRegMsg());

  EXPECT_EQ(
      fake::flowOf("ZELREQSITUATION"),
      (std::vector<std::string>{"ZelReqSituation entry", "ZelReqSituation exit",
                                "createRegMsg entry", fake::exitOf("createRegMsg", msg.get())}));
}

TEST_F(ZelReqSituationTest, TracesNothingWithoutTheFlowClass) {
  framework.setAllMasks(fake::allBut(kRas1Flow));

  ZelReqSituation quiet("TAB", {}, {}, false, false, "SIT", 30, true);
  bodyOf(quiet);
  quiet.onReply(map({{4, list({})}})()->toMap());

  EXPECT_TRUE(framework.trace().empty());
}

TEST_F(ZelReqSituationTest, FreesWhatItHasBuiltWhenMemoryRunsOut) {
  ZelFilterInfo filter;
  filter.m_value = "a value that is long";
  filter.m_oper = 1;
  const std::vector<ZelFilterInfo> filters = {filter};
  const std::vector<std::string> subnodes = {"a subnode whose name is long"};
  bool built = false;
  for (int successes = 0; !built; ++successes) {
    const fake::FailingAllocation failing(successes);
    try {
      const ZelReqSituation request("a table whose name is long", filters, subnodes, true, true,
                                    "a situation whose name is long", 30, true);
      built = !fake::FailingAllocation::hasFailed();
    } catch (const std::bad_alloc&) {
      // The leak checker tells what was not freed.
    }
    ASSERT_LT(successes, 1000);
  }
}

}  // namespace
