#include "trace/mask.h"

namespace fw::trace {
namespace {

struct NamedClass {
  const char* name;
  std::uint32_t bits;
};

constexpr NamedClass kClasses[] = {
    {"detail", kRas1Detail}, {"state", kRas1State}, {"summary", kRas1Summary},
    {"flow", kRas1Flow},     {"error", kRas1Error}, {"all", kAllClasses},
};

}  // namespace

std::uint32_t classByName(std::string_view name) {
  for (const NamedClass& named : kClasses) {
    if (name == named.name) {
      return named.bits;
    }
  }
  return 0;
}

const std::vector<std::string>& classNames() {
  static const std::vector<std::string> names = [] {
    std::vector<std::string> all;
    for (const NamedClass& named : kClasses) {
      all.emplace_back(named.name);
    }
    return all;
  }();
  return names;
}

std::string describeMask(std::uint32_t mask) {
  std::string text;
  for (const NamedClass& named : kClasses) {
    if (named.bits != kAllClasses && (mask & named.bits) != 0) {
      text += (text.empty() ? "" : ", ");
      text += named.name;
    }
  }
  return text.empty() ? "none" : text;
}

bool matchesPattern(std::string_view pattern, std::string_view text) {
  // On a mismatch the last "*" takes one character more; earlier ones never need to be tried again.
  std::size_t p = 0;
  std::size_t t = 0;
  std::size_t star = std::string_view::npos;
  std::size_t resume = 0;
  while (t < text.size()) {
    if (p < pattern.size() && pattern[p] == '*') {
      star = p++;
      resume = t;
    } else if (p < pattern.size() && (pattern[p] == '?' || pattern[p] == text[t])) {
      ++p;
      ++t;
    } else if (star != std::string_view::npos) {
      p = star + 1;
      t = ++resume;
    } else {
      return false;
    }
  }
  while (p < pattern.size() && pattern[p] == '*') {
    ++p;
  }
  return p == pattern.size();
}

}  // namespace fw::trace
