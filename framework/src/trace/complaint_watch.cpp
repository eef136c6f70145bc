#include "trace/complaint_watch.h"

#include "basic/utf8.h"

namespace fw::trace {

namespace {

constexpr std::string_view kError = "ERROR: ";
constexpr std::string_view kWarning = "WARN: ";
/// What a headline ends with; the message is on the lines after it.
constexpr std::string_view kHeadlineEnd = " ...\n";
constexpr std::size_t kMaxBytes = 1000;

thread_local ComplaintWatch* innermost = nullptr;

// Cut before it is made valid: a text may be as long as the Java application likes.
std::string kept(std::string_view text) { return std::string(cutUtf8(text, kMaxBytes)); }

}  // namespace

ComplaintWatch::ComplaintWatch() : outer_(innermost) { innermost = this; }

ComplaintWatch::~ComplaintWatch() { innermost = outer_; }

std::string ComplaintWatch::lastForPeople() const {
  std::string_view text = error_.empty() ? warning_ : error_;
  const std::size_t headline = text.find(kHeadlineEnd);
  if (headline != std::string_view::npos && headline + kHeadlineEnd.size() < text.size()) {
    text.remove_prefix(headline + kHeadlineEnd.size());
  }
  return fromModifiedUtf8(text);
}

void ComplaintWatch::hear(const RAS1_Entry& entry, std::string_view text) {
  if (innermost == nullptr || (entry.flags & kRas1Transient) != 0) {
    return;
  }
  if (text.substr(0, kError.size()) == kError) {
    innermost->error_ = kept(text.substr(kError.size()));
  } else if (text.substr(0, kWarning.size()) == kWarning) {
    innermost->warning_ = kept(text.substr(kWarning.size()));
  }
}

}  // namespace fw::trace
