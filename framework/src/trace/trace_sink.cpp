#include "trace/trace_sink.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <exception>

#include "agentfw/ras1.h"
#include "trace/record.h"
#include "trace/trace_file.h"

RAS1_UNIT("FWTRACE");

namespace fw::trace {
namespace {

void putToStderr(std::string_view record) {
  std::string line(record);
  line += '\n';
  writeFully(STDERR_FILENO, line);  // nowhere to tell when that fails
}

}  // namespace

TraceSink::TraceSink(Clock& clock) : clock_(clock) {}

TraceSink::~TraceSink() = default;

std::string TraceSink::open(const Settings& settings) {
  std::unique_ptr<TraceFile> file;
  if (!settings.file.empty()) {
    try {
      file = std::make_unique<TraceFile>(settings.file, settings.maxSize, settings.files);
    } catch (const std::exception& error) {
      return error.what();
    }
  }
  const TimedMutexLock lock(mutex_);
  file_ = std::move(file);
  toStderr_ = settings.toStderr;
  open_ = true;
  for (const std::string& record : early_) {
    put(record);
  }
  early_.clear();
  earlyBytes_ = 0;
  return {};
}

void TraceSink::write(std::string_view record) noexcept {
  try {
    const TimedMutexLock lock(mutex_);
    if (open_) {
      put(record);
    } else {
      keepEarly(record);
    }
  } catch (const std::exception&) {
    // Out of memory: the record is lost, and there is none to say so with.
  }
}

bool TraceSink::flush(std::chrono::milliseconds bound) noexcept {
  if (!mutex_.lockFor(bound)) {
    return false;
  }
  const TimedMutexLock lock(mutex_, std::adopt_lock);
  try {
    if (!open_ && unreported_ > 0) {
      putToStderr(lossNote());
    }
    for (const std::string& record : early_) {
      putToStderr(record);
      ++counters_.written;
    }
    early_.clear();
    earlyBytes_ = 0;
    unreported_ = open_ ? unreported_ : 0;
  } catch (const std::exception&) {
    return false;
  }
  return true;
}

SinkCounters TraceSink::counters() const {
  const TimedMutexLock lock(mutex_);
  return counters_;
}

void TraceSink::beforeFork() { mutex_.lock(); }

void TraceSink::afterForkInParent() { mutex_.unlock(); }

void TraceSink::afterForkInChild() {
  if (file_ != nullptr) {
    file_->leaveToParent();
  }
  early_.clear();  // the parent still has these
  earlyBytes_ = 0;
  mutex_.unlock();
}

void TraceSink::keepEarly(std::string_view record) {
  early_.emplace_back(record);
  earlyBytes_ += record.size();
  while (earlyBytes_ > kEarlyLimit && early_.size() > 1) {
    earlyBytes_ -= early_.front().size();
    early_.pop_front();
    ++counters_.lost;
    ++unreported_;
  }
}

void TraceSink::put(std::string_view record) {
  if (toStderr_) {
    if (unreported_ > 0 && file_ == nullptr) {
      putToStderr(lossNote());
      unreported_ = 0;
    }
    putToStderr(record);
  }
  if (file_ == nullptr) {
    ++counters_.written;
    return;
  }
  try {
    if (unreported_ > 0) {
      file_->write(lossNote());
      unreported_ = 0;
    }
    file_->write(record);
    ++counters_.written;
  } catch (const std::exception& error) {
    ++counters_.lost;
    if (unreported_++ == 0) {
      putToStderr(fmt::format("trace: records are being lost. {}", error.what()));
    }
  }
}

std::string TraceSink::lossNote() const {
  RAS1_FUNCTION();
  const std::string text =
      fmt::format("WARN: {} trace records before this one were lost", unreported_);
  return formatRecord({clock_.wall(), getpid(), gettid()}, ras1Entry, __LINE__, text, text.size());
}

}  // namespace fw::trace
