#include "trace/trace.h"

#include <pthread.h>
#include <unistd.h>

#include <limits>

#include "trace/record.h"

namespace fw::trace {

Trace::Trace(Clock& clock) : clock_(clock), sink_(clock) {}

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

void Trace::write(const RAS1_Entry& entry, std::uint32_t line, std::string_view text) {
  put(entry, line, text, recordLimit_);
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
  sink_.beforeFork();
}

void Trace::afterForkInParent() {
  sink_.afterForkInParent();
  registry_.unlock();
}

void Trace::afterForkInChild() {
  sink_.afterForkInChild();
  registry_.unlock();
}

}  // namespace fw::trace
