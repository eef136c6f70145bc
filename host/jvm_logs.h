#pragma once

#include <cstddef>
#include <ctime>
#include <optional>
#include <string>

namespace host {

/// How many logs of earlier starts are kept besides the current one.
inline constexpr std::size_t kOldJvmLogs = 10;

/// The logs of the Java virtual machine of one agent: PRODUCT.INSTANCE.SECONDS.JVM.log, one per
/// start, named by the time of the start. The library writes them.
class JvmLogs {
 public:
  JvmLogs(std::string folder, const std::string& product, const std::string& instance)
      : folder_(std::move(folder)), prefix_(product + "." + instance + ".") {}

  /// The time in the name of one of these logs; nothing for any other name.
  std::optional<std::time_t> startOf(const std::string& fileName) const;

  /// Removes all but the newest `keep`. What can't be removed stays.
  void prune(std::size_t keep) const noexcept;

 private:
  std::string folder_;
  std::string prefix_;
};

}  // namespace host
