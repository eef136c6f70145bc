#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "agentfw/mutex.h"
#include "http/server/live_body.h"
#include "journal/journal.h"

namespace fw::http {

/// The live streams that are open: keeps their number within a limit and wakes them when the
/// journal has news. Any thread may call.
class StreamHub {
 public:
  /// The journal outlives the hub.
  StreamHub(Journal& journal, std::uint32_t limit);
  StreamHub(const StreamHub&) = delete;
  StreamHub& operator=(const StreamHub&) = delete;

  /// Opens a stream, which counts until its body or its client is gone; null when there are too
  /// many.
  std::shared_ptr<LiveBody> open(std::unique_ptr<LiveSource> source);

  std::uint32_t limit() const { return limit_; }
  std::uint64_t opened() const;
  std::uint64_t refused() const;  ///< at the limit

 private:
  void wakeAll();

  const std::uint32_t limit_;
  mutable Mutex mutex_;
  std::vector<std::weak_ptr<LiveBody>> bodies_ GUARDED_BY(mutex_);
  std::uint64_t opened_ GUARDED_BY(mutex_) = 0;
  std::uint64_t refused_ GUARDED_BY(mutex_) = 0;
  const std::unique_ptr<Journal::Listening> listening_;  // last: its thread uses all the others
};

}  // namespace fw::http
