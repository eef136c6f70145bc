#include "http/api/request_problem.h"

#include <string_view>
#include <vector>

#include "agent/agent.h"
#include "basic/nearest.h"

namespace fw::http {

namespace {

/// Status, kind and title.
Problem describe(const RequestError& error) {
  const auto problem = [&](int status, std::string_view kind, std::string_view title) {
    return Problem{status, kind, title, error.message, {}};
  };
  switch (error.kind) {
    case RequestError::Kind::UnknownTable:
      return problem(404, "unknown-table", "There is no such table");
    case RequestError::Kind::UnknownSubnode:
      return problem(404, "unknown-subnode", "There is no such subnode");
    case RequestError::Kind::UnknownSituation:
      return problem(404, "unknown-situation", "There is no such situation");
    case RequestError::Kind::NoEventTable:
      return problem(404, "no-event-table", "The table has no events");
    case RequestError::Kind::BadName:
      return problem(400, "bad-name", "The name can't be used");
    case RequestError::Kind::BadInterval:
      return problem(400, "bad-interval", "The interval can't be used");
    case RequestError::Kind::BadCommand:
      return problem(400, "bad-command", "The command can't be used");
    case RequestError::Kind::Duplicate:
      return problem(409, "duplicate", "The name is taken");
    case RequestError::Kind::BadWhere:
      return problem(400, "bad-where", "The condition can't be understood");
    case RequestError::Kind::TableRefused:
      return problem(500, "table-refused", "The table can't be used");
    case RequestError::Kind::NotReady:
      return notReady(error.message);
    case RequestError::Kind::Busy:
      return busy(error.message);
    case RequestError::Kind::Stopping:
      break;
  }
  return stopping(error.message);
}

}  // namespace

Problem toProblem(const RequestError& error) {
  Problem problem = describe(error);
  if (error.position) {
    problem.extras.emplace_back("parameter", "where");
    problem.extras.emplace_back("position", static_cast<std::int64_t>(*error.position));
  }
  if (!error.nearest.empty()) {
    problem.extras.emplace_back("nearest", error.nearest);
  }
  return problem;
}

Problem unknownTable(const Agent& agent, const std::string& name) {
  std::vector<std::string> known;
  for (const TableStatus& each : agent.tables()) {
    known.push_back(each.info->name);
  }
  return toProblem({RequestError::Kind::UnknownTable,
                    "There is no table \"" + name + "\"; /api/v1/tables lists them.",
                    {},
                    nearestOf(name, known)});
}

}  // namespace fw::http
