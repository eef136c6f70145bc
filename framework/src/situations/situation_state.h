#pragma once

#include <cstdint>
#include <set>
#include <string>

#include "basic/clock.h"
#include "situations/situations.h"

namespace fw {

/// What is known about a situation: the state and the truth that its samples and events lead
/// to. Plain data with rules; its user locks. Operations return whether there is a change to be
/// reported.
class SituationState {
 public:
  SituationState(SituationRequest request, Clock::WallTime now);

  /// The agent knows it now.
  bool arm(Clock::WallTime now);

  /// A sample of a pair had this many rows that pass. `shown` is the subnode's name, empty for
  /// none.
  bool sampled(const std::string& shown, std::uint64_t passing, Clock::WallTime now);

  /// This many pushed rows pass.
  bool pushed(std::uint64_t passing);

  /// A pair is no longer watched, and so not true.
  bool drop(const std::string& shown, Clock::WallTime now);

  /// It ends. The last change: nothing happens after it.
  bool disarm(Clock::WallTime now);

  const SituationRequest& request() const { return status_.request; }

  /// Without `problem` and `missed`, which are not known here.
  SituationStatus status() const;

 private:
  void settle(Clock::WallTime now);

  SituationStatus status_;
  std::set<std::string> trueFor_;  ///< shown names, the empty one included
};

}  // namespace fw
