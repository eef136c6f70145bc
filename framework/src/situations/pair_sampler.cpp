#include "situations/pair_sampler.h"

#include <fmt/format.h>

#include <utility>

#include "engine/sampling.h"

namespace fw {

namespace {

std::string labelOf(const PairSampler::Target& target) {
  const std::string& table = target.info->name;
  return target.subnode.shown.empty() ? table
                                      : fmt::format("{} of {}", table, target.subnode.shown);
}

}  // namespace

PairSampler::PairSampler(Shared shared, Target target, std::weak_ptr<SamplerListener> listener)
    : shared_(shared),
      target_(std::move(target)),
      listener_(std::move(listener)),
      label_(labelOf(target_)),
      interval_(target_.detail.interval) {}

PairSampler::~PairSampler() { static_cast<void>(object_.release()); }

void PairSampler::begin(std::chrono::milliseconds first) {
  const MutexLock lock(mutex_);
  target_.turns->postAlways([self = shared_from_this()] { self->open(); });
  next_ = shared_.clock.monotonic() + first;
  arm();
}

void PairSampler::arm() {
  timer_ = shared_.timers.at(next_, [weak = weak_from_this()] {
    if (const auto self = weak.lock()) {
      self->tick();
    }
  });
}

void PairSampler::tick() {
  const MutexLock lock(mutex_);
  if (closed_) {
    return;
  }
  // The timer may be far behind, for instance when the machine was suspended.
  const auto now = shared_.clock.monotonic();
  for (next_ += interval_; next_ <= now; next_ += interval_) {
    ++missed_;
  }
  arm();
  // Under the lock: nothing is posted once close() has returned.
  if (isSampling_ || !target_.turns->post([self = shared_from_this()] { self->sample(); })) {
    ++missed_;
  } else {
    isSampling_ = true;
  }
}

void PairSampler::open() {
  if (!isClosed()) {
    useObject([](vuira&) {});
  }
}

void PairSampler::sample() {
  if (!isClosed()) {
    std::optional<std::uint64_t> passing;
    useObject([&](vuira& object) {
      TableMeters& meters = target_.table->meters;
      passing = takeSample(object, shared_.clock, *target_.info, meters, label_).rows.rowCount();
    });
    if (const auto listener = listener_.lock(); listener != nullptr && passing) {
      listener->onSampled(*this, *passing);
    }
  }
  const MutexLock lock(mutex_);
  isSampling_ = false;
}

void PairSampler::useObject(const std::function<void(vuira&)>& use) {
  const bool wasThere = object_ != nullptr;
  auto error = tryCallback(shared_.gate, target_.table->meters, label_, [&] {
    if (object_ == nullptr) {
      object_ = openRequest(*target_.table->manager, target_.detail);
    }
    use(*object_);
  });
  {
    const MutexLock lock(mutex_);
    error_ = std::move(error);
  }
  if (const auto listener = listener_.lock();
      listener != nullptr && !wasThere && object_ != nullptr) {
    listener->onOpened(*this);
  }
}

void PairSampler::close() {
  const MutexLock lock(mutex_);
  if (std::exchange(closed_, true)) {
    return;
  }
  shared_.timers.cancel(timer_);
  target_.turns->postAlways([self = shared_from_this()] { self->deleteObject(); });
}

void PairSampler::deleteObject() {
  // Sealed gates leave the object alone: what its destructor would call is gone by then.
  const bool isGone = shared_.gate.runCleanup([this] { object_.reset(); });
  if (const auto listener = listener_.lock(); listener != nullptr && isGone) {
    listener->onGone(*this);
  }
}

bool PairSampler::isClosed() const {
  const MutexLock lock(mutex_);
  return closed_;
}

std::uint64_t PairSampler::missed() const {
  const MutexLock lock(mutex_);
  return missed_;
}

std::optional<std::string> PairSampler::problem() const {
  if (const auto running = target_.turns->runningFor(); running && *running >= shared_.stuckAfter) {
    return fmt::format("The collector of {} has not returned for {} s.", label_,
                       std::chrono::duration_cast<std::chrono::seconds>(*running).count());
  }
  const MutexLock lock(mutex_);
  if (error_) {
    return fmt::format("{}: {}", label_, *error_);
  }
  return std::nullopt;
}

}  // namespace fw
