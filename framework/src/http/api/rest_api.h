#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "agent/agent.h"
#include "http/api/stream_hub.h"
#include "http/server/http_server.h"

namespace fw::http {

/// Everything that the agent serves: the REST API below /api/v1/, the health probes and the page.
/// Describes in code what docs/formats/rest-api.md describes in words.
class RestApi final : public Handler {
 public:
  static constexpr std::uint32_t kDefaultLimit = 1'000;
  static constexpr std::uint32_t kMaxLimit = 100'000;

  static constexpr std::uint32_t kDefaultStreamLimit = 16;

  /// `counters` tells what the server has done; called on HTTP threads. At most `streamLimit` live
  /// streams are open at a time.
  RestApi(Agent& agent, std::function<Counters()> counters,
          std::uint32_t streamLimit = kDefaultStreamLimit);

  void handle(const Request& request, std::shared_ptr<Responder> responder) override;

 private:
  struct Route;
  Route route(const Target& target) const;

  static Route routeTop(const std::string& name);

  Response answer(const Route& found, const Request& request);
  Response describeAgent() const;
  Response readiness(const std::string& path) const;
  Response table(const Request& request) const;
  void rows(const Request& request, std::shared_ptr<Responder> responder) const;

  Response stream(const Request& request);
  std::vector<std::string> tableNames() const;

  Agent& agent_;
  const std::function<Counters()> counters_;
  StreamHub streams_;
};

}  // namespace fw::http
