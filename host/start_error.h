#pragma once

#include <stdexcept>
#include <string>

namespace host {

/// Why the agent can't start, written for the person who starts it.
class StartError : public std::runtime_error {
 public:
  StartError(int exitCode, const std::string& text)
      : std::runtime_error(text), exitCode_(exitCode) {}

  int exitCode() const { return exitCode_; }

 private:
  int exitCode_;
};

}  // namespace host
