#include "http/report_problem.h"

#include <utility>

namespace fw::http {

namespace {

struct Kind {
  int status;
  std::string_view kind;
  std::string_view title;
};

Kind describe(ReportError::Kind kind) {
  switch (kind) {
    case ReportError::Kind::UnknownTable:
      return {404, "unknown-table", "There is no such table"};
    case ReportError::Kind::UnknownSubnode:
      return {404, "unknown-subnode", "There is no such subnode"};
    case ReportError::Kind::BadWhere:
      return {400, "bad-where", "The condition can't be understood"};
    case ReportError::Kind::TableRefused:
      return {500, "table-refused", "The table is not usable"};
    case ReportError::Kind::NotReady:
      return {503, "not-ready", "The agent is not ready yet"};
    case ReportError::Kind::Busy:
      return {503, "busy", "The agent is busy"};
    case ReportError::Kind::Stopping:
      break;
  }
  return {503, "stopping", "The agent is stopping"};
}

}  // namespace

Problem toProblem(const ReportError& error) {
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
