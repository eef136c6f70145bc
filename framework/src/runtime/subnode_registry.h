#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "agentfw/mutex.h"
#include "basic/clock.h"
#include "engine/subnode_directory.h"
#include "engine/subnode_info.h"

namespace fw {

/// What an agent says when it registers a subnode. Texts as they come from the agent.
struct SubnodeRegistration {
  std::string name;  ///< 1 to 32 bytes
  std::string product;
  std::string version;
  std::vector<std::string> affinities;
};

/// The subnodes. Changes are staged, and take effect together at commit(); only the refusal to be
/// asked takes effect at once, because it protects a subnode that is going away. Any thread may
/// call.
class SubnodeRegistry final : public SubnodeDirectory {
 public:
  static constexpr std::size_t kMaxInfo = 16;  ///< bytes of the information text

  /// Told, without the registry's lock, of a subnode that has come, changed or gone; in the order
  /// of the commits. It must neither block nor commit.
  using OnChange = std::function<void(const SubnodeInfo&)>;

  SubnodeRegistry(Clock& clock, std::uint32_t limit, OnChange onChange = {})
      : clock_(clock), limit_(limit), onChange_(std::move(onChange)) {}

  /// Stages a registration; a known subnode is renewed. 0, or an error code.
  int add(SubnodeRegistration registration);

  /// Stages the information text of a subnode that is registered or staged; 0, or an error code.
  int setInfo(std::string_view name, std::string_view info);

  /// Stages a deregistration; from now on the subnode is not asked. 0, or an error code.
  int remove(std::string_view name);

  /// Makes what is staged take effect.
  void commit();

  /// Those that are or were registered, in name order. A gone one is shown until its place is
  /// needed.
  std::vector<SubnodeInfo> all() const;

  std::vector<SubnodeName> askable() const override;
  std::optional<std::string> whyNot(std::string_view shown) const override;

 private:
  struct Staged {
    bool gone = false;
    SubnodeRegistration registration;
    std::optional<std::string> info;
  };

  struct Subnode {
    std::optional<SubnodeInfo> current;  ///< nothing until the first commit
    std::optional<Staged> staged;
    bool changed = false;  ///< since the last commit
  };

  bool makeRoom() REQUIRES(mutex_);
  static void apply(const std::string& raw, Subnode& subnode, const Staged& staged,
                    Clock::WallTime now);

  Clock& clock_;
  const std::uint32_t limit_;
  const OnChange onChange_;
  Mutex commitMutex_ ACQUIRED_BEFORE(mutex_);  // held by a commit as a whole
  mutable Mutex mutex_;
  std::map<std::string, Subnode, std::less<>> subnodes_ GUARDED_BY(mutex_);  // by raw name
};

}  // namespace fw
