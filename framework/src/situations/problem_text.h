#pragma once

#include <fmt/format.h>

#include <cstddef>
#include <string>

namespace fw {

/// Puts the first few of many problems into one text for people.
class ProblemText {
 public:
  void add(const std::string& text) {
    if (++count_ <= kShown) {
      text_ += text_.empty() ? text : " " + text;
    }
  }

  /// What is added from now on is counted only.
  bool isFull() const { return count_ >= kShown; }

  std::string text() const {
    return count_ <= kShown ? text_ : fmt::format("{} And {} more.", text_, count_ - kShown);
  }

 private:
  static constexpr std::size_t kShown = 3;
  std::string text_;
  std::size_t count_ = 0;
};

}  // namespace fw
