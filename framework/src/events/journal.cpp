#include "events/journal.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace fw {

namespace {

/// Takes a whole decimal number from the front of `text`.
std::optional<std::uint64_t> takeNumber(std::string_view& text) {
  std::uint64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc()) {
    return std::nullopt;
  }
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return number;
}

}  // namespace

std::string JournalPosition::toText() const {
  return std::to_string(epoch) + '-' + std::to_string(number);
}

std::optional<JournalPosition> JournalPosition::parse(std::string_view text) {
  const auto epoch = takeNumber(text);
  if (!epoch || text.empty() || text.front() != '-') {
    return std::nullopt;
  }
  text.remove_prefix(1);
  const auto number = takeNumber(text);
  if (!number || !text.empty()) {
    return std::nullopt;
  }
  return JournalPosition{*epoch, *number};
}

Journal::Journal(Clock& clock, std::size_t capacity)
    : clock_(clock),
      capacity_(capacity),
      epoch_(static_cast<std::uint64_t>(
          std::chrono::duration_cast<std::chrono::milliseconds>(clock.wall().time_since_epoch())
              .count())) {}

void Journal::add(decltype(JournalEntry::what) what) {
  {
    const std::lock_guard lock(mutex_);
    auto entry = std::make_shared<JournalEntry>();
    entry->number = ++lastNumber_;
    entry->time = clock_.wall();
    entry->what = std::move(what);
    entries_.push_back(std::move(entry));
    if (entries_.size() > capacity_) {
      entries_.pop_front();
    }
  }
  const std::lock_guard lock(listeners_->mutex);
  for (const auto& [listening, wake] : listeners_->wakes) {
    wake();
  }
}

JournalPosition Journal::last() const {
  const std::lock_guard lock(mutex_);
  return {epoch_, lastNumber_};
}

Journal::Page Journal::after(const JournalPosition& position, std::size_t limit) const {
  const std::lock_guard lock(mutex_);
  Page page;
  const std::uint64_t kept = lastNumber_ - entries_.size();
  page.otherEpoch = position.epoch != epoch_ || position.number > lastNumber_;
  std::uint64_t from = page.otherEpoch ? kept : position.number;
  if (from < kept) {
    page.missed = kept - from;
    from = kept;
  }
  const auto begin = entries_.begin() + static_cast<std::ptrdiff_t>(from - kept);
  const auto count = std::min<std::size_t>(limit, lastNumber_ - from);
  page.entries.assign(begin, begin + static_cast<std::ptrdiff_t>(count));
  return page;
}

class Journal::Subscription final : public Journal::Listening {
 public:
  Subscription(std::shared_ptr<Listeners> listeners, std::function<void()> wake)
      : listeners_(std::move(listeners)) {
    const std::lock_guard lock(listeners_->mutex);
    listeners_->wakes.emplace(this, std::move(wake));
  }
  ~Subscription() override {
    const std::lock_guard lock(listeners_->mutex);
    listeners_->wakes.erase(this);
  }

 private:
  const std::shared_ptr<Listeners> listeners_;
};

std::unique_ptr<Journal::Listening> Journal::listen(std::function<void()> wake) {
  return std::make_unique<Subscription>(listeners_, std::move(wake));
}

}  // namespace fw
