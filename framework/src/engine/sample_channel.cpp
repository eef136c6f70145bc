#include "engine/sample_channel.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <utility>

#include "engine/worker_lane.h"
#include "tables/request_detail.h"

namespace fw {

namespace {

std::chrono::milliseconds toMs(Clock::MonotonicTime::duration duration) {
  return std::chrono::duration_cast<std::chrono::milliseconds>(duration);
}

}  // namespace

SampleChannel::SampleChannel(Shared shared, std::shared_ptr<TableEntry> table,
                             std::shared_ptr<const TableInfo> info, std::string subnode,
                             std::string label)
    : shared_(shared),
      table_(std::move(table)),
      info_(std::move(info)),
      subnode_(std::move(subnode)),
      label_(std::move(label)),
      turns_(subnode_.empty()
                 ? table_->turns
                 : std::make_shared<Turns>("sampling " + label_, shared.lane, shared.clock)) {}

SampleChannel::~SampleChannel() { static_cast<void>(object_.release()); }

void SampleChannel::sample(const Predicate& predicate, const std::weak_ptr<SampleWaiter>& waiter,
                           std::size_t slot) {
  Hints hints = filtersOf(predicate);
  std::shared_ptr<Sampling> begun;
  std::optional<SampleOutcome> outcome;
  {
    const MutexLock lock(mutex_);
    outcome = answerNow(hints);
    if (!outcome) {
      auto& sampling = inFlight_[hints];
      if (sampling == nullptr) {
        sampling = begun = std::make_shared<Sampling>();
        // Without hints nothing is passed down, so requests for other rows may join.
        begun->predicate = hints.empty() ? Predicate() : predicate;
        begun->hints = std::move(hints);
      }
      sampling->waiting.push_back({waiter, slot});
    }
  }
  if (outcome) {
    if (const auto told = waiter.lock()) {
      told->onSample(slot, *outcome);
    }
  } else if (begun != nullptr &&
             !turns_->post([self = shared_from_this(), begun] { self->take(begun); })) {
    finish(begun, {lastGood(), true, "Too many samples are waiting for a worker."});
  }
}

std::optional<SampleOutcome> SampleChannel::answerNow(const Hints& hints) {
  if (closed_) {
    return SampleOutcome{nullptr, false, closedWhy_};
  }
  const auto now = shared_.clock.monotonic();
  if (lastGood_ != nullptr && now - lastGood_->takenAtMono <= shared_.config.coalesceAge) {
    return SampleOutcome{lastGood_, false, {}};
  }
  if (auto why = whyStuck()) {
    return SampleOutcome{lastGood_, true, *std::move(why)};
  }
  if (inFlight_.size() >= kMaxHinted && !inFlight_.contains(hints)) {
    return SampleOutcome{lastGood_, true,
                         "Too many different conditions are waiting for a sample."};
  }
  return std::nullopt;
}

void SampleChannel::take(const std::shared_ptr<Sampling>& sampling) {
  bool wanted = false;
  {
    const MutexLock lock(mutex_);
    wanted = std::any_of(sampling->waiting.begin(), sampling->waiting.end(),
                         [](const Waiting& each) { return !each.waiter.expired(); });
    if (!wanted) {
      const auto found = inFlight_.find(sampling->hints);
      if (found != inFlight_.end() && found->second == sampling) {
        inFlight_.erase(found);
      }
    }
  }
  if (wanted) {
    finish(sampling, outcomeOf(*sampling));
  }
}

SampleOutcome SampleChannel::outcomeOf(const Sampling& sampling) {
  SampleOutcome outcome;
  const auto call = [&] {
    outcome.sample = std::make_shared<const Sample>(callAgent(sampling.hints, sampling.predicate));
  };
  outcome.error = tryCallback(shared_.gate, table_->meters, label_, call).value_or("");
  return outcome;
}

void SampleChannel::finish(const std::shared_ptr<Sampling>& sampling,
                           const SampleOutcome& outcome) {
  std::vector<Waiting> waiting;
  {
    const MutexLock lock(mutex_);
    waiting.swap(sampling->waiting);
    // A channel that was closed meanwhile, and maybe opened again, has forgotten this sampling.
    const auto found = inFlight_.find(sampling->hints);
    if (found != inFlight_.end() && found->second == sampling) {
      inFlight_.erase(found);
      if (outcome.sample != nullptr && sampling->hints.empty()) {
        lastGood_ = outcome.sample;
      }
    }
  }
  for (const Waiting& each : waiting) {
    if (const auto told = each.waiter.lock()) {
      told->onSample(each.slot, outcome);
    }
  }
}

Sample SampleChannel::callAgent(const Hints& hints, const Predicate& predicate) {
  std::unique_ptr<vuira> own;
  if (!hints.empty()) {
    own = makeObject(hints, predicate);
  } else if (object_ == nullptr) {
    object_ = makeObject({}, {});
  }
  vuira& object = hints.empty() ? *object_ : *own;
  return takeSample(object, shared_.clock, *info_, table_->meters, label_);
}

std::unique_ptr<vuira> SampleChannel::makeObject(const Hints& hints, const Predicate& predicate) {
  RequestDetail detail;
  detail.kind = RequestKind::Report;
  if (!subnode_.empty()) {
    detail.subnodes.push_back(subnode_);
  }
  detail.filters = hints;
  detail.thresholds = predicate;
  detail.rowLimit = shared_.config.rowLimit;
  return openRequest(*table_->manager, std::move(detail));
}

std::shared_ptr<const Sample> SampleChannel::lastGood() const {
  const MutexLock lock(mutex_);
  return lastGood_;
}

std::optional<std::string> SampleChannel::whyStuck() const {
  const auto running = turns_->runningFor();
  if (!running || *running < shared_.config.stuckAfter) {
    return std::nullopt;
  }
  return fmt::format("The collector has not returned for {} s.", toMs(*running).count() / 1000);
}

bool SampleChannel::isStuck() const { return whyStuck().has_value(); }

void SampleChannel::openRow(std::string row, RowOpened opened) {
  // Nothing may pile up behind a callback that does not return.
  if (const auto why = whyStuck()) {
    opened(nullptr, *why);
    return;
  }
  const auto job = [self = shared_from_this(), row = std::move(row), opened] {
    std::unique_ptr<RowObject> object;
    const auto open = [&] { object = self->makeRowObject(row); };
    const auto wrong = tryCallback(self->shared_.gate, self->table_->meters, self->label_, open);
    opened(std::move(object), wrong.value_or(""));
  };
  if (!turns_->post(job)) {
    opened(nullptr, "Too many samples are waiting for a worker.");
  }
}

std::unique_ptr<RowObject> SampleChannel::makeRowObject(const std::string& row) {
  {
    const MutexLock lock(mutex_);
    if (closed_) {
      throw std::runtime_error(closedWhy_);
    }
  }
  std::unique_ptr<vuira> object = makeObject({}, {});
  checkRowSize(object->rowSize, row.size(), label_);
  std::string copy = row;
  // Not through the object: what it does with a row of a sample is not wanted here.
  if (object->vuira::InsertRow(copy.data()) != 0) {
    throw std::runtime_error(fmt::format("There is no room for a row of {}.", label_));
  }
  const MutexLock lock(mutex_);
  ++lent_;
  return std::make_unique<RowObject>(shared_from_this(), std::move(object));
}

void SampleChannel::takeBack(std::unique_ptr<vuira> object) {
  struct Returning {
    std::shared_ptr<SampleChannel> channel;
    std::unique_ptr<vuira> object;
    ~Returning() {
      static_cast<void>(object.release());  // there is one only when its turn has not come
      const MutexLock lock(channel->mutex_);
      --channel->lent_;
      channel->returned_.notify_all();
    }
  };
  const std::shared_ptr<Returning> returning(new Returning{shared_from_this(), std::move(object)});
  turns_->postAlways([returning] {
    returning->channel->shared_.gate.runCleanup([&] { returning->object.reset(); });
  });
}

bool SampleChannel::waitReturned(std::chrono::milliseconds bound) const {
  MutexLock lock(mutex_);
  return returned_.wait_for(lock, bound, [this]() REQUIRES(mutex_) { return lent_ == 0; });
}

void SampleChannel::close(const std::string& why) {
  std::map<Hints, std::shared_ptr<Sampling>> inFlight;
  {
    const MutexLock lock(mutex_);
    closed_ = true;
    closedWhy_ = why;
    lastGood_.reset();
    inFlight.swap(inFlight_);
  }
  turns_->postAlways([self = shared_from_this()] { self->deleteObject(); });
  for (const auto& [hints, sampling] : inFlight) {
    finish(sampling, {nullptr, false, why});
  }
}

void SampleChannel::reopen() {
  const MutexLock lock(mutex_);
  closed_ = false;
}

bool SampleChannel::isClosed() const {
  const MutexLock lock(mutex_);
  return closed_;
}

void SampleChannel::deleteObject() {
  // Sealed gates leave the object alone: what its destructor would call is gone by then.
  shared_.gate.runCleanup([this] { object_.reset(); });
}

}  // namespace fw
