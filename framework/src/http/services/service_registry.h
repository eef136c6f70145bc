#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "agentfw/kdh1.h"
#include "agentfw/mutex.h"

namespace fw::http {

/// A service of the agent.
struct AgentService {
  std::string name;
  KDH1_service_t callback = nullptr;
  void* context = nullptr;

  /// Ended or deleted: no more callbacks begin.
  std::atomic<bool> isOver{false};

  // What became of its requests.
  std::atomic<std::uint64_t> requests{0};
  std::atomic<std::uint64_t> failed{0};   ///< answered 502
  std::atomic<std::uint64_t> late{0};     ///< answered 504
  std::atomic<std::uint64_t> refused{0};  ///< answered 503 at a limit

  AgentService(std::string serviceName, KDH1_service_t serviceCallback, void* callbackContext)
      : name(std::move(serviceName)), callback(serviceCallback), context(callbackContext) {}
};

/// The services of the agent, as KDH1_* makes them and the HTTP server finds them.
///
/// It belongs to the process, because the agent may make a service before there is a server and
/// delete it when there no longer is one. A service is served while somebody listens for it. Any
/// thread may call; the operations that return an int return a Kdh1Code.
class ServiceRegistry {
 public:
  static constexpr std::size_t kMaxServices = 16;
  static constexpr std::size_t kMaxName = 64;    ///< bytes
  static constexpr std::size_t kMaxTitle = 256;  ///< bytes; what is longer is cut

  /// A service for people and programs.
  struct Info {
    std::string title;  ///< empty unless published
    std::string node;   ///< the same
    std::shared_ptr<const AgentService> service;
  };

  ServiceRegistry() = default;
  ServiceRegistry(const ServiceRegistry&) = delete;
  ServiceRegistry& operator=(const ServiceRegistry&) = delete;

  /// The process's registry; never destroyed.
  static ServiceRegistry& instance();

  int add(std::string_view name, KDH1_service_t callback, void* context, KDH1_handle& handle);
  int publish(KDH1_handle handle, std::string_view title, std::string_view node);

  /// Serves the service; returns when it has ended. Callbacks that run then may still run on.
  int listen(KDH1_handle handle);

  int remove(KDH1_handle handle);

  /// The service of that name, if it is served now; else null.
  std::shared_ptr<AgentService> find(std::string_view name) const;

  /// Those that are served, in name order.
  std::vector<Info> served() const;

  /// A server begins: services are possible, again if it is not the first.
  void open();

  /// Ends all services: everyone who listens returns, and no service can be made until open().
  void end();

 private:
  struct Entry {
    std::shared_ptr<AgentService> service;
    std::string title;
    std::string node;
    bool listening = false;
  };

  mutable Mutex mutex_;
  CondVar changed_;
  std::map<KDH1_handle, Entry> entries_ GUARDED_BY(mutex_);
  KDH1_handle last_ GUARDED_BY(mutex_) = 1U << 20U;
  bool ended_ GUARDED_BY(mutex_) = false;
};

}  // namespace fw::http
