#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "http/api/route.h"
#include "http/api/stream_hub.h"
#include "http/server/connection_table.h"
#include "http/server/http_server.h"

namespace fw::http {

/// Everything that the agent serves: the REST API below /api/v1/, the health probes and the page.
/// Describes in code what docs/formats/rest-api.md describes in words.
class RestApi final : public Handler {
 public:
  static constexpr std::uint32_t kDefaultStreamLimit = 16;

  /// `counters` says what the server has done; called on HTTP threads. At most `streamLimit` live
  /// streams are open at a time. `more` are routes besides its own.
  RestApi(Agent& agent, std::function<Counters()> counters,
          std::uint32_t streamLimit = kDefaultStreamLimit, std::vector<Route> more = {});

  void handle(const Request& request, std::shared_ptr<Responder> responder) override;

  const std::vector<Route>& routes() const { return table_.routes(); }

 private:
  std::vector<Route> ownRoutes();
  Counters counters() const;

  Agent& agent_;
  const std::function<Counters()> serverCounters_;
  StreamHub streams_;
  const RouteTable table_;
};

}  // namespace fw::http
