#include <memory>
#include <string>

#include "basic/clock.h"
#include "config/agent_config.h"
#include "http/http_server.h"
#include "http/rest_api.h"
#include "runtime/service.h"

namespace fw {

namespace {

http::ServerOptions toOptions(const HttpConfig& config) {
  http::ServerOptions options;
  options.port = config.port;
  options.connections = {config.maxConnections, config.maxConnectionsPerAddress};
  options.connectionMemory = config.connectionMemory;
  options.idleTimeout = std::chrono::ceil<std::chrono::seconds>(config.idleTimeout);
  options.deadlines.receive = config.requestDeadline;
  options.limits.body = config.bodyLimit;
  // The library's own refusal of what does not fit into its memory is bare; these say more.
  options.limits.headers = config.connectionMemory / 2;
  options.limits.target = config.connectionMemory / 4;
  return options;
}

/// The REST API on its server.
class HttpService final : public Service {
 public:
  HttpService(Agent& agent, const AgentConfig& config)
      : api_(
            agent, [this] { return server_.counters(); }, config.http.streamLimit),
        server_(Clock::system(), toOptions(config.http), api_) {}

  std::string start() override { return server_.start(); }
  std::uint16_t port() const override { return server_.port(); }
  void refuse() override { server_.refuse(); }
  void drain(std::chrono::milliseconds bound) override { server_.drain(bound); }
  void stop() override { server_.stop(); }

 private:
  http::RestApi api_;
  http::HttpServer server_;
};

}  // namespace

std::unique_ptr<Service> createHttpService(Agent& agent, const AgentConfig& config) {
  return std::make_unique<HttpService>(agent, config);
}

}  // namespace fw
