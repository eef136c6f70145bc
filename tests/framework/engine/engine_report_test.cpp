#include <atomic>
#include <map>
#include <stdexcept>
#include <thread>

#include "engine_fixture.h"

namespace fw {
namespace {

using Kind = RequestError::Kind;
using State = ReportSample::State;
using Rows = test::TestTable::Rows;
using Texts = std::vector<std::string>;

class EngineReportTest : public EngineTest {
 protected:
  EngineReportTest() {
    own.sample = [this](test::TestRequest&) {
      return Rows{own.row({std::string("a"), 1L}), own.row({std::string("b"), 2L}),
                  own.row({std::string("c"), 3L})};
    };
    perSubnode.sample = [this](test::TestRequest& request) {
      return Rows{perSubnode.row({request.subnode(), 1L})};
    };
  }
};

TEST_F(EngineReportTest, AnAgentsOwnTableIsAskedWithoutASubnode) {
  startWithTables();
  std::string subnode = "?";
  own.sample = [&](test::TestRequest& request) {
    subnode = request.subnode();
    return Rows{own.row({std::string("a"), 1L})};
  };

  const auto result = ask("OWN")->get();

  EXPECT_FALSE(result.error);
  EXPECT_EQ(subnode, "");
  EXPECT_EQ(shown(result), Texts{"a 1"});
  ASSERT_EQ(result.samples.size(), 1U);
  EXPECT_EQ(result.samples[0].subnode, "");
  EXPECT_EQ(result.samples[0].state, State::Fresh);
  EXPECT_EQ(result.samples[0].age, 0ms);
  EXPECT_EQ(result.samples[0].takenAt, clock.wall());
}

TEST_F(EngineReportTest, APerSubnodeTableFansOutWithOneSubnodePerObject) {
  startWithTables();
  subnodes.set({"one", "two", "zwei"});

  const auto result = ask("PER_SUBNODE")->get();

  EXPECT_EQ(shown(result), (Texts{"raw:one 1", "raw:two 1", "raw:zwei 1"}));
  ASSERT_EQ(result.samples.size(), 3U);
  EXPECT_EQ(result.samples[1].subnode, "two");
  EXPECT_EQ(result.rows[2].sample, 2U);
  EXPECT_EQ(perSubnode.created, 4);
}

TEST_F(EngineReportTest, OneSubnodeMayBeAsked) {
  startWithTables();
  subnodes.set({"one", "two"});

  EXPECT_EQ(shown(ask("PER_SUBNODE", "two")->get()), Texts{"raw:two 1"});
  EXPECT_EQ(perSubnode.samples, 1);
}

TEST_F(EngineReportTest, APerSubnodeTableWithoutSubnodesHasNoRows) {
  startWithTables();

  const auto result = ask("PER_SUBNODE")->get();

  EXPECT_FALSE(result.error);
  EXPECT_TRUE(result.samples.empty());
  EXPECT_EQ(perSubnode.samples, 0);
}

TEST_F(EngineReportTest, TheRequestObjectStaysOpenFromReportToReport) {
  startWithTables();

  for (int i = 0; i < 3; ++i) {
    ask("OWN")->get();
    advance(1s);
  }

  EXPECT_EQ(own.samples, 3);
  EXPECT_EQ(own.created, 2) << "one that described the table, one that is sampled";
  EXPECT_EQ(own.deleted, 1);
}

TEST_F(EngineReportTest, ReportsWithinASmallAgeShareOneSample) {
  startWithTables();
  ask("OWN")->get();
  advance(config.coalesceAge);

  const auto result = ask("OWN")->get();

  EXPECT_EQ(own.samples, 1);
  EXPECT_EQ(result.samples[0].state, State::Fresh);
  EXPECT_EQ(result.samples[0].age, config.coalesceAge);

  advance(1ms);
  EXPECT_EQ(ask("OWN")->get().samples[0].age, 0ms);
  EXPECT_EQ(own.samples, 2);
}

TEST_F(EngineReportTest, ConcurrentReportsShareTheSampleThatIsOnItsWay) {
  startWithTables();
  own.sample = [this](test::TestRequest&) {
    door.pass();
    return Rows{own.row({std::string("a"), 1L}), own.row({std::string("b"), 9L})};
  };
  const auto first = ask("OWN");
  ASSERT_TRUE(door.awaitWaiting(1));
  const auto second = ask("OWN", {}, "N > 5");

  door.open();

  EXPECT_EQ(first->get().rows.size(), 2U);
  EXPECT_EQ(shown(second->get()), Texts{"b 9"});
  EXPECT_EQ(own.samples, 1);
}

TEST_F(EngineReportTest, EqualityGoesDownAsAFilterOfAnObjectOfItsOwn) {
  startWithTables();
  Texts filters;
  own.sample = [&](test::TestRequest& request) {
    filters = request.filters();
    // Filters are hints: what the collector gives all the same is judged by the framework.
    return Rows{own.row({std::string("a"), 1L}), own.row({std::string("b"), 1L})};
  };

  const auto result = ask("OWN", {}, "NAME = a and N >= 1")->get();

  EXPECT_EQ(filters, Texts{"NAME 448 a"});
  EXPECT_EQ(shown(result), Texts{"a 1"});
  EXPECT_GT(own.asked, 0) << "the object is asked for its integer column";
  EXPECT_EQ(own.created, 2);
  EXPECT_EQ(own.deleted, 2);
}

TEST_F(EngineReportTest, AFreshSampleAnswersAlsoAReportWithFilters) {
  startWithTables();
  ask("OWN")->get();

  EXPECT_EQ(shown(ask("OWN", {}, "NAME = b")->get()), Texts{"b 2"});
  EXPECT_EQ(own.samples, 1);
}

TEST_F(EngineReportTest, AFilteredSampleIsNotServedToOthers) {
  startWithTables();
  ask("OWN", {}, "NAME = b")->get();

  EXPECT_EQ(ask("OWN")->get().rows.size(), 3U);
  EXPECT_EQ(own.samples, 2);
}

TEST_F(EngineReportTest, TheLimitCutsRowsAndTheCountOfMatchesDoesNot) {
  startWithTables();
  ReportRequest request;
  request.table = "OWN";
  request.where = "N >= 2";
  request.limit = 1;

  const auto result = ask(request)->get();

  EXPECT_EQ(shown(result), Texts{"b 2"});
  EXPECT_EQ(result.matched, 2U);
}

TEST_F(EngineReportTest, RowsOutliveTheEngine) {
  startWithTables();
  const ReportResult result = ask("OWN")->get();

  TearDown();

  EXPECT_EQ(shown(result), (Texts{"a 1", "b 2", "c 3"}));
}

TEST_F(EngineReportTest, SaysWhatIsWrongWithARequest) {
  startWithTables();
  subnodes.set({"tomcat"});

  const auto table = *ask("OWM")->get().error;
  EXPECT_EQ(table.kind, Kind::UnknownTable);
  EXPECT_EQ(table.nearest, "OWN");
  EXPECT_EQ(table.message, "There is no table 'OWM'. Did you mean OWN?");

  const auto where = *ask("OWN", {}, "M = 1")->get().error;
  EXPECT_EQ(where.kind, Kind::BadWhere);
  EXPECT_EQ(where.position, 0U);

  const auto subnode = *ask("PER_SUBNODE", "tomcut")->get().error;
  EXPECT_EQ(subnode.kind, Kind::UnknownSubnode);
  EXPECT_EQ(subnode.nearest, "tomcat");

  const auto gone = *ask("PER_SUBNODE", "gone")->get().error;
  EXPECT_EQ(gone.kind, Kind::UnknownSubnode);
  EXPECT_EQ(gone.message, "It has gone.");

  EXPECT_EQ(ask("OWN", "tomcat")->get().error->kind, Kind::UnknownSubnode);
  EXPECT_EQ(own.samples + perSubnode.samples, 0);
}

TEST_F(EngineReportTest, ATableMayStillComeWhileTheAgentIsLoading) {
  engine.emplace(config, clock, timers, gate, subnodes);

  EXPECT_EQ(ask("OWN")->get().error->kind, Kind::NotReady);
  engine->setLoaded();
  EXPECT_EQ(ask("OWN")->get().error->kind, Kind::UnknownTable);
}

TEST_F(EngineReportTest, ReportsBeyondTheirLimitAreRefusedAndCounted) {
  config.reportLimit = 1;
  startWithTables();
  own.sample = [this](test::TestRequest&) {
    door.pass();
    return Rows();
  };
  const auto first = ask("OWN");
  ASSERT_TRUE(door.awaitWaiting(1));

  EXPECT_EQ(ask("OWN")->get().error->kind, Kind::Busy);
  EXPECT_EQ(engine->reportsWaiting(), 1U);
  EXPECT_EQ(engine->reportsRefused(), 1U);

  door.open();
  EXPECT_FALSE(first->get().error);
  EXPECT_EQ(engine->reportsAnswered(), 1U);
}

TEST_F(EngineReportTest, ACollectorWithTooManyRowsGivesARowLimitErrorBesideItsRows) {
  config.rowLimit = 2;
  startWithTables();

  const auto result = ask("OWN")->get();

  EXPECT_EQ(result.rows.size(), 2U);
  EXPECT_EQ(result.samples[0].state, State::Fresh);
  EXPECT_GE(result.samples[0].rowsLost, 1U);
  EXPECT_NE(result.samples[0].error.find("engine.row_limit"), std::string::npos);
  EXPECT_GE(engine->table("OWN")->rowsLost, 1U);
}

TEST_F(EngineReportTest, ABrokenCallbackIsAFailedSampleAndIsCounted) {
  startWithTables();
  own.sample = [](test::TestRequest&) -> Rows { throw std::runtime_error("broken pipe"); };

  const auto result = ask("OWN")->get();

  EXPECT_FALSE(result.error);
  EXPECT_EQ(result.samples[0].state, State::Failed);
  EXPECT_EQ(result.samples[0].error, "broken pipe");
  EXPECT_EQ(engine->table("OWN")->errors, 1U);
}

TEST_F(EngineReportTest, AnAgentThatMakesNoObjectGivesAFailedSample) {
  startWithTables();
  own.makesNothing = true;

  EXPECT_EQ(ask("OWN")->get().samples[0].error, "The agent made no request object.");

  own.makesNothing = false;
  EXPECT_EQ(ask("OWN")->get().rows.size(), 3U) << "the next report tries again";
}

TEST_F(EngineReportTest, ASampleOfRowsOfAnotherSizeIsRefused) {
  startWithTables();
  own.sample = [](test::TestRequest& request) {
    request.rowSize = 5;
    return Rows{"12345"};
  };

  EXPECT_EQ(ask("OWN")->get().samples[0].error,
            "The rows of OWN have 5 bytes, not 12 as described.");
}

TEST_F(EngineReportTest, MeasuresEveryTable) {
  startWithTables();
  own.sample = [this](test::TestRequest&) {
    clock.advance(own.samples == 1 ? 300ms : 100ms);
    return Rows{own.row({std::string("a"), 1L})};
  };
  EXPECT_FALSE(engine->table("OWN")->age);

  ask("OWN")->get();
  advance(1s);
  ask("OWN")->get();
  advance(250ms);

  const TableStatus status = *engine->table("OWN");
  EXPECT_EQ(status.samples, 2U);
  EXPECT_EQ(status.rows, 2U);
  EXPECT_EQ(status.lastDuration, 100ms);
  EXPECT_EQ(status.maxDuration, 300ms);
  EXPECT_EQ(status.age, 250ms);
}

TEST_F(EngineReportTest, CallbacksOfOneSubnodeNeverOverlap) {
  startWithTables();
  subnodes.set({"one", "two", "three"});
  std::map<std::string, std::atomic<int>> inside;
  for (const char* name : {"raw:one", "raw:two", "raw:three"}) {
    inside[name] = 0;
  }
  std::atomic<bool> overlapped{false};
  perSubnode.sample = [&](test::TestRequest& request) {
    auto& mine = inside.at(request.subnode());
    overlapped = overlapped || ++mine > 1;
    std::this_thread::yield();
    --mine;
    return Rows{perSubnode.row({request.subnode(), 1L})};
  };

  std::vector<std::shared_ptr<Answer>> answers;
  for (int i = 0; i < 200; ++i) {
    const std::string where = i % 2 == 0 ? "" : "ORIGINNODE = 'raw:" + std::to_string(i % 7) + "'";
    answers.push_back(ask("PER_SUBNODE", {}, where.c_str()));
    clock.advance(config.coalesceAge + 1ms);
  }

  for (const auto& answer : answers) {
    EXPECT_FALSE(answer->get().error);
  }
  EXPECT_FALSE(overlapped);
}

TEST_F(EngineReportTest, EveryReportIsAnsweredOnceAndNotOnTheThreadThatAsks) {
  startWithTables();
  std::atomic<bool> onOwnThread{false};
  const auto self = std::this_thread::get_id();
  std::vector<std::shared_ptr<Answer>> answers;
  for (const char* table : {"OWN", "NONE", "PER_SUBNODE"}) {
    ReportRequest request;
    request.table = table;
    auto answer = std::make_shared<Answer>();
    answers.push_back(answer);
    engine->report(request, [&, answer](ReportResult result) {
      onOwnThread = onOwnThread || std::this_thread::get_id() == self;
      answer->set(std::move(result));
    });
  }

  for (const auto& answer : answers) {
    answer->get();
    EXPECT_EQ(answer->count(), 1);
  }
  EXPECT_FALSE(onOwnThread);
}

}  // namespace
}  // namespace fw
