#include "http/server/problem.h"

#include "basic/nearest.h"
#include "http/json/json_document.h"

namespace fw::http {

Response problemResponse(const Problem& problem, std::string_view path) {
  Json::Object members = {
      {"type", "urn:zel:problem:" + std::string(problem.kind)},
      {"title", problem.title},
      {"status", problem.status},
      {"detail", problem.detail},
      {"instance", path},
  };
  for (const auto& [name, extra] : problem.extras) {
    std::visit(
        [&members, &key = name](const auto& value) {
          members.push_back({key, value});
        },
        extra);
  }
  // A path or a host that is not UTF-8 is shown with replacement characters.
  Response response = jsonResponse(toDocument(std::move(members)), problem.status);
  response.contentType = kProblemType;
  if (problem.status == 401) {
    response.headers.push_back({"WWW-Authenticate", "Bearer"});
  }
  if (!problem.allow.empty()) {
    response.headers.push_back({"Allow", problem.allow});
  }
  if (problem.status == 503) {
    response.headers.push_back({"Retry-After", "1"});
  }
  return response;
}

Problem withNearest(Problem problem, std::string_view name, const std::vector<std::string>& known) {
  if (std::string nearest = nearestOf(name, known); !nearest.empty()) {
    problem.extras.emplace_back("nearest", std::move(nearest));
  }
  return problem;
}

Problem badRequest(std::string detail) {
  return {400, "bad-request", "The request is not well-formed", std::move(detail), {}};
}

Problem notFound(std::string_view path) {
  return {404,
          "not-found",
          "There is nothing at this address",
          "The agent serves nothing at " + std::string(path) +
              ". The page at / and /api/v1/tables are good places to start.",
          {}};
}

Problem methodNotAllowed(std::string_view method, std::string allow) {
  return {405,
          "method-not-allowed",
          "The method is not allowed here",
          "This address takes " + allow + ", not " + std::string(method) + ".",
          {},
          allow};
}

Problem busy(std::string detail) {
  return {503, "busy", "The agent is busy", std::move(detail), {}};
}

Problem notReady(std::string detail) {
  return {503, "not-ready", "The agent is not ready", std::move(detail), {}};
}

Problem stopping(std::string detail) {
  return {503, "stopping", "The agent is stopping", std::move(detail), {}};
}

}  // namespace fw::http
