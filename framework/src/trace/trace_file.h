#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include <spdlog/sinks/rotating_file_sink.h>

namespace fw::trace {

/// Writes all of `data` to a descriptor; false when that failed.
bool writeFully(int descriptor, std::string_view data);

/// A file that is renamed and begun anew when it is full. Not locked. What fails throws
/// std::runtime_error with the reason.
class TraceFile {
 public:
  /// Opens `path` to append to it; missing directories are made. `files` counts the one being
  /// written, so 1 keeps no older ones.
  TraceFile(std::string path, std::uint64_t maxSize, std::uint32_t files);
  TraceFile(const TraceFile&) = delete;
  TraceFile& operator=(const TraceFile&) = delete;

  /// Adds a line. It has left the process when this returns.
  void write(std::string_view line);

  /// For the child of a fork: from now on opens the file for each line and never renames it.
  void leaveToParent();

 private:
  std::string path_;
  std::unique_ptr<spdlog::sinks::rotating_file_sink_st> rotating_;  // null in a child
};

}  // namespace fw::trace
