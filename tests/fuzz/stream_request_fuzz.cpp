// Where a live stream is to begin, and what is told there: a query, a line end, and the header
// Last-Event-ID.

#include <algorithm>

#include "fuzz/fuzz_target.h"
#include "http/api/api_parameters.h"
#include "http/api/event_stream.h"
#include "http/api/stream_request.h"
#include "support/manual_clock.h"

namespace {

constexpr std::uint64_t kEntries = 12;
constexpr std::uint64_t kKept = 8;

/// The newest entries of some that were added.
const fw::Journal& journal() {
  static ManualClock clock;
  static fw::Journal* const filled = [] {
    auto* made = new fw::Journal(clock, kKept);
    for (std::uint64_t i = 0; i < kEntries; ++i) {
      made->add(fw::SubnodeInfo{"node-" + std::to_string(i), "ZJX", "1", {}, "", {}, {}});
    }
    return made;
  }();
  return *filled;
}

/// The last position that a stream's text names.
std::optional<fw::JournalPosition> lastPosition(std::string_view told) {
  constexpr std::string_view kField = "\nid: ";
  const std::size_t at = told.rfind(kField);
  if (at == std::string_view::npos) {
    return std::nullopt;
  }
  const std::string_view rest = told.substr(at + kField.size());
  return fw::JournalPosition::parse(rest.substr(0, rest.find('\n')));
}

std::uint64_t count(std::string_view text, std::string_view part) {
  std::uint64_t found = 0;
  for (std::size_t at = text.find(part); at != text.npos; at = text.find(part, at + 1)) {
    ++found;
  }
  return found;
}

/// What a client is told that wants everything.
void checkTold(std::string_view told, const fw::JournalPosition& after) {
  const fw::JournalPosition end = journal().last();
  const bool isOther = after.epoch != end.epoch || after.number > end.number;
  const std::uint64_t behind = isOther ? kKept : end.number - after.number;
  fuzz::check(count(told, "event: subnode\n") == std::min(behind, kKept), "it gets what is kept");
  fuzz::check(count(told, "\"reset\":true") == (isOther ? 1 : 0), "it learns of another run");
  fuzz::check(count(told, "\"reset\":false") == (behind > kKept ? 1 : 0), "it learns of a gap");
}

void follow(const fw::http::StreamRequest& request) {
  const fw::JournalPosition after = request.after.value_or(journal().last());
  fw::http::EventStream stream(journal(), request.filter, after);
  std::string told;
  stream.next(told);
  const std::size_t first = told.size();
  fuzz::check(told.starts_with("retry: ") && told.ends_with("\n\n"), "messages are whole");
  if (request.filter.kinds.empty() && request.filter.tables.empty()) {
    checkTold(told, after);
  }
  stream.next(told);
  fuzz::check(told.size() == first, "everything is told at once");
  stream.beat(told);
  const auto position = lastPosition(told);
  fuzz::check(position.has_value(), "the client learns a position");
  fuzz::check(position->epoch == journal().last().epoch && position->number == kEntries,
              "the stream stands at the journal's end");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input = fuzz::textOf(data, size);
  const std::size_t end = input.find('\n');
  const std::string header(end == std::string_view::npos ? "" : input.substr(end + 1));
  if (const auto position = fw::JournalPosition::parse(header)) {
    fuzz::check(fw::JournalPosition::parse(position->toText())->number == position->number &&
                    fw::JournalPosition::parse(position->toText())->epoch == position->epoch,
                "a position can be read again");
  }
  fw::http::Target target;
  if (fw::http::parseTarget("/api/v1/stream?" + std::string(input.substr(0, end)), target) ||
      fw::http::checkParameters(target.parameters, fw::http::streamParameters())) {
    return 0;
  }
  const auto parsed = fw::http::parseStreamRequest(target.parameters, header);
  if (const auto* problem = std::get_if<fw::http::Problem>(&parsed)) {
    fuzz::check(problem->status == 400 && !problem->detail.empty(), "a problem says what is wrong");
    return 0;
  }
  follow(std::get<fw::http::StreamRequest>(parsed));
  return 0;
}
