#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "basic/clock.h"
#include "engine/request_error.h"

namespace fw {

/// A condition on the rows of a table that somebody wants to be told about.
struct SituationRequest {
  std::string name;   ///< 1 to 31 letters, digits, "_", "-" or ".", first a letter or digit
  std::string table;  ///< sampled at `interval`, or an event table, whose events are tested
  std::string where;  ///< "COLUMN OP VALUE and ..."; empty: every row
  std::vector<std::string> subnodes;  ///< empty: all, including future ones
  std::chrono::seconds interval{0};   ///< of a sampled table, 1 s to 1 day; an event table has none
};

struct SituationStatus {
  /// Arming: the agent is being told. Armed: it is watched. Disarming: on its way out; the next
  /// time it is asked for it is gone (the journal gets a last entry with this state).
  enum class State { Arming, Armed, Disarming };
  SituationRequest request;
  State state = State::Arming;
  bool isTrue = false;               ///< rows of the last sample pass; never for an event table
  Clock::WallTime since;             ///< when `state` or `isTrue` last changed
  std::uint64_t matches = 0;         ///< rows or events that passed, since it was armed
  std::uint64_t missed = 0;          ///< samples skipped because the previous one had not returned
  std::vector<std::string> trueFor;  ///< subnodes for which it is true; empty for own tables
  std::string problem;               ///< why it can't be watched (in part) now, or empty
};

/// The situations that are watched. Any thread may call; nothing blocks on the agent.
class Situations {
 public:
  virtual ~Situations() = default;

  /// Begins to watch; nothing when that is under way, else why not.
  virtual std::optional<RequestError> watch(SituationRequest request) = 0;

  /// Ends it; nothing when that is under way, else why not (UnknownSituation).
  virtual std::optional<RequestError> unwatch(std::string_view name) = 0;

  virtual std::vector<SituationStatus> situations() const = 0;  ///< in name order
  virtual std::optional<SituationStatus> situation(std::string_view name) const = 0;
};

}  // namespace fw
