#include "journal/journal.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <type_traits>
#include <utility>

#include "agentfw/mutex.h"

namespace fw {

namespace {

std::optional<std::uint64_t> parseNumber(std::string_view text) {
  std::uint64_t number = 0;
  const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool isWhole = failure == std::errc() && end == text.data() + text.size();
  return isWhole ? std::optional(number) : std::nullopt;
}

std::uint64_t bytesOf(const std::vector<std::string>& texts) {
  std::uint64_t bytes = 0;
  for (const std::string& text : texts) {
    bytes += sizeof(std::string) + text.size();
  }
  return bytes;
}

std::uint64_t bytesOf(const EventBatch& batch) {
  return std::uint64_t{batch.rows->rowSize()} * batch.rows->rowCount();
}

std::uint64_t bytesOf(const SubnodeInfo& subnode) {
  return subnode.name.size() + bytesOf(subnode.affinities);
}

std::uint64_t bytesOf(const SituationStatus& situation) {
  return situation.request.where.size() + bytesOf(situation.request.subnodes) +
         bytesOf(situation.trueFor) + situation.problem.size();
}

std::uint64_t bytesOf(const ActionStatus& action) {
  return action.command.size() + action.message.size();
}

std::uint64_t bytesOf(const JournalEntry& entry) {
  return sizeof entry + std::visit([](const auto& what) { return bytesOf(what); }, entry.what);
}

std::uint64_t epochOf(const Clock& clock) {
  const auto since = clock.wall().time_since_epoch();
  return static_cast<std::uint64_t>(
      std::chrono::duration_cast<std::chrono::milliseconds>(since).count());
}

}  // namespace

std::string JournalPosition::toText() const { return fmt::format("{}-{}", epoch, number); }

std::optional<JournalPosition> JournalPosition::parse(std::string_view text) {
  const std::size_t dash = text.find('-');
  if (dash == std::string_view::npos) {
    return std::nullopt;
  }
  const auto epoch = parseNumber(text.substr(0, dash));
  const auto number = parseNumber(text.substr(dash + 1));
  if (!epoch || !number) {
    return std::nullopt;
  }
  return JournalPosition{*epoch, *number};
}

/// A listener to be woken; shared by the journal and by the object that ends it.
class Journal::Listener {
 public:
  explicit Listener(std::function<void()> wake) : wake_(std::move(wake)) {}

  void call() {
    {
      const MutexLock lock(mutex_);
      if (ended_) {
        return;
      }
      ++calls_;
    }
    wake_();
    const MutexLock lock(mutex_);
    --calls_;
    idle_.notify_all();
  }

  void end() {
    MutexLock lock(mutex_);
    ended_ = true;
    idle_.wait(lock, [this]() REQUIRES(mutex_) { return calls_ == 0; });
  }

 private:
  const std::function<void()> wake_;
  Mutex mutex_;
  CondVar idle_;
  std::uint32_t calls_ GUARDED_BY(mutex_) = 0;  // in progress
  bool ended_ GUARDED_BY(mutex_) = false;
};

Journal::Journal(Clock& clock, std::size_t capacity, std::uint64_t bytes)
    : clock_(clock), capacity_(capacity), maxBytes_(bytes), epoch_(epochOf(clock)) {}

void Journal::add(decltype(JournalEntry::what) what) {
  auto entry = std::make_shared<JournalEntry>();
  entry->what = std::move(what);
  std::vector<std::shared_ptr<Listener>> woken;
  {
    const MutexLock lock(mutex_);
    entry->time = clock_.wall();
    entry->number = ++lastNumber_;
    bytes_ += bytesOf(*entry);
    entries_.push_back(std::move(entry));
    makeRoom();
    woken = listeners();
  }
  for (const auto& listener : woken) {
    listener->call();
  }
}

void Journal::makeRoom() {
  while (entries_.size() > 1 && (entries_.size() > capacity_ || bytes_ > maxBytes_)) {
    bytes_ -= bytesOf(*entries_.front());
    entries_.pop_front();
  }
}

std::vector<std::shared_ptr<Journal::Listener>> Journal::listeners() {
  std::vector<std::shared_ptr<Listener>> living;
  std::erase_if(listeners_, [&](const std::weak_ptr<Listener>& each) {
    auto listener = each.lock();
    const bool isGone = listener == nullptr;
    if (!isGone) {
      living.push_back(std::move(listener));
    }
    return isGone;
  });
  return living;
}

JournalPosition Journal::last() const {
  const MutexLock lock(mutex_);
  return {epoch_, lastNumber_};
}

Journal::Page Journal::after(const JournalPosition& position, std::size_t limit) const {
  Page page;
  const MutexLock lock(mutex_);
  page.otherEpoch = position.epoch != epoch_ || position.number > lastNumber_;
  const std::uint64_t seen = page.otherEpoch ? 0 : position.number;
  const std::uint64_t oldest = lastNumber_ - entries_.size() + 1;
  const std::uint64_t first = std::max(seen + 1, oldest);
  page.missed = first - (seen + 1);
  for (std::uint64_t number = first; number <= lastNumber_ && page.entries.size() < limit;
       ++number) {
    page.entries.push_back(entries_[number - oldest]);
  }
  return page;
}

std::unique_ptr<Journal::Listening> Journal::listen(std::function<void()> wake) {
  class Ends final : public Listening {
   public:
    explicit Ends(std::shared_ptr<Listener> listener) : listener_(std::move(listener)) {}
    Ends(const Ends&) = delete;
    Ends& operator=(const Ends&) = delete;
    ~Ends() override { listener_->end(); }

   private:
    const std::shared_ptr<Listener> listener_;
  };
  auto listener = std::make_shared<Listener>(std::move(wake));
  {
    const MutexLock lock(mutex_);
    listeners_.push_back(listener);
  }
  return std::make_unique<Ends>(std::move(listener));
}

}  // namespace fw
