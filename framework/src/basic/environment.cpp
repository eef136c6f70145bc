#include "basic/environment.h"

#include <cstdlib>
#include <utility>

namespace fw {

Environment& Environment::instance() {
  static auto& environment = *new Environment;
  return environment;
}

const char* Environment::find(const std::string& name) {
  const MutexLock lock(mutex_);
  const char* value = std::getenv(name.c_str());
  if (value == nullptr) {
    if (const auto configured = configured_.find(name); configured != configured_.end()) {
      value = configured->second.c_str();
    } else if (const auto found = defaults_.find(name); found != defaults_.end()) {
      value = found->second.c_str();
    }
  }
  return value == nullptr ? nullptr : given_.emplace(value).first->c_str();
}

void Environment::setConfigured(std::map<std::string, std::string> variables) {
  const MutexLock lock(mutex_);
  configured_ = std::move(variables);
}

void Environment::setDefault(const std::string& name, const std::string& value) {
  const MutexLock lock(mutex_);
  defaults_[name] = value;
}

}  // namespace fw
