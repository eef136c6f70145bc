#include "jvm_logs.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <string_view>
#include <utility>
#include <vector>

namespace host {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kSuffix = ".JVM.log";

}  // namespace

std::optional<std::time_t> JvmLogs::startOf(const std::string& fileName) const {
  std::string_view rest = fileName;
  if (!rest.starts_with(prefix_) || !rest.ends_with(kSuffix) ||
      rest.size() < prefix_.size() + kSuffix.size()) {
    return std::nullopt;
  }
  rest.remove_prefix(prefix_.size());
  rest.remove_suffix(kSuffix.size());
  std::time_t start = 0;
  const auto [stop, error] = std::from_chars(rest.data(), rest.data() + rest.size(), start);
  if (error != std::errc{} || stop != rest.data() + rest.size() || start < 0) {
    return std::nullopt;
  }
  return start;
}

void JvmLogs::prune(std::size_t keep) const noexcept {
  try {
    std::vector<std::pair<std::time_t, fs::path>> logs;
    std::error_code error;
    for (fs::directory_iterator entry(folder_, error), end; !error && entry != end;
         entry.increment(error)) {
      if (const auto start = startOf(entry->path().filename().string())) {
        logs.emplace_back(*start, entry->path());
      }
    }
    if (logs.size() <= keep) {
      return;
    }
    std::sort(logs.begin(), logs.end());
    logs.resize(logs.size() - keep);
    for (const auto& [start, path] : logs) {
      fs::remove(path, error);  // of a link, the link
    }
  } catch (const std::exception&) {  // no memory: next time
  }
}

}  // namespace host
