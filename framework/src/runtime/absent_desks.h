#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "actions/actions.h"
#include "events/event_feed.h"
#include "situations/situations.h"

namespace fw {

/// Stands where an agent has no events, situations or actions: every request is answered NotReady.
class AbsentDesks final : public EventFeed, public Situations, public Actions {
 public:
  std::variant<EventPage, RequestError> events(const std::string& /*table*/,
                                               std::uint64_t /*since*/,
                                               std::uint32_t /*limit*/) const override {
    return refusal();
  }

  std::optional<RequestError> watch(SituationRequest /*request*/) override { return refusal(); }
  std::optional<RequestError> unwatch(std::string_view /*name*/) override { return refusal(); }
  std::vector<SituationStatus> situations() const override { return {}; }
  std::optional<SituationStatus> situation(std::string_view /*name*/) const override { return {}; }

  void run(ActionRequest /*request*/, Done done) override { done(refusal()); }
  std::vector<ActionStatus> recent() const override { return {}; }

 private:
  static RequestError refusal() {
    return {RequestError::Kind::NotReady, "This agent does not offer it.", {}, ""};
  }
};

}  // namespace fw
