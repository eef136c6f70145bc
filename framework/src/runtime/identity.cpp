#include "runtime/identity.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <set>

#include "agentfw/ras1.h"
#include "basic/utf8.h"

namespace fw {

namespace {

std::string machineName() {
  std::array<char, 256> name{};
  if (gethostname(name.data(), name.size() - 1) != 0 || name[0] == '\0') {
    return "localhost";
  }
  return fromModifiedUtf8(name.data());
}

}  // namespace

std::string makeNodeName(std::string_view instance, std::string_view host,
                         std::string_view product) {
  const auto rest = [](std::size_t used) { return kMaxNodeName - std::min(kMaxNodeName, used); };
  product = cutUtf8(product, rest(2));
  instance = cutUtf8(instance, rest(2 + product.size()));
  host = cutUtf8(host, rest(2 + product.size() + instance.size()));
  std::string name(instance);
  name.append(":").append(host).append(":").append(product);
  return name;
}

const char* keepText(std::string_view text) {
  // Never destroyed: the texts outlive everything that may still read them.
  static auto& mutex = *new Mutex;
  static auto& texts = *new std::set<std::string, std::less<>>;
  const MutexLock lock(mutex);
  const auto known = texts.find(text);
  return (known != texts.end() ? known : texts.emplace(text).first)->c_str();
}

Identity::Identity(const AgentConfig& config)
    : config_(config), host_(config.host.empty() ? machineName() : config.host) {}

std::string Identity::productCode() const {
  return config_.product.code.empty() ? std::string() : config_.product.code.substr(1);
}

std::string Identity::productVersion() const {
  return config_.product.version.empty() ? ras1BuildInfo.version : config_.product.version;
}

std::string Identity::host() const {
  const MutexLock lock(mutex_);
  return host_;
}

std::string Identity::nodeName() const {
  return makeNodeName(config_.instance, host(), productCode());
}

std::vector<std::string> Identity::affinities() const {
  const MutexLock lock(mutex_);
  return affinities_;
}

void Identity::setHost(std::string_view host) {
  const MutexLock lock(mutex_);
  host_ = host;
}

void Identity::addAffinity(std::string_view affinity) {
  const MutexLock lock(mutex_);
  if (!affinity.empty() &&
      std::find(affinities_.begin(), affinities_.end(), affinity) == affinities_.end()) {
    affinities_.emplace_back(affinity);
  }
}

}  // namespace fw
