#pragma once

#include <algorithm>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "actions/actions.h"
#include "events/event_feed.h"
#include "situations/situations.h"

/// Events that a test makes up.
class FakeEventFeed final : public fw::EventFeed {
 public:
  /// What is there; `since` and `limit` are applied to it.
  std::variant<fw::EventPage, fw::RequestError> page;

  std::variant<fw::EventPage, fw::RequestError> events(const std::string& /*table*/,
                                                       std::uint64_t since,
                                                       std::uint32_t limit) const override {
    auto answer = page;
    if (auto* found = std::get_if<fw::EventPage>(&answer)) {
      std::erase_if(found->events, [since](const auto& event) { return event.seq <= since; });
      found->events.resize(std::min<std::size_t>(found->events.size(), limit));
    }
    return answer;
  }
};

/// Situations that are armed as soon as they are asked for.
class FakeSituations final : public fw::Situations {
 public:
  std::optional<fw::RequestError> refusal;  ///< of everything, when set

  std::optional<fw::RequestError> watch(fw::SituationRequest request) override {
    if (!refusal) {
      fw::SituationStatus status;
      status.request = std::move(request);
      status.state = fw::SituationStatus::State::Armed;
      list.push_back(std::move(status));
    }
    return refusal;
  }

  std::optional<fw::RequestError> unwatch(std::string_view name) override {
    if (!refusal) {
      std::erase_if(list, [name](const auto& each) { return each.request.name == name; });
    }
    return refusal;
  }

  std::vector<fw::SituationStatus> situations() const override { return list; }

  std::optional<fw::SituationStatus> situation(std::string_view name) const override {
    for (const fw::SituationStatus& each : list) {
      if (each.request.name == name) {
        return each;
      }
    }
    return std::nullopt;
  }

  std::vector<fw::SituationStatus> list;
};

/// Actions that end at once as the test says.
class FakeActions final : public fw::Actions {
 public:
  std::variant<fw::ActionStatus, fw::RequestError> outcome;
  std::vector<fw::ActionStatus> list;
  fw::ActionRequest last;

  void run(fw::ActionRequest request, Done done) override {
    last = std::move(request);
    done(outcome);
  }
  std::vector<fw::ActionStatus> recent() const override { return list; }
};
