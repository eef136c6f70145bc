#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "agent/agent.h"
#include "journal/journal.h"

/// A running agent that a test makes up. Answers reports on a thread of its own, as the real one
/// does, or holds them until it is told to go on. Set the public members before it is used.
class FakeAgent final : public fw::Agent {
 public:
  using Done = std::function<void(fw::ReportResult)>;

  FakeAgent();
  ~FakeAgent() override;

  fw::AgentStatus agentStatus;
  std::vector<fw::TableStatus> tableList;
  std::vector<fw::SubnodeInfo> subnodeList;
  std::function<fw::ReportResult(const fw::ReportRequest&)> answer;

  // Not owned. Those that a test does not set answer that there is nothing.
  const fw::EventFeed* events;
  fw::Situations* situations;
  fw::Actions* actions;

  /// Keeps 1000 entries unless a test puts another one here.
  std::unique_ptr<fw::Journal> happenings =
      std::make_unique<fw::Journal>(fw::Clock::system(), 1000);

  /// Adds a table that is ready.
  void addTable(std::shared_ptr<const fw::TableInfo> table);

  fw::AgentStatus status() const override { return agentStatus; }
  std::vector<fw::TableStatus> tables() const override { return tableList; }
  std::optional<fw::TableStatus> table(std::string_view name) const override;
  std::vector<fw::SubnodeInfo> subnodes() const override { return subnodeList; }
  void report(fw::ReportRequest request, Done done) override;
  const fw::EventFeed& eventFeed() const override { return *events; }
  fw::Journal& journal() override { return *happenings; }
  fw::Situations& situationDesk() override { return *situations; }
  fw::Actions& actionDesk() override { return *actions; }

  /// From now on reports are kept unanswered, until release().
  void hold();
  void release();

  /// Throws the kept reports away unanswered, as an agent must not do.
  void forget();

  /// Waits until `count` reports are kept; false after a generous time.
  bool waitHeld(std::size_t count);

  /// The last report's request.
  fw::ReportRequest lastRequest() const;

 private:
  void work();

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::pair<fw::ReportRequest, Done>> waiting_;  // guarded by mutex_
  fw::ReportRequest last_;                                   // guarded by mutex_
  bool holding_ = false;                                     // guarded by mutex_
  bool ending_ = false;                                      // guarded by mutex_
  std::thread worker_;
};

/// A table whose columns have these names, types and sizes.
std::shared_ptr<const fw::TableInfo> makeTable(std::string name, std::vector<fw::Column> columns);

/// A result with one sample for each subnode and its rows.
class ResultBuilder {
 public:
  explicit ResultBuilder(std::shared_ptr<const fw::TableInfo> table);

  /// Adds a sample; `rows` has a value per column.
  ResultBuilder& sample(fw::ReportSample sample, const std::vector<std::vector<fw::Value>>& rows);
  fw::ReportResult build() { return std::move(result_); }

 private:
  fw::ReportResult result_;
};
