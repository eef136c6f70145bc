#include "support/fake_framework.h"

#include <algorithm>
#include <chrono>
#include <thread>
#include <utility>

namespace fake {

Framework& Framework::get() {
  static Framework& instance = *new Framework;  // outlives every thread that traces
  return instance;
}

void Framework::reset() {
  std::lock_guard lock(mutex_);
  calls_.clear();
  trace_.clear();
  onAwaitedMessage_ = nullptr;
  env.clear();
  rc.clear();
  throwing.clear();
  onCall.clear();
  hostName = "fakehost";
  originNode = "inst:fakehost:JX";
  productName = "JX";
  version = "01.00.00";
  timeSeconds = -1;
  timeNanoseconds = 0;
  activityOptions = 0;
  content.clear();
  checkForException = nullptr;
  insertRow = nullptr;
  isException = 1;
  loader = nullptr;
  commandCallback = nullptr;
  httpCallback = nullptr;
  response.clear();
  masks_.clear();
  defaultMask_ = 0;
  for (auto& [name, data] : units_) {
    data->mask.store(0);
  }
}

void Framework::forgetRecordsExcept(const std::string& kept) {
  std::lock_guard lock(mutex_);
  calls_.clear();
  std::erase_if(trace_, [&](const TraceRecord& record) { return !record.text.starts_with(kept); });
}

std::vector<std::string> Framework::calls() const {
  std::lock_guard lock(mutex_);
  return calls_;
}

std::vector<std::string> Framework::callsOf(const std::string& prefix) const {
  std::vector<std::string> found;
  for (const std::string& call : calls()) {
    if (call.rfind(prefix, 0) == 0) {
      found.push_back(call);
    }
  }
  return found;
}

std::vector<TraceRecord> Framework::trace() const {
  std::lock_guard lock(mutex_);
  return trace_;
}

std::vector<std::string> Framework::messages() const {
  std::vector<std::string> texts;
  for (const TraceRecord& record : trace()) {
    if (record.kind == TraceRecord::Message) {
      texts.push_back(record.text);
    }
  }
  return texts;
}

std::size_t Framework::countMessages(const std::string& text) const {
  const std::vector<std::string> texts = messages();
  return static_cast<std::size_t>(std::count(texts.begin(), texts.end(), text));
}

bool Framework::hasMessage(const std::string& text) const { return countMessages(text) > 0; }

bool Framework::waitForMessage(const std::string& text) const {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (!hasMessage(text)) {
    if (std::chrono::steady_clock::now() > deadline) {
      return false;
    }
    std::this_thread::yield();
  }
  return true;
}

void Framework::setMask(const std::string& unit, std::uint32_t mask) {
  std::lock_guard lock(mutex_);
  masks_[unit] = mask;
  const auto [first, last] = units_.equal_range(unit);
  std::for_each(first, last, [mask](auto& entry) { entry.second->mask.store(mask); });
}

void Framework::setAllMasks(std::uint32_t mask) {
  std::lock_guard lock(mutex_);
  defaultMask_ = mask;
  for (auto& [name, data] : units_) {
    data->mask.store(mask);
  }
}

void Framework::onMessage(const std::string& text, std::function<void()> action) {
  std::lock_guard lock(mutex_);
  awaitedMessage_ = text;
  onAwaitedMessage_ = std::move(action);
}

void Framework::addTrace(TraceRecord record) {
  std::function<void()> hook;
  {
    std::lock_guard lock(mutex_);
    if (record.kind == TraceRecord::Message && record.text.rfind(awaitedMessage_, 0) == 0) {
      hook = std::exchange(onAwaitedMessage_, nullptr);
    }
    trace_.push_back(std::move(record));
  }
  if (hook) {
    hook();
  }
}

std::uint32_t Framework::sync(const RAS1_Unit& unit, RAS1_UnitData& data) {
  std::lock_guard lock(mutex_);
  if (data.mask.load() == kRas1Unsynced) {
    units_.emplace(unit.name, &data);
    const auto own = masks_.find(unit.name);
    data.mask.store(own == masks_.end() ? defaultMask_ : own->second);
  }
  return data.mask.load();
}

int Framework::note(const std::string& operation, const std::string& text) {
  std::function<void()> hook;
  int result = 0;
  {
    std::lock_guard lock(mutex_);
    calls_.push_back(text);
    if (const auto found = onCall.find(operation); found != onCall.end()) {
      hook = found->second;
    }
    if (const auto found = rc.find(operation); found != rc.end()) {
      result = found->second;
    }
  }
  if (hook) {
    hook();
  }
  return result;
}

}  // namespace fake
