#pragma once

#include <gtest/gtest.h>

#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "engine/engine.h"
#include "support/manual_clock.h"
#include "support/test_table.h"

namespace fw {

using namespace std::chrono_literals;

/// Subnodes that a test names.
class TestSubnodes final : public SubnodeDirectory {
 public:
  std::vector<SubnodeName> askable() const override {
    const std::lock_guard lock(mutex_);
    return names_;
  }

  std::optional<std::string> whyNot(std::string_view shown) const override {
    if (shown == "gone") {
      return "It has gone.";
    }
    return std::nullopt;
  }

  void set(const std::vector<std::string>& names) {
    const std::lock_guard lock(mutex_);
    names_.clear();
    for (const std::string& name : names) {
      names_.push_back({name, "raw:" + name});
    }
  }

 private:
  mutable std::mutex mutex_;
  std::vector<SubnodeName> names_;  // guarded by mutex_
};

/// The answer to a report, when it comes.
class Answer {
 public:
  void set(ReportResult result) {
    const std::lock_guard lock(mutex_);
    ++count_;
    result_ = std::move(result);
    came_.notify_all();
  }

  bool isThere() const {
    const std::lock_guard lock(mutex_);
    return result_.has_value();
  }

  int count() const {
    const std::lock_guard lock(mutex_);
    return count_;
  }

  ReportResult get() {
    std::unique_lock lock(mutex_);
    if (!came_.wait_for(lock, 30s, [this] { return result_.has_value(); })) {
      ADD_FAILURE() << "no answer came";
      result_.emplace();
    }
    return *result_;
  }

 private:
  mutable std::mutex mutex_;
  std::condition_variable came_;
  std::optional<ReportResult> result_;  // guarded by mutex_
  int count_ = 0;                       // guarded by mutex_
};

/// An engine on a clock that the test turns.
class EngineTest : public testing::Test {
 protected:
  // Here and not in the destructor, because callbacks use members of the tests' own classes.
  void TearDown() override {
    door.open();
    if (engine) {
      gate.close();
      engine->refuse();
      engine->deleteObjects(30s);
      engine.reset();
    }
  }

  void start() {
    engine.emplace(config, clock, timers, gate, subnodes);
    engine->setLoaded();
  }

  void add(test::TestTable& added) {
    ASSERT_EQ(engine->addTable(added), 0);
    ASSERT_TRUE(engine->waitDescribed(30s));
  }

  /// An engine that knows both tables.
  void startWithTables() {
    start();
    add(own);
    add(perSubnode);
  }

  std::shared_ptr<Answer> ask(ReportRequest request) {
    auto answer = std::make_shared<Answer>();
    engine->report(std::move(request),
                   [answer](ReportResult result) { answer->set(std::move(result)); });
    return answer;
  }

  std::shared_ptr<Answer> ask(const char* table, std::optional<std::string> subnode = {},
                              const char* where = "") {
    ReportRequest request;
    request.table = table;
    request.subnode = std::move(subnode);
    request.where = where;
    return ask(std::move(request));
  }

  void advance(std::chrono::milliseconds by) {
    clock.advance(by);
    timers.fireDue();
  }

  /// The rows of a result, each as its values with blanks between.
  static std::vector<std::string> shown(const ReportResult& result) {
    std::vector<std::string> rows;
    for (const ReportRow& row : result.rows) {
      std::string text;
      for (const Column& column : result.table->columns) {
        const Value value = decodeValue(column, row.bytes);
        text += text.empty() ? "" : " ";
        if (const auto* number = std::get_if<std::int64_t>(&value)) {
          text += std::to_string(*number);
        } else {
          text += value.index() == 0 ? "-" : std::get<std::string>(value);
        }
      }
      rows.push_back(text);
    }
    return rows;
  }

  ManualClock clock;
  EngineConfig config;
  TimerQueue timers{clock};
  CallbackGate gate{[] { return nullptr; }};
  TestSubnodes subnodes;
  test::Door door;
  test::TestTable own{
      "OWN", test::packed({{"NAME", ColumnType::Chars, 0, 8}, {"N", ColumnType::Int32, 0, 4}})};
  test::TestTable perSubnode{"PER_SUBNODE", test::packed({{"ORIGINNODE", ColumnType::Chars, 0, 32},
                                                          {"N", ColumnType::Int64, 0, 8}})};
  std::optional<Engine> engine;
};

}  // namespace fw
