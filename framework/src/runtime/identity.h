#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "agentfw/mutex.h"
#include "config/agent_config.h"

namespace fw {

/// Bytes of a node name at most: of the agent's own and of a subnode's.
inline constexpr std::size_t kMaxNodeName = 32;

/// INSTANCE:HOST:PRODUCT in at most kMaxNodeName bytes; the host part is cut first, at a character.
std::string makeNodeName(std::string_view instance, std::string_view host,
                         std::string_view product);

/// A text that lives as long as the process, like those that operations of the seam return. Equal
/// texts are kept once.
const char* keepText(std::string_view text);

/// Who the agent is. Any thread may call.
class Identity {
 public:
  /// `config` outlives the identity.
  explicit Identity(const AgentConfig& config);

  /// The product's code without its first character, as registrations use it.
  std::string productCode() const;

  /// The product's version; the framework's own when none is configured.
  std::string productVersion() const;

  std::string host() const;
  std::string nodeName() const;
  std::vector<std::string> affinities() const;

  /// The host as the agent names it; replaces the configured one. Valid UTF-8, not empty.
  void setHost(std::string_view host);

  /// Adds an affinity; known and empty ones change nothing.
  void addAffinity(std::string_view affinity);

 private:
  const AgentConfig& config_;
  mutable Mutex mutex_;
  std::string host_ GUARDED_BY(mutex_);
  std::vector<std::string> affinities_ GUARDED_BY(mutex_);
};

}  // namespace fw
