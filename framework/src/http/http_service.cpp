#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "basic/clock.h"
#include "config/agent_config.h"
#include "http/api/rest_api.h"
#include "http/server/http_server.h"
#include "http/server/server_options.h"
#include "http/server/token.h"
#include "http/services/service_registry.h"
#include "http/services/service_site.h"
#include "runtime/service.h"

namespace fw {

namespace {

/// The REST API and the agent's services on one server.
class HttpService final : public Service {
 public:
  explicit HttpService(const ServiceContext& context)
      : config_(context.config),
        api_(context.agent, [this] { return server_->counters(); }, config_.http.streamLimit,
             {http::servicesRoute(services_)}),
        site_(services_,
              {context.gate, context.lane, context.timers, config_.services.deadline,
               config_.services.responseLimit},
              api_) {}

  std::string start() override {
    http::ServerOptions options = http::serverOptions(config_);
    if (!config_.home.empty()) {  // without a home nothing can be changed
      http::Token token = http::loadToken(config_.home);
      if (!token.error.empty()) {
        return token.error;
      }
      options.token = std::move(token.text);
    }
    services_.open();
    server_.emplace(Clock::system(), std::move(options), site_);
    return server_->start();
  }

  std::uint16_t port() const override { return server_ ? server_->port() : 0; }

  void refuse() override {
    if (server_) {
      server_->refuse();
    }
  }

  void drain(std::chrono::milliseconds bound) override {
    if (server_) {
      server_->drain(bound);
    }
  }

  void stop() override {
    // Whoever waits for a service gets an answer before the agent's threads leave the services.
    if (server_) {
      server_->abandon();
    }
    services_.end();
    if (server_) {
      server_->stop();
    }
  }

 private:
  const AgentConfig& config_;
  http::ServiceRegistry& services_ = http::ServiceRegistry::instance();
  http::RestApi api_;
  http::ServiceSite site_;
  std::optional<http::HttpServer> server_;  // set when the token is known
};

}  // namespace

std::unique_ptr<Service> createHttpService(const ServiceContext& context) {
  return std::make_unique<HttpService>(context);
}

}  // namespace fw
