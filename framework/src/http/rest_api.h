#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "engine/reports.h"
#include "http/http_server.h"

namespace fw::http {

/// Everything that the agent serves: the REST API below /api/v1/, the health probes and the page.
/// Describes in code what docs/formats/rest-api.md describes in words.
class RestApi final : public Handler {
 public:
  static constexpr std::uint32_t kDefaultLimit = 1'000;
  static constexpr std::uint32_t kMaxLimit = 100'000;

  /// `counters` tells what the server has done; called on HTTP threads.
  RestApi(Agent& agent, std::function<Counters()> counters);

  void handle(const Request& request, std::shared_ptr<Responder> responder) override;

 private:
  struct Route;
  Route route(const Target& target) const;

  Response readiness(const std::string& path) const;
  Response table(const Request& request) const;
  void rows(const Request& request, std::shared_ptr<Responder> responder) const;

  Agent& agent_;
  const std::function<Counters()> counters_;
};

}  // namespace fw::http
