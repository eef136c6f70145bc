#include "trace/trace_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace fw::trace {
namespace {

constexpr mode_t kFileMode = 0640;

// A child process that executes another program must not keep the file open.
void closeOnExec(const spdlog::filename_t& /*path*/, std::FILE* file) {
  const int descriptor = fileno(file);
  fcntl(descriptor, F_SETFD, fcntl(descriptor, F_GETFD) | FD_CLOEXEC);
}

}  // namespace

bool writeFully(int descriptor, std::string_view data) {
  while (!data.empty()) {
    const ssize_t written = ::write(descriptor, data.data(), data.size());
    if (written < 0 && errno != EINTR) {
      return false;
    }
    data.remove_prefix(written < 0 ? 0 : static_cast<std::size_t>(written));
  }
  return true;
}

TraceFile::TraceFile(std::string path, std::uint64_t maxSize, std::uint32_t files)
    : path_(std::move(path)) {
  spdlog::file_event_handlers handlers;
  handlers.after_open = closeOnExec;
  rotating_ = std::make_unique<spdlog::sinks::rotating_file_sink_st>(
      path_, static_cast<std::size_t>(maxSize), files == 0 ? 0 : files - 1, false, handlers);
  rotating_->set_pattern("%v");
}

void TraceFile::write(std::string_view line) {
  if (rotating_ != nullptr) {
    rotating_->log({spdlog::string_view_t(), spdlog::level::info,
                    spdlog::string_view_t(line.data(), line.size())});
    rotating_->flush();
    return;
  }
  const int file = open(path_.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, kFileMode);
  const bool written = file >= 0 && writeFully(file, std::string(line) + '\n');
  const int error = errno;
  if (file >= 0) {
    close(file);
  }
  if (!written) {
    throw std::runtime_error(fmt::format("{}: {}", path_, std::strerror(error)));
  }
}

// The inherited stream is neither flushed nor closed: by the time of the next record its
// descriptor may belong to something else.
void TraceFile::leaveToParent() { static_cast<void>(rotating_.release()); }

}  // namespace fw::trace
