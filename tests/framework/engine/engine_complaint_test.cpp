#include "agentfw/ras1.h"
#include "engine_fixture.h"

RAS1_UNIT("COMPLAINTTEST");

namespace fw {
namespace {

using State = ReportSample::State;
using Rows = test::TestTable::Rows;
using Texts = std::vector<std::string>;

class EngineComplaintTest : public EngineTest {};

TEST_F(EngineComplaintTest, ASampleThatTheAgentComplainsOfInsteadOfRowsHasFailed) {
  startWithTables();
  own.sample = [](test::TestRequest&) {
    RAS1_FUNCTION();
    RAS1_PRINT("ERROR: Application exception raised (severity 3) ...\n%s", "the disk \xFF");
    return Rows();
  };

  const auto result = ask("OWN")->get();

  ASSERT_EQ(result.samples.size(), 1U);
  EXPECT_EQ(result.samples[0].state, State::Failed);
  EXPECT_EQ(result.samples[0].error, "The collector failed: the disk \xEF\xBF\xBD");
  EXPECT_EQ(engine->table("OWN")->errors, 1U);
}

TEST_F(EngineComplaintTest, AComplaintBesideRowsCostsNoSample) {
  startWithTables();
  own.sample = [this](test::TestRequest&) {
    RAS1_FUNCTION();
    RAS1_PRINT("WARN: invalid row size for %s", "OWN");
    return Rows{own.row({std::string("a"), 1L})};
  };

  EXPECT_EQ(shown(ask("OWN")->get()), Texts{"a 1"});
  clock.advance(config.coalesceAge + 1ms);
  // Neither does one beside rows of which none passes.
  const auto filtered = ask("OWN", {}, "N > 5")->get();
  EXPECT_EQ(filtered.samples.at(0).state, State::Fresh);
  EXPECT_EQ(filtered.samples.at(0).error, "");
}

TEST_F(EngineComplaintTest, ASampleMayBeEmptyWhateverTheApplicationTraces) {
  startWithTables();
  own.sample = [](test::TestRequest&) {
    RAS1_Unit unit{};
    unit.file = "Application.java";
    const RAS1_Entry application{&unit, "run", 3, 0, nullptr, kRas1Transient};
    RAS1_Printf(&application, 0, "ERROR: something else went wrong");
    RAS1_FUNCTION();
    RAS1_PRINT("Rows: none");
    return Rows();
  };

  EXPECT_EQ(ask("OWN")->get().samples.at(0).state, State::Fresh);
}

TEST_F(EngineComplaintTest, AnEarlierComplaintSpoilsNoLaterSample) {
  startWithTables();
  bool isBad = true;
  own.sample = [&](test::TestRequest&) {
    RAS1_FUNCTION();
    RAS1_PRINT_IF(kRas1Error, "%s", isBad ? "WARN: first the size" : "nothing to do");
    return Rows();
  };

  const auto bad = ask("OWN")->get();
  EXPECT_EQ(bad.samples.at(0).error, "The collector failed: first the size");
  isBad = false;

  EXPECT_EQ(ask("OWN")->get().samples.at(0).state, State::Fresh);
}

}  // namespace
}  // namespace fw
