#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

namespace fw {

class Agent;
class CallbackGate;
class TimerQueue;
class WorkerLane;
struct AgentConfig;

/// What a server needs of the runtime; all of it outlives the server.
struct ServiceContext {
  Agent& agent;
  const AgentConfig& config;
  CallbackGate& gate;  ///< callbacks into the agent go through it,
  WorkerLane& lane;    ///< on this lane,
  TimerQueue& timers;  ///< and have their deadlines here
};

/// A server that the main loop starts and stops. All operations are called on the thread of
/// kramain, in the order given here, start() once.
class Service {
 public:
  virtual ~Service() = default;

  /// Binds and starts answering. Returns an empty text, or why it can't, for people.
  virtual std::string start() = 0;

  /// The port that it is bound to; 0 unless started.
  virtual std::uint16_t port() const = 0;

  /// From now on every new request is refused as "stopping".
  virtual void refuse() = 0;

  /// Waits at most `bound` for requests in progress.
  virtual void drain(std::chrono::milliseconds bound) = 0;

  /// Ends the server; nothing of it runs after this. Harmless without start().
  virtual void stop() = 0;
};

/// Makes the HTTP server.
std::unique_ptr<Service> createHttpService(const ServiceContext& context);

}  // namespace fw
