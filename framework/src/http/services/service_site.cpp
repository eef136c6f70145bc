#include "http/services/service_site.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "basic/nearest.h"
#include "http/api/api_parameters.h"
#include "http/json/json_document.h"
#include "http/server/problem.h"
#include "http/services/service_job.h"

namespace fw::http {

namespace {

constexpr std::string_view kRoot = "/service/";

bool isList(const Target& target) {
  return target.segments == std::vector<std::string>{"api", "v1", "services"};
}

/// The path below the service, decoded. Nothing when a part of it would mean something else to a
/// reader who splits the path again, or who takes it for the path of a file.
std::optional<std::string> pathBelow(const Target& target) {
  std::string path;
  for (auto part = target.segments.begin() + 2; part != target.segments.end(); ++part) {
    const bool plain = std::none_of(part->begin(), part->end(), [](char c) {
      return static_cast<unsigned char>(c) < 0x20 || c == 0x7F || c == '/' || c == '\\';
    });
    if (!plain || *part == "." || *part == "..") {
      return std::nullopt;
    }
    path += '/' + *part;
  }
  return path;
}

/// Relative links in a page of the service need the "/" at its end.
Response redirectInto(const Target& target) {
  Response response;
  response.status = 308;
  response.contentType = kKdh1ContentTypes[KDH1_MEDIA_TEXT];
  response.headers.push_back(
      {"Location", target.path + '/' + (target.query.empty() ? "" : '?' + target.query)});
  return response;
}

}  // namespace

void ServiceSite::handle(const Request& request, std::shared_ptr<Responder> responder) {
  if (isList(request.target)) {
    responder->send(list(request));
  } else if (request.target.segments.front() == "service") {
    serve(request, std::move(responder));
  } else {
    next_.handle(request, std::move(responder));
  }
}

Response ServiceSite::list(const Request& request) const {
  const std::string& path = request.target.path;
  if (!isRead(request.method)) {
    return problemResponse(methodNotAllowed(request.method, "GET, HEAD"), path);
  }
  if (auto problem = checkParameters(request.target.parameters, {})) {
    return problemResponse(*problem, path);
  }
  const auto toJson = [](const ServiceRegistry::Info& info) -> Json {
    const AgentService& service = *info.service;
    return {
        {"name", service.name},
        {"title", info.title},
        {"node", info.node},
        {"address", std::string(kRoot) + encodeSegment(service.name) + '/'},
        {"requests", service.requests.load()},
        {"requests_failed", service.failed.load()},
        {"requests_late", service.late.load()},
        {"requests_refused", service.refused.load()},
    };
  };
  Response response;
  response.body = toDocument({{"services", listOf(registry_.served(), toJson)}});
  return response;
}

void ServiceSite::serve(const Request& request, std::shared_ptr<Responder> responder) const {
  const Target& target = request.target;
  const auto refuse = [&](const Problem& problem) {
    responder->send(problemResponse(problem, target.path));
  };
  const std::string name = target.segments.size() > 1 ? target.segments[1] : "";
  std::shared_ptr<AgentService> service = registry_.find(name);
  if (service == nullptr) {
    std::vector<std::string> known;
    for (const ServiceRegistry::Info& info : registry_.served()) {
      known.push_back(info.service->name);
    }
    Problem problem{404,
                    "unknown-service",
                    "There is no such service",
                    "There is no service \"" + name + "\"; /api/v1/services lists them.",
                    {}};
    if (std::string nearest = nearestOf(name, known); !nearest.empty()) {
      problem.extras.emplace_back("nearest", std::move(nearest));
    }
    return refuse(problem);
  }
  if (!isRead(request.method) && request.method != "POST") {
    return refuse(methodNotAllowed(request.method, "GET, HEAD, POST"));
  }
  if (target.segments.size() == 2) {
    return responder->send(redirectInto(target));
  }
  std::optional<std::string> path = pathBelow(target);
  if (!path) {
    return refuse(badRequest(
        "The path below a service may have no part that is \".\" or \"..\", and no encoded \"/\", "
        "\"\\\" or control character."));
  }
  startServiceJob(runner_, std::move(service), request, *std::move(path), std::move(responder));
}

}  // namespace fw::http
