#include "http/connection_table.h"

#include <linux/tcp.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <utility>

#include "agentfw/ras1.h"
#include "http/problem.h"

RAS1_UNIT("HTTPCONN");

namespace fw::http {

namespace {

/// Bytes that have arrived on a connection so far, read by us or not.
std::uint64_t bytesReceived(int socket) {
  tcp_info info{};
  socklen_t size = sizeof(info);
  return getsockopt(socket, IPPROTO_TCP, TCP_INFO, &info, &size) == 0 ? info.tcpi_bytes_received
                                                                      : 0;
}

Response tooSlow(const Exchange& exchange) {
  return problemResponse({504,
                          "deadline",
                          "The answer took too long",
                          "The agent had no answer within its deadline for requests.",
                          {}},
                         exchange.target);
}

}  // namespace

ConnectionTable::ConnectionTable(Clock& clock, Deadlines deadlines, ConnectionLimits limits)
    : clock_(clock), deadlines_(deadlines), limits_(limits) {}

bool ConnectionTable::admit(std::uint32_t address) {
  RAS1_FUNCTION();
  const std::lock_guard lock(mutex_);
  const auto ofAddress =
      std::count_if(connections_.begin(), connections_.end(),
                    [address](const auto& item) { return item.second.address == address; });
  if (connections_.size() < limits_.total && ofAddress < limits_.perAddress) {
    return true;
  }
  // A flood would flood the trace as well: each power of two is told.
  const std::uint64_t refused = ++counters_.connectionsRefused;
  if ((refused & (refused - 1)) == 0) {
    RAS1_PRINT(
        "WARN: HTTP connection refused, %zu are open (limits %u, %u of one address); "
        "refused so far: %llu",
        connections_.size(), limits_.total, limits_.perAddress,
        static_cast<unsigned long long>(refused));
  }
  return false;
}

void ConnectionTable::opened(MHD_Connection* connection, int socket, std::uint32_t address) {
  const std::lock_guard lock(mutex_);
  ++counters_.connections;
  Connection& entry = connections_[connection];
  entry.socket = socket;
  entry.address = address;
  entry.since = clock_.monotonic();
}

std::shared_ptr<Exchange> ConnectionTable::begin(MHD_Connection* connection, const char* target) {
  auto exchange = std::make_shared<Exchange>(connection, target);
  const std::lock_guard lock(mutex_);
  ++counters_.requests;
  Connection& entry = connections_[connection];
  entry.exchange = exchange;
  if (entry.phase != Phase::Receiving) {
    enter(entry, Phase::Receiving);
  }
  return exchange;
}

void ConnectionTable::handling(MHD_Connection* connection) {
  const std::lock_guard lock(mutex_);
  enter(connections_[connection], Phase::Handling);
}

void ConnectionTable::sending(MHD_Connection* connection) {
  const std::lock_guard lock(mutex_);
  enter(connections_[connection], Phase::Sending);
}

void ConnectionTable::ended(MHD_Connection* connection) {
  std::shared_ptr<Exchange> exchange;
  {
    const std::lock_guard lock(mutex_);
    Connection& entry = connections_[connection];
    exchange = std::move(entry.exchange);
    entry.bytesBefore = bytesReceived(entry.socket);
    enter(entry, Phase::Idle);
    idle_.notify_all();
  }
  if (exchange != nullptr) {
    exchange->end();
  }
}

void ConnectionTable::closed(MHD_Connection* connection) {
  const std::lock_guard lock(mutex_);
  connections_.erase(connection);
}

std::shared_ptr<Exchange> ConnectionTable::current(MHD_Connection* connection) const {
  const std::lock_guard lock(mutex_);
  const auto found = connections_.find(connection);
  return found == connections_.end() ? nullptr : found->second.exchange;
}

void ConnectionTable::sweep() {
  RAS1_FUNCTION();
  std::vector<std::shared_ptr<Exchange>> late;
  {
    const std::lock_guard lock(mutex_);
    const auto now = clock_.monotonic();
    for (auto& [key, entry] : connections_) {
      if (entry.phase == Phase::Idle && bytesReceived(entry.socket) > entry.bytesBefore) {
        // The library tells of a request when its first line is complete; it began before that.
        enter(entry, Phase::Receiving);
      }
      const auto taken = now - entry.since;
      if (entry.phase == Phase::Handling && taken > deadlines_.answer) {
        late.push_back(entry.exchange);
      } else if ((entry.phase == Phase::Receiving && taken > deadlines_.receive) ||
                 (entry.phase == Phase::Sending && taken > deadlines_.send)) {
        RAS1_PRINT("WARN: connection cut, the client was too slow to %s",
                   entry.phase == Phase::Receiving ? "send its request" : "take its answer");
        ++counters_.requestsLate;
        entry.since = now;
        // The socket is closed by its HTTP thread only after closed() has taken the entry away.
        shutdown(entry.socket, SHUT_RDWR);
      }
    }
  }
  for (const auto& exchange : late) {
    if (exchange->respond(tooSlow(*exchange))) {
      RAS1_PRINT("WARN: no answer in time to %s", exchange->target.c_str());
      const std::lock_guard lock(mutex_);
      ++counters_.requestsLate;
    }
  }
}

void ConnectionTable::abandon() {
  std::vector<std::shared_ptr<Exchange>> open;
  {
    const std::lock_guard lock(mutex_);
    for (const auto& [key, entry] : connections_) {
      if (entry.exchange != nullptr) {
        open.push_back(entry.exchange);
      }
    }
  }
  for (const auto& exchange : open) {
    Response response = problemResponse(stopping(), exchange->target);
    response.close = true;
    exchange->respond(std::move(response));
  }
}

bool ConnectionTable::waitIdle(std::chrono::milliseconds bound) {
  std::unique_lock lock(mutex_);
  return idle_.wait_for(lock, bound, [this] { return openRequests() == 0; });
}

Counters ConnectionTable::counters() const {
  const std::lock_guard lock(mutex_);
  Counters counters = counters_;
  counters.connectionsOpen = static_cast<std::uint32_t>(connections_.size());
  counters.requestsOpen = openRequests();
  return counters;
}

std::uint32_t ConnectionTable::openRequests() const {
  const auto open = std::count_if(connections_.begin(), connections_.end(), [](const auto& item) {
    return item.second.phase == Phase::Handling || item.second.phase == Phase::Sending;
  });
  return static_cast<std::uint32_t>(open);
}

void ConnectionTable::enter(Connection& connection, Phase phase) {
  connection.phase = phase;
  connection.since = clock_.monotonic();
}

}  // namespace fw::http
