#include "trace/trace_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <utility>

#include "agentfw/own_file.h"

namespace fw::trace {

namespace fs = std::filesystem;

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
    : path_(std::move(path)), maxSize_(maxSize), files_(std::max(files, 1U)) {
  std::error_code ignored;  // what is wrong with the directory shows when the file is opened
  fs::create_directories(fs::path(path_).parent_path(), ignored);
  reopen();
}

TraceFile::~TraceFile() {
  if (file_ >= 0) {
    close(file_);
  }
}

void TraceFile::write(std::string_view line) {
  const std::string data = std::string(line) + '\n';
  if (isChild_) {
    writeAsChild(data);
    return;
  }
  if (file_ < 0) {
    reopen();
  }
  if (size_ > 0 && size_ + data.size() > maxSize_) {
    rotate();
  }
  const bool written = writeFully(file_, data);
  const int error = errno;
  struct stat status {};
  // A write that failed may have left a part of the line.
  size_ = written || fstat(file_, &status) != 0 ? size_ + data.size()
                                                : static_cast<std::uint64_t>(status.st_size);
  if (!written) {
    fail(std::strerror(error));
  }
}

// The inherited descriptor is not closed: by the time of the next record its number may belong to
// something else.
void TraceFile::leaveToParent() {
  file_ = -1;
  isChild_ = true;
}

int TraceFile::open() const {
  const agentfw::OwnFile file =
      agentfw::openOwnFile(path_, O_WRONLY | O_APPEND | O_CREAT, agentfw::kLogMode);
  if (file.fd < 0) {
    fail(file.error);
  }
  return file.fd;
}

void TraceFile::reopen() {
  file_ = open();
  struct stat status {};
  size_ = fstat(file_, &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
}

void TraceFile::rotate() {
  for (std::uint32_t age = files_ - 1; age > 0; --age) {
    if (std::rename(nameOf(age - 1).c_str(), nameOf(age).c_str()) != 0 && errno != ENOENT) {
      const int error = errno;
      // The file does not grow beyond its limit, whatever happens.
      size_ = ftruncate(file_, 0) == 0 ? 0 : size_;
      fail(fmt::format("{} can't be renamed: {}", nameOf(age - 1), std::strerror(error)));
    }
  }
  if (files_ <= 1) {
    if (ftruncate(file_, 0) != 0) {
      fail(std::strerror(errno));
    }
    size_ = 0;
    return;
  }
  close(std::exchange(file_, -1));
  reopen();
}

void TraceFile::writeAsChild(std::string_view data) const {
  const int file = open();
  const bool written = writeFully(file, data);
  const int error = errno;
  close(file);
  if (!written) {
    fail(std::strerror(error));
  }
}

std::string TraceFile::nameOf(std::uint32_t age) const {
  if (age == 0) {
    return path_;
  }
  const fs::path path(path_);
  return (path.parent_path() /
          fmt::format("{}.{}{}", path.stem().string(), age, path.extension().string()))
      .string();
}

void TraceFile::fail(const std::string& reason) const {
  throw std::runtime_error(fmt::format("{}: {}", path_, reason));
}

}  // namespace fw::trace
