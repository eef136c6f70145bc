#include "situations/situation_check.h"

#include <fmt/format.h>

#include <algorithm>
#include <string>
#include <utility>

#include "tables/where_parser.h"

namespace fw {

namespace {

using Kind = RequestError::Kind;

constexpr std::size_t kMaxName = 31;
// Of what is shown of a subnode: its registered name has at most 32 bytes, and each of them that is
// not part of a character is shown as three.
constexpr std::size_t kMaxShownSubnode = 96;

bool isLetterOrDigit(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9');
}

bool isNameChar(char c) { return isLetterOrDigit(c) || c == '_' || c == '-' || c == '.'; }

RequestError error(Kind kind, std::string message) {
  return {kind, std::move(message), std::nullopt, {}};
}

std::optional<RequestError> checkInterval(SituationRequest& request, const TableInfo& table) {
  if (table.events) {
    if (request.interval.count() == 0) {
      return std::nullopt;
    }
    return error(Kind::BadInterval,
                 fmt::format("Table {} is an event table: a situation on it has no "
                             "interval.",
                             table.name));
  }
  if (request.interval.count() == 0) {
    request.interval = kDefaultInterval;
  }
  if (request.interval.count() < 1 || request.interval > kMaxInterval) {
    return error(Kind::BadInterval,
                 fmt::format("An interval of {} s is not possible: it must be from 1 s to {} s.",
                             request.interval.count(), kMaxInterval.count()));
  }
  return std::nullopt;
}

std::optional<RequestError> checkSubnodes(SituationRequest& request, const TableInfo& table,
                                          std::uint32_t limit) {
  auto& names = request.subnodes;
  if (!table.perSubnode && !names.empty()) {
    return error(Kind::UnknownSubnode,
                 fmt::format("Table {} belongs to the agent itself: watch it without subnodes.",
                             table.name));
  }
  for (const std::string& name : names) {
    if (name.empty() || name.size() > kMaxShownSubnode) {
      return error(Kind::UnknownSubnode,
                   fmt::format("'{:.{}}' can't be the name of a subnode: it has {} bytes; 1 to 32 "
                               "are allowed.",
                               name, kMaxShownSubnode, name.size()));
    }
  }
  std::sort(names.begin(), names.end());
  names.erase(std::unique(names.begin(), names.end()), names.end());
  if (names.size() > limit) {
    return error(Kind::UnknownSubnode,
                 fmt::format("{} subnodes are named; engine.subnode_limit allows {}. Without any, "
                             "all are watched.",
                             names.size(), limit));
  }
  return std::nullopt;
}

}  // namespace

std::optional<RequestError> checkSituationName(const SituationRequest& request) {
  const std::string& name = request.name;
  if (!name.empty() && name.size() <= kMaxName && isLetterOrDigit(name.front()) &&
      std::all_of(name.begin(), name.end(), isNameChar)) {
    return std::nullopt;
  }
  return error(Kind::BadName,
               fmt::format("'{:.{}}' can't be the name of a situation: a name has 1 to {} letters, "
                           "digits, \"_\", \"-\" or \".\", the first a letter or a digit.",
                           name, 2 * kMaxName, kMaxName));
}

std::variant<CheckedSituation, RequestError> checkSituation(SituationRequest request,
                                                            const TableInfo& table,
                                                            std::uint32_t subnodeLimit) {
  auto where = parseWhere(request.where, table);
  if (const auto* wrong = std::get_if<WhereError>(&where)) {
    return RequestError{Kind::BadWhere, wrong->message, wrong->position, wrong->nearest};
  }
  if (auto wrong = checkSubnodes(request, table, subnodeLimit)) {
    return *std::move(wrong);
  }
  if (auto wrong = checkInterval(request, table)) {
    return *std::move(wrong);
  }
  return CheckedSituation{std::move(request), std::get<Predicate>(std::move(where))};
}

}  // namespace fw
