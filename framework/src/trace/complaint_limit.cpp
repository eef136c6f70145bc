#include "trace/complaint_limit.h"

#include <fmt/format.h>

#include <algorithm>
#include <functional>
#include <utility>

#include "basic/utf8.h"

namespace fw::trace {

namespace {

/// What a record has beside its text, roughly.
constexpr std::size_t kHeadBytes = 100;

/// Bytes of a complaint that a summary shows.
constexpr std::size_t kShownBytes = 200;

/// The place of all complaints for which there is no place any more.
constexpr std::size_t kElsewhere = 0;

std::string_view nameOf(const char* text, std::uint32_t length) { return {text, length}; }

std::size_t hashOf(const RAS1_Entry& entry, std::uint32_t line) {
  const RAS1_Unit& unit = *entry.unit;
  std::size_t hash = line;
  for (const std::string_view part :
       {nameOf(unit.name, unit.nameLength), nameOf(unit.component, unit.componentLength),
        nameOf(unit.file, unit.fileLength), nameOf(entry.function, entry.functionLength)}) {
    hash = hash * 31 + std::hash<std::string_view>()(part);
  }
  return hash == kElsewhere ? 1 : hash;
}

}  // namespace

bool isComplaint(std::string_view text) {
  return text.substr(0, 5) == "ERROR" || text.substr(0, 4) == "WARN";
}

bool ComplaintLimit::admit(const RAS1_Entry& entry, std::uint32_t line, std::string_view text) {
  const MutexLock lock(mutex_);
  const Time now = clock_.monotonic();
  Place& place = placeOf(entry, line, now);
  if (now - place.begin >= place.window && place.held == 0) {  // nobody had to tell of the window
    place.begin = now;
    place.window = kFirstWindow;
    place.bytes = 0;
    place.written.clear();
  }
  const std::size_t size = text.size() + kHeadBytes;
  const bool isFirst = place.written.empty();
  const bool fits = isFirst || place.bytes + size <= kBytes;
  const std::size_t hash = std::hash<std::string_view>()(text);
  if (fits && place.written.insert(hash).second) {
    place.bytes += size;
    return true;
  }
  ++place.held;
  place.last = cutUtf8(text, kShownBytes);
  const Time::rep due = (place.begin + place.window).time_since_epoch().count();
  nextDue_.store(std::min(nextDue_.load(), due));
  return false;
}

ComplaintLimit::Place& ComplaintLimit::placeOf(const RAS1_Entry& entry, std::uint32_t line,
                                               Time now) {
  std::size_t key = hashOf(entry, line);
  if (places_.size() >= kPlaces && places_.count(key) == 0) {
    std::erase_if(places_, [now](const auto& item) {
      return item.second.held == 0 && now - item.second.begin >= item.second.window;
    });
    key = places_.size() >= kPlaces ? kElsewhere : key;
  }
  const auto [found, isNew] = places_.try_emplace(key);
  Place& place = found->second;
  if (isNew) {
    const RAS1_Unit& unit = *entry.unit;
    place.source = {std::string(unit.name, unit.nameLength),
                    std::string(unit.component, unit.componentLength),
                    std::string(unit.file, unit.fileLength),
                    std::string(entry.function, entry.functionLength),
                    line,
                    {}};
    place.begin = now;
  }
  return place;
}

std::vector<HeldBack> ComplaintLimit::takeDue() {
  if (nextDue_.load(std::memory_order_relaxed) == Time::max().time_since_epoch().count() ||
      nextDue_.load() > clock_.monotonic().time_since_epoch().count()) {
    return {};
  }
  return take(false);
}

std::vector<HeldBack> ComplaintLimit::takeAll() { return take(true); }

void ComplaintLimit::forget() {
  places_.clear();
  nextDue_.store(Time::max().time_since_epoch().count());
}

std::vector<HeldBack> ComplaintLimit::take(bool all) {
  std::vector<HeldBack> taken;
  const MutexLock lock(mutex_);
  const Time now = clock_.monotonic();
  Time next = Time::max();
  for (auto& [key, place] : places_) {
    if (place.held == 0) {
      continue;
    }
    if (!all && now - place.begin < place.window) {
      next = std::min(next, place.begin + place.window);
      continue;
    }
    HeldBack held = place.source;
    held.text = fmt::format("WARN: {} more complaints here in the last {} s, the last one: {}",
                            std::exchange(place.held, 0),
                            std::chrono::round<std::chrono::seconds>(now - place.begin).count(),
                            place.last);
    taken.push_back(std::move(held));
    place.begin = now;
    place.window = std::min<std::chrono::seconds>(2 * place.window, kLastWindow);
    place.bytes = 0;
    place.written.clear();
  }
  nextDue_.store(next.time_since_epoch().count());
  return taken;
}

}  // namespace fw::trace
