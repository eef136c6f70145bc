#include "http/api/request_problem.h"

#include <utility>

namespace fw::http {

namespace {

struct Kind {
  int status;
  std::string_view kind;
  std::string_view title;
};

Kind describe(RequestError::Kind kind) {
  switch (kind) {
    case RequestError::Kind::UnknownTable:
      return {404, "unknown-table", "There is no such table"};
    case RequestError::Kind::UnknownSubnode:
      return {404, "unknown-subnode", "There is no such subnode"};
    case RequestError::Kind::UnknownSituation:
      return {404, "unknown-situation", "There is no such situation"};
    case RequestError::Kind::NoEventTable:
      return {404, "no-event-table", "The table has no events"};
    case RequestError::Kind::BadName:
      return {400, "bad-name", "The name can't be used"};
    case RequestError::Kind::BadInterval:
      return {400, "bad-interval", "The interval can't be used"};
    case RequestError::Kind::BadCommand:
      return {400, "bad-command", "The command can't be used"};
    case RequestError::Kind::Duplicate:
      return {409, "duplicate", "The name is taken"};
    case RequestError::Kind::BadWhere:
      return {400, "bad-where", "The condition can't be understood"};
    case RequestError::Kind::TableRefused:
      return {500, "table-refused", "The table is not usable"};
    case RequestError::Kind::NotReady:
      return {503, "not-ready", "The agent is not ready yet"};
    case RequestError::Kind::Busy:
      return {503, "busy", "The agent is busy"};
    case RequestError::Kind::Stopping:
      break;
  }
  return {503, "stopping", "The agent is stopping"};
}

}  // namespace

Problem toProblem(const RequestError& error) {
  const Kind kind = describe(error.kind);
  Problem problem{kind.status, kind.kind, kind.title, error.message, {}};
  if (error.position) {
    problem.extras.emplace_back("parameter", "where");
    problem.extras.emplace_back("position", static_cast<std::int64_t>(*error.position));
  }
  if (!error.nearest.empty()) {
    problem.extras.emplace_back("nearest", error.nearest);
  }
  return problem;
}

}  // namespace fw::http
