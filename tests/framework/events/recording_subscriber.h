#pragma once

#include <atomic>
#include <mutex>
#include <string>

#include "event_rows.h"
#include "events/subscriber.h"

namespace fw {

/// Writes down what it is told: "opened", "failed: WHY", the numbers of the rows of a push with
/// commas between and "!LOST" behind, "closed"; with blanks between.
class RecordingSubscriber final : public Subscriber {
 public:
  void onOpened(const std::string& problem) override {
    add(problem.empty() ? "opened" : "failed: " + problem);
  }

  void onRows(const PushedRows& pushed) override {
    std::string text;
    for (const std::int64_t number : numbersOf(*pushed.rows)) {
      text += (text.empty() ? "" : ",") + std::to_string(number);
    }
    add(text + (pushed.lost == 0 ? "" : "!" + std::to_string(pushed.lost)));
    if (waits_) {
      door.pass();
    }
  }

  void onClosed() override { add("closed"); }

  /// From now on rows wait at the door.
  void closeDoor() { waits_ = true; }

  std::string text() const {
    const std::lock_guard lock(mutex_);
    return text_;
  }

  bool awaitText(const std::string& wanted) const {
    return test::eventually([&] { return text() == wanted; });
  }

  bool awaitClosed() const {
    return test::eventually([&] { return text().ends_with("closed"); });
  }

  test::Door door;

 private:
  void add(const std::string& what) {
    const std::lock_guard lock(mutex_);
    text_ += text_.empty() ? what : " " + what;
  }

  mutable std::mutex mutex_;
  std::string text_;  // guarded by mutex_
  std::atomic<bool> waits_{false};
};

}  // namespace fw
