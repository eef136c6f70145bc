#pragma once

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <variant>

#include "actions/command_check.h"
#include "agent/agent.h"
#include "fuzz/fuzz_target.h"
#include "journal/journal.h"
#include "situations/situation_check.h"
#include "support/event_batches.h"
#include "support/fake_agent.h"
#include "support/fake_desks.h"
#include "support/manual_clock.h"

namespace fuzz {

/// Watches what passes the checks of the real desk, and forgets it at once.
class CheckingSituations final : public fw::Situations {
 public:
  explicit CheckingSituations(const fw::Agent& agent) : agent_(agent) {}

  std::optional<fw::RequestError> watch(fw::SituationRequest request) override {
    if (auto error = fw::checkSituationName(request)) {
      return error;
    }
    const auto table = agent_.table(request.table);
    if (!table) {
      return fw::RequestError{fw::RequestError::Kind::UnknownTable, "There is none.", {}, ""};
    }
    auto checked = fw::checkSituation(std::move(request), *table->info, kSubnodes);
    if (auto* error = std::get_if<fw::RequestError>(&checked)) {
      return std::move(*error);
    }
    const auto& passed = std::get<fw::CheckedSituation>(checked).request;
    check(!passed.name.empty() && passed.name.size() <= 31, "a name fits");
    check(passed.name.find_first_of("\r\n /") == std::string::npos, "a name is no header line");
    check(passed.subnodes.size() <= kSubnodes, "the number of subnodes is bounded");
    check(passed.interval.count() <= 86'400, "an interval is a day at most");
    return std::nullopt;
  }
  std::optional<fw::RequestError> unwatch(std::string_view /*name*/) override {
    return fw::RequestError{fw::RequestError::Kind::UnknownSituation, "There is none.", {}, ""};
  }
  std::vector<fw::SituationStatus> situations() const override { return {}; }
  std::optional<fw::SituationStatus> situation(std::string_view name) const override {
    if (name != "known") {
      return std::nullopt;
    }
    fw::SituationStatus status;
    status.request.name = name;
    return status;
  }

 private:
  static constexpr std::uint32_t kSubnodes = 4;
  const fw::Agent& agent_;
};

/// Runs what passes the checks of the real desk; its outcome is the command.
class CheckingActions final : public fw::Actions {
 public:
  void run(fw::ActionRequest request, Done done) override {
    if (auto error = fw::checkCommand(request)) {
      return done(*std::move(error));
    }
    check(!request.command.empty() && request.command.size() <= fw::kMaxCommand, "a command fits");
    check(std::none_of(request.command.begin(), request.command.end(),
                       [](char c) { return (c >= 0 && c < ' ' && c != '\t') || c == 0x7F; }),
          "a command is one line of text");
    check(request.codePage == 0 || request.codePage == 1, "a code page is one of two");
    check(!request.row || request.node.empty(), "a command is for a row or a node");
    fw::ActionStatus status;
    status.state = fw::ActionStatus::State::Completed;
    status.node = request.node;
    status.command = request.command;
    done(std::move(status));
  }
  std::vector<fw::ActionStatus> recent() const override { return {}; }
};

/// An agent that answers everything at once, on the thread that asks.
class InlineAgent final : public fw::Agent {
 public:
  InlineAgent() {
    tables_.push_back(ready(makeTable("POOLS", {{"ORIGINNODE", fw::ColumnType::Chars, 0, 32},
                                                {"USED", fw::ColumnType::Int64, 0, 8}})));
    tables_.push_back(ready(makeTable("ALARMS", {{"ORIGINNODE", fw::ColumnType::Chars, 0, 32},
                                                 {"EVENTSEQ", fw::ColumnType::Int64, 0, 8},
                                                 {"TEXT", fw::ColumnType::Utf8, 0, 16}})));
    fillFeed(tables_[1].info);
  }

  fw::AgentStatus status() const override { return {}; }
  std::vector<fw::TableStatus> tables() const override { return tables_; }
  std::optional<fw::TableStatus> table(std::string_view name) const override {
    for (const fw::TableStatus& each : tables_) {
      if (each.info->name == name) {
        return each;
      }
    }
    return std::nullopt;
  }
  std::vector<fw::SubnodeInfo> subnodes() const override { return {}; }
  void report(fw::ReportRequest request, std::function<void(fw::ReportResult)> done) override {
    check(request.limit >= 1 && request.limit <= 100'000, "a limit lies within its bounds");
    done({fw::RequestError{fw::RequestError::Kind::UnknownSubnode, request.table, {}, ""},
          nullptr,
          {},
          {},
          0});
  }
  const fw::EventFeed& eventFeed() const override { return feed_; }
  fw::Journal& journal() override { return journal_; }
  fw::Situations& situationDesk() override { return situations_; }
  fw::Actions& actionDesk() override { return actions_; }

 private:
  static constexpr std::uint32_t kEvents = 5;

  static fw::TableStatus ready(std::shared_ptr<const fw::TableInfo> info) {
    fw::TableStatus status;
    status.state = fw::TableStatus::State::Ready;
    status.info = std::move(info);
    return status;
  }

  void fillFeed(std::shared_ptr<const fw::TableInfo> table) {
    fw::EventPage page;
    page.blocks = {makeRows(
        *table, std::vector<std::vector<fw::Value>>(kEvents, {"node", std::int64_t{1}, "text"}))};
    for (std::uint32_t i = 0; i < kEvents; ++i) {
      page.events.push_back({i + 1, {}, page.blocks[0]->row(i)});
    }
    page.table = std::move(table);
    page.lastSeq = kEvents;
    feed_.page = std::move(page);
  }

  ManualClock clock_;
  std::vector<fw::TableStatus> tables_;
  FakeEventFeed feed_;
  fw::Journal journal_{clock_, 16};
  CheckingSituations situations_{*this};
  CheckingActions actions_;
};

}  // namespace fuzz
