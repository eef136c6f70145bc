#pragma once

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>

#include "agentfw/mutex.h"
#include "engine/subnode_directory.h"
#include "engine/table_set.h"
#include "situations/pair_sampler.h"
#include "situations/situation_notices.h"
#include "situations/situation_state.h"
#include "situations/watched_situation.h"
#include "tables/condition.h"

namespace fw {

/// A situation on a sampled table: one sampler per subnode, or one for the agent's own tables. It
/// is true while the last sample of any of them had rows that pass.
class SampledSituation final : public WatchedSituation,
                               public SamplerListener,
                               public std::enable_shared_from_this<SampledSituation> {
 public:
  /// Everything outlives the situation.
  struct Shared {
    PairSampler::Shared sampling;
    std::uint32_t rowLimit;  ///< rows of one sample at most
    const SubnodeDirectory& subnodes;
    /// Gives the turns of a pair.
    std::function<std::shared_ptr<Turns>(const TableSet::View&, const SubnodeName&)> turnsOf;
  };

  /// The longest that a request is open before its first sample.
  static constexpr std::chrono::minutes kMaxFirstWait{1};

  SampledSituation(Shared shared, TableSet::View table, SituationRequest request,
                   Predicate predicate, std::shared_ptr<SituationNotices> notices);

  void begin() override;
  const TableEntry& table() const override { return *table_.entry; }
  SituationStatus status() const override;
  void refresh() override;
  void closeSubnode(const std::string& raw) override;
  void disarm() override;
  void abandon() override;
  bool isGone() const override;

  void onOpened(const PairSampler& sampler) override;
  void onSampled(const PairSampler& sampler, std::uint64_t passing) override;
  void onGone(const PairSampler& sampler) override;

 private:
  using Samplers = std::map<std::string, std::shared_ptr<PairSampler>>;  // by raw name

  void openMissing() REQUIRES(mutex_);
  void open(const SubnodeName& subnode) REQUIRES(mutex_);
  void closeAll() REQUIRES(mutex_);
  bool isWanted(const SubnodeName& subnode) const;
  bool isCurrent(const PairSampler& sampler) const REQUIRES(mutex_);
  std::chrono::milliseconds firstWait(const SubnodeName& subnode) const REQUIRES(mutex_);
  SituationStatus statusNow() const REQUIRES(mutex_);
  std::string problem() const REQUIRES(mutex_);
  void tell(bool isChange) REQUIRES(mutex_);

  const Shared shared_;
  const TableSet::View table_;
  const Predicate predicate_;
  const std::set<std::string> wanted_;  ///< shown names; empty: all
  const std::shared_ptr<SituationNotices> notices_;

  mutable Mutex mutex_;
  SituationState state_ GUARDED_BY(mutex_);
  bool ended_ GUARDED_BY(mutex_) = false;  // nothing is opened any more
  Samplers samplers_ GUARDED_BY(mutex_);
  /// Closed, with their request objects still there. A pair is not opened anew before its old
  /// request has gone, so that a collector that hangs can't pile requests up.
  Samplers leaving_ GUARDED_BY(mutex_);
  std::uint64_t missedBefore_ GUARDED_BY(mutex_) = 0;  // by samplers that have gone
};

}  // namespace fw
