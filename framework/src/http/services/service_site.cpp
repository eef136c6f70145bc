#include "http/services/service_site.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "http/json/json_document.h"
#include "http/server/problem.h"
#include "http/services/service_job.h"

namespace fw::http {

namespace {

constexpr std::string_view kRoot = "/service/";

Json toJson(const ServiceRegistry::Info& info) {
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
}

Problem unknownService(const ServiceRegistry& registry, const std::string& name) {
  std::vector<std::string> known;
  for (const ServiceRegistry::Info& info : registry.served()) {
    known.push_back(info.service->name);
  }
  return withNearest({404,
                      "unknown-service",
                      "There is no such service",
                      "There is no service \"" + name + "\"; /api/v1/services lists them.",
                      {}},
                     name, known);
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

Route servicesRoute(const ServiceRegistry& registry) {
  return {"/api/v1/services", "the agent's own web services", {}, [&registry](const Call&) {
            return jsonResponse(toDocument({{"services", listOf(registry.served(), toJson)}}));
          }};
}

void ServiceSite::handle(const Request& request, std::shared_ptr<Responder> responder) {
  if (request.target.segments.front() == "service") {
    serve(request, std::move(responder));
  } else {
    next_.handle(request, std::move(responder));
  }
}

void ServiceSite::serve(const Request& request, std::shared_ptr<Responder> responder) const {
  const Target& target = request.target;
  const auto refuse = [&](const Problem& problem) {
    responder->send(problemResponse(problem, target.path));
  };
  const std::string name = target.segments.size() > 1 ? target.segments[1] : "";
  std::shared_ptr<AgentService> service = registry_.find(name);
  if (service == nullptr) {
    return refuse(unknownService(registry_, name));
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
        "The path below a service must not contain a segment \".\" or \"..\", or an encoded \"/\", "
        "\"\\\" or control character."));
  }
  startServiceJob(runner_, std::move(service), request, *path, std::move(responder));
}

}  // namespace fw::http
