// Classes and patterns of the trace settings: a pattern, a line end, and what it is matched with.

#include "fuzz/fuzz_target.h"
#include "trace/mask.h"

namespace {

// The rule itself, in its plainest form; exponential, so for short texts only.
bool matchesPlainly(std::string_view pattern, std::string_view text) {
  if (pattern.empty()) {
    return text.empty();
  }
  if (pattern.front() == '*') {
    return matchesPlainly(pattern.substr(1), text) ||
           (!text.empty() && matchesPlainly(pattern, text.substr(1)));
  }
  return !text.empty() && (pattern.front() == '?' || pattern.front() == text.front()) &&
         matchesPlainly(pattern.substr(1), text.substr(1));
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input = fuzz::textOf(data, size);
  const std::uint32_t mask = fw::trace::classByName(input);
  fuzz::check((mask & ~fw::trace::kAllClasses) == 0, "a class has known bits alone");
  fw::trace::describeMask(static_cast<std::uint32_t>(size));
  const std::size_t end = input.find('\n');
  const std::string_view pattern = input.substr(0, end);
  const std::string_view text =
      end == std::string_view::npos ? std::string_view() : input.substr(end + 1);
  const bool matches = fw::trace::matchesPattern(pattern, text);
  if (pattern.size() <= 8 && text.size() <= 12) {
    fuzz::check(matches == matchesPlainly(pattern, text), "a match follows the rule");
  }
  return 0;
}
