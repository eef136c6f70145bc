#include "situations/situation_state.h"

#include <utility>

namespace fw {

using State = SituationStatus::State;

SituationState::SituationState(SituationRequest request, Clock::WallTime now) {
  status_.request = std::move(request);
  status_.since = now;
}

bool SituationState::arm(Clock::WallTime now) {
  if (status_.state != State::Arming) {
    return false;
  }
  status_.state = State::Armed;
  status_.since = now;
  return true;
}

bool SituationState::sampled(const std::string& shown, std::uint64_t passing, Clock::WallTime now) {
  if (status_.state == State::Disarming) {
    return false;
  }
  status_.matches += passing;
  const bool changed = passing > 0 ? trueFor_.insert(shown).second : trueFor_.erase(shown) > 0;
  settle(now);
  return changed;
}

bool SituationState::pushed(std::uint64_t passing) {
  if (status_.state == State::Disarming || passing == 0) {
    return false;
  }
  status_.matches += passing;
  return true;
}

bool SituationState::drop(const std::string& shown, Clock::WallTime now) {
  if (status_.state == State::Disarming) {
    return false;
  }
  const bool changed = trueFor_.erase(shown) > 0;
  settle(now);
  return changed;
}

bool SituationState::disarm(Clock::WallTime now) {
  if (status_.state == State::Disarming) {
    return false;
  }
  status_.state = State::Disarming;
  status_.since = now;
  status_.isTrue = false;
  trueFor_.clear();
  return true;
}

void SituationState::settle(Clock::WallTime now) {
  const bool isTrue = !trueFor_.empty();
  if (isTrue != status_.isTrue) {
    status_.isTrue = isTrue;
    status_.since = now;
  }
}

SituationStatus SituationState::status() const {
  SituationStatus status = status_;
  for (const std::string& shown : trueFor_) {
    if (!shown.empty()) {
      status.trueFor.push_back(shown);
    }
  }
  return status;
}

}  // namespace fw
