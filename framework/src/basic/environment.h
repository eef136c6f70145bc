#pragma once

#include <map>
#include <set>
#include <string>

#include "agentfw/mutex.h"

namespace fw {

/// Environment variables as BSS1_GetEnv answers them: those of the process first, then the
/// configuration's, then what the host has found. Any thread.
class Environment {
 public:
  Environment() = default;
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;

  /// The process's variables; never destroyed.
  static Environment& instance();

  /// The variable's value, or null. The text lives as long as this object, whatever becomes of the
  /// process's environment.
  const char* find(const std::string& name);

  /// Sets the configuration's variables, in place of earlier ones.
  void setConfigured(std::map<std::string, std::string> variables);

  /// Sets what the host has found for one variable.
  void setDefault(const std::string& name, const std::string& value);

 private:
  Mutex mutex_;
  std::map<std::string, std::string> configured_ GUARDED_BY(mutex_);
  std::map<std::string, std::string> defaults_ GUARDED_BY(mutex_);
  std::set<std::string> given_ GUARDED_BY(mutex_);  // every text that was handed out
};

}  // namespace fw
