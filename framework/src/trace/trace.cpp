#include "trace/trace.h"

#include <pthread.h>
#include <unistd.h>

#include <exception>
#include <limits>

#include "trace/record.h"

namespace fw::trace {

Trace::Trace(Clock& clock) : clock_(clock), complaints_(clock), sink_(clock) {}

Trace& Trace::instance() {
  static Trace& trace = []() -> Trace& {
    auto& created = *new Trace(Clock::system());
    pthread_atfork([] { instance().beforeFork(); }, [] { instance().afterForkInParent(); },
                   [] { instance().afterForkInChild(); });
    return created;
  }();
  return trace;
}

std::string Trace::configure(const Settings& settings) {
  std::string error = sink_.open(settings);
  if (error.empty()) {
    recordLimit_ = settings.recordLimit;
    registry_.setRules(settings.defaultMask, settings.units);
  }
  return error;
}

void Trace::setMask(const std::string& unitPattern, std::uint32_t mask) {
  registry_.setMask(unitPattern, mask);
}

bool Trace::flush(std::chrono::milliseconds bound) noexcept {
  try {
    tell(complaints_.takeAll());
  } catch (const std::exception&) {
    // Out of memory: the counts are lost, and there is none to say so with.
  }
  return sink_.flush(bound);
}

void Trace::write(const RAS1_Entry& entry, std::uint32_t line, std::string_view text) {
  tell(complaints_.takeDue());
  if (!isComplaint(text) || complaints_.admit(entry, line, text)) {
    put(entry, line, text, recordLimit_);
  }
}

void Trace::tell(const std::vector<HeldBack>& held) {
  for (const HeldBack& each : held) {
    const auto length = [](const std::string& text) {
      return static_cast<std::uint32_t>(text.size());
    };
    RAS1_Unit unit{};
    unit.name = each.unit.c_str();
    unit.nameLength = length(each.unit);
    unit.component = each.component.c_str();
    unit.componentLength = length(each.component);
    unit.file = each.file.c_str();
    unit.fileLength = length(each.file);
    const RAS1_Entry entry{&unit,   each.function.c_str(), length(each.function), each.line,
                           nullptr, kRas1Transient};
    put(entry, each.line, each.text, recordLimit_);
  }
}

// A dump bounds itself.
void Trace::writeDump(const RAS1_Entry& entry, std::uint32_t line, std::string_view text) {
  put(entry, line, text, std::numeric_limits<std::uint64_t>::max());
}

void Trace::put(const RAS1_Entry& entry, std::uint32_t line, std::string_view text,
                std::uint64_t limit) {
  sink_.write(formatRecord({clock_.wall(), getpid(), gettid()}, entry, line, text, limit));
}

void Trace::beforeFork() {
  registry_.lock();
  complaints_.lock();
  sink_.beforeFork();
}

void Trace::afterForkInParent() {
  sink_.afterForkInParent();
  complaints_.unlock();
  registry_.unlock();
}

void Trace::afterForkInChild() {
  sink_.afterForkInChild();
  complaints_.forget();
  complaints_.unlock();
  registry_.unlock();
}

}  // namespace fw::trace
