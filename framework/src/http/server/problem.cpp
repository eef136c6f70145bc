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
    std::visit([&members, &key = name](const auto& value) { members.push_back({key, value}); },
               extra);
  }
  Response response;
  response.status = problem.status;
  response.contentType = kProblemType;
  // A path or a host that is not UTF-8 is shown with replacement characters.
  response.body = toDocument(std::move(members));
  if (problem.status == 401) {
    response.headers.push_back({"WWW-Authenticate", "Bearer"});
  }
  if (!problem.allow.empty()) {
    response.headers.push_back({"Allow", std::string(problem.allow)});
  }
  if (problem.status == 503) {
    response.headers.push_back({"Retry-After", "1"});
  }
  return response;
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

Problem methodNotAllowed(std::string_view method, std::string_view allow) {
  return {405,
          "method-not-allowed",
          "The method is not allowed here",
          "This address takes " + std::string(allow) + ", not " + std::string(method) + ".",
          {},
          allow};
}

Problem unknownTable(const std::string& name, const std::vector<std::string>& known) {
  Problem problem{404,
                  "unknown-table",
                  "There is no such table",
                  "There is no table \"" + name + "\"; /api/v1/tables lists them.",
                  {}};
  if (std::string nearest = nearestOf(name, known); !nearest.empty()) {
    problem.extras.emplace_back("nearest", std::move(nearest));
  }
  return problem;
}

Problem stopping() {
  return {503,
          "stopping",
          "The agent is stopping",
          "The agent has been told to stop and takes no more requests.",
          {}};
}

}  // namespace fw::http
