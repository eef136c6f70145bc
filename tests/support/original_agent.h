#pragma once

#include <new>

#include "zelagent.h"

namespace fake {

/// Makes the library's own agent the agent again when it goes, after a test has made another. Put
/// it before that one.
class OriginalAgent {
 public:
  OriginalAgent() : original(ZelAgent::getInstance()) {}
  OriginalAgent(const OriginalAgent&) = delete;
  OriginalAgent& operator=(const OriginalAgent&) = delete;
  ~OriginalAgent() { new (original) ZelAgent; }  // it holds nothing that could get lost

 private:
  ZelAgent* const original;
};

}  // namespace fake
