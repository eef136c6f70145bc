#include "basic/nearest.h"

#include <algorithm>
#include <utility>

namespace fw {
namespace {

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

// Longer texts are not misspelt names, and the work grows with the square of the length.
constexpr std::size_t kLongestName = 128;

}  // namespace

std::size_t editDistance(std::string_view a, std::string_view b) {
  if (a.size() > kLongestName || b.size() > kLongestName) {
    return std::max(a.size(), b.size());
  }
  // Rows of the table of distances between the beginnings of both texts: the last two and this one.
  std::vector<std::size_t> beforeLast(b.size() + 1);
  std::vector<std::size_t> last(b.size() + 1);
  std::vector<std::size_t> row(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) {
    row[j] = j;
  }
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::swap(beforeLast, last);
    std::swap(last, row);
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t cost = lower(a[i - 1]) == lower(b[j - 1]) ? 0 : 1;
      row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + cost});
      const bool swapped = i > 1 && j > 1 && lower(a[i - 1]) == lower(b[j - 2]) &&
                           lower(a[i - 2]) == lower(b[j - 1]);
      if (swapped) {
        row[j] = std::min(row[j], beforeLast[j - 2] + 1);
      }
    }
  }
  return row[b.size()];
}

std::string nearestOf(std::string_view name, const std::vector<std::string>& known) {
  const std::string* nearest = nullptr;
  std::size_t fewest = 0;
  for (const std::string& candidate : known) {
    const std::size_t distance = editDistance(name, candidate);
    const std::size_t most = std::max<std::size_t>(1, std::max(name.size(), candidate.size()) / 3);
    if (distance <= most && (nearest == nullptr || distance < fewest)) {
      nearest = &candidate;
      fewest = distance;
    }
  }
  return nearest == nullptr ? std::string() : *nearest;
}

std::string didYouMean(std::string_view nearest) {
  return nearest.empty() ? std::string() : " Did you mean " + std::string(nearest) + "?";
}

}  // namespace fw
