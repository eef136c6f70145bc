#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace fw::trace {

/// Writes all of `data` to a descriptor; false when that failed.
bool writeFully(int descriptor, std::string_view data);

/// A file that is renamed and begun anew when it is full: "agent.log" becomes "agent.1.log", that
/// "agent.2.log", and so on. Not locked. Failures throw std::runtime_error with the reason.
///
/// Only the process's user may write to it, and its group read it. Anything but a regular file
/// owned by that user is refused; see agentfw/own_file.h.
class TraceFile {
 public:
  /// Opens `path` to append to it; missing directories are made. `files` counts the one being
  /// written, so 1 keeps no older ones.
  TraceFile(std::string path, std::uint64_t maxSize, std::uint32_t files);
  ~TraceFile();
  TraceFile(const TraceFile&) = delete;
  TraceFile& operator=(const TraceFile&) = delete;

  /// Adds a line. It has left the process when this returns.
  void write(std::string_view line);

  /// For the child of a fork: from now on opens the file for each line and never renames it.
  void leaveToParent();

 private:
  int open() const;
  void reopen();
  void rotate();
  void writeAsChild(std::string_view data) const;
  std::string nameOf(std::uint32_t age) const;
  [[noreturn]] void fail(const std::string& reason) const;

  const std::string path_;
  const std::uint64_t maxSize_;
  const std::uint32_t files_;
  int file_ = -1;  // closed after a rotation that failed; the next line tries again
  std::uint64_t size_ = 0;
  bool isChild_ = false;
};

}  // namespace fw::trace
