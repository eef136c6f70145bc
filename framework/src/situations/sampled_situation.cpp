#include "situations/sampled_situation.h"

#include <fmt/format.h>

#include <algorithm>
#include <functional>
#include <utility>

#include "situations/problem_text.h"

namespace fw {

SampledSituation::SampledSituation(Shared shared, TableSet::View table, SituationRequest request,
                                   Predicate predicate, std::shared_ptr<SituationNotices> notices)
    : shared_(std::move(shared)),
      table_(std::move(table)),
      predicate_(std::move(predicate)),
      wanted_(request.subnodes.begin(), request.subnodes.end()),
      notices_(std::move(notices)),
      state_(std::move(request), shared_.sampling.clock.wall()) {}

void SampledSituation::begin() {
  const MutexLock lock(mutex_);
  openMissing();
  if (samplers_.empty()) {
    tell(state_.arm(shared_.sampling.clock.wall()));
  }
}

void SampledSituation::refresh() {
  const MutexLock lock(mutex_);
  openMissing();
}

void SampledSituation::openMissing() {
  if (ended_) {
    return;
  }
  if (!table_.info->perSubnode) {
    open({});
    return;
  }
  // Under the lock, so that closeSubnode() finds what is opened here.
  for (const SubnodeName& subnode : shared_.subnodes.askable()) {
    if (isWanted(subnode)) {
      open(subnode);
    }
  }
}

void SampledSituation::open(const SubnodeName& subnode) {
  if (samplers_.contains(subnode.raw) || leaving_.contains(subnode.raw)) {
    return;
  }
  const SituationRequest& request = state_.request();
  PairSampler::Target target;
  target.table = table_.entry;
  target.info = table_.info;
  target.subnode = subnode;
  target.turns = shared_.turnsOf(table_, subnode);
  target.detail.kind = RequestKind::Situation;
  target.detail.situation = request.name;
  target.detail.interval = static_cast<std::uint32_t>(request.interval.count());
  if (!subnode.raw.empty()) {
    target.detail.subnodes.push_back(subnode.raw);
  }
  target.detail.thresholds = predicate_;
  target.detail.rowLimit = shared_.rowLimit;
  const auto sampler =
      std::make_shared<PairSampler>(shared_.sampling, std::move(target), weak_from_this());
  samplers_.emplace(subnode.raw, sampler);
  sampler->begin(firstWait(subnode));
}

bool SampledSituation::isWanted(const SubnodeName& subnode) const {
  return wanted_.empty() || wanted_.contains(subnode.shown);
}

std::chrono::milliseconds SampledSituation::firstWait(const SubnodeName& subnode) const {
  // Spreads the samples of many pairs, each time in the same way.
  const SituationRequest& request = state_.request();
  const std::chrono::milliseconds most =
      std::min<std::chrono::milliseconds>(request.interval, kMaxFirstWait);
  const std::size_t hash =
      std::hash<std::string>()(request.name + '\n' + request.table + '\n' + subnode.raw);
  return std::chrono::milliseconds(hash % static_cast<std::size_t>(most.count()));
}

void SampledSituation::closeSubnode(const std::string& raw) {
  const MutexLock lock(mutex_);
  auto closing = samplers_.extract(raw);
  if (closing.empty()) {
    return;
  }
  const std::shared_ptr<PairSampler> sampler = closing.mapped();
  leaving_.insert(std::move(closing));
  sampler->close();
  tell(state_.drop(sampler->subnode().shown, shared_.sampling.clock.wall()));
}

void SampledSituation::disarm() {
  const MutexLock lock(mutex_);
  closeAll();
  tell(state_.disarm(shared_.sampling.clock.wall()));
}

void SampledSituation::abandon() {
  const MutexLock lock(mutex_);
  closeAll();
}

void SampledSituation::closeAll() {
  ended_ = true;
  for (const auto& [raw, sampler] : samplers_) {
    sampler->close();
  }
  leaving_.merge(samplers_);
}

bool SampledSituation::isGone() const {
  const MutexLock lock(mutex_);
  return ended_ && leaving_.empty();
}

bool SampledSituation::isCurrent(const PairSampler& sampler) const {
  const auto found = samplers_.find(sampler.subnode().raw);
  return found != samplers_.end() && found->second.get() == &sampler;
}

void SampledSituation::onOpened(const PairSampler& sampler) {
  {
    const MutexLock lock(mutex_);
    if (isCurrent(sampler)) {
      tell(state_.arm(shared_.sampling.clock.wall()));
    }
  }
  notices_->deliver();
}

void SampledSituation::onSampled(const PairSampler& sampler, std::uint64_t passing) {
  {
    const MutexLock lock(mutex_);
    if (isCurrent(sampler)) {
      tell(state_.sampled(sampler.subnode().shown, passing, shared_.sampling.clock.wall()));
    }
  }
  notices_->deliver();
}

void SampledSituation::onGone(const PairSampler& sampler) {
  Samplers::node_type gone;  // ends after the lock
  const MutexLock lock(mutex_);
  missedBefore_ += sampler.missed();
  gone = leaving_.extract(sampler.subnode().raw);
  openMissing();
}

SituationStatus SampledSituation::status() const {
  const MutexLock lock(mutex_);
  return statusNow();
}

SituationStatus SampledSituation::statusNow() const {
  SituationStatus status = state_.status();
  status.missed = missedBefore_;
  for (const Samplers* const samplers : {&samplers_, &leaving_}) {
    for (const auto& [raw, sampler] : *samplers) {
      status.missed += sampler->missed();
    }
  }
  status.problem = problem();
  return status;
}

std::string SampledSituation::problem() const {
  ProblemText problems;
  std::set<std::string> absent = wanted_;
  for (const Samplers* const samplers : {&samplers_, &leaving_}) {
    for (const auto& [raw, sampler] : *samplers) {
      if (samplers == &samplers_) {
        absent.erase(sampler->subnode().shown);
      }
      if (const auto why = sampler->problem()) {
        problems.add(*why);
      }
    }
  }
  if (!ended_) {
    for (const std::string& name : absent) {
      // Asking walks over all subnodes.
      problems.add(problems.isFull() ? name
                                     : shared_.subnodes.whyNot(name).value_or(
                                           fmt::format("Subnode '{}' is not registered.", name)));
    }
  }
  return problems.text();
}

void SampledSituation::tell(bool isChange) {
  if (isChange) {
    notices_->add(statusNow());
  }
}

}  // namespace fw
