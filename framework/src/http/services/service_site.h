#pragma once

#include <chrono>
#include <cstddef>
#include <memory>

#include "http/api/route.h"
#include "http/server/http_server.h"
#include "http/services/service_registry.h"

namespace fw {
class CallbackGate;
class TimerQueue;
class WorkerLane;
}  // namespace fw

namespace fw::http {

/// Where and how long the callbacks of services run. Everything outlives their callbacks.
struct ServiceRunner {
  CallbackGate& gate;
  WorkerLane& lane;
  TimerQueue& timers;
  std::chrono::milliseconds deadline;  ///< then the client gets its answer without the callback
  std::size_t responseLimit;           ///< bytes of a response
};

/// The list of the agent's services, at /api/v1/services. The registry outlives the route.
Route servicesRoute(const ServiceRegistry& registry);

/// Serves the agent's services below /service/; everything else is left to the next handler.
///
/// A callback runs on the runner's lane, inside its gate. One that takes too long continues; its
/// late answer is dropped. A request whose time is over before its turn comes is not given to the
/// service at all.
class ServiceSite final : public Handler {
 public:
  /// All three outlive the site; callbacks may outlive it.
  ServiceSite(ServiceRegistry& registry, ServiceRunner runner, Handler& next)
      : registry_(registry), runner_(runner), next_(next) {}

  void handle(const Request& request, std::shared_ptr<Responder> responder) override;

 private:
  void serve(const Request& request, std::shared_ptr<Responder> responder) const;

  ServiceRegistry& registry_;
  const ServiceRunner runner_;
  Handler& next_;
};

}  // namespace fw::http
