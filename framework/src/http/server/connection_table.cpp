#include "http/server/connection_table.h"

#include <linux/sockios.h>
#include <linux/tcp.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <utility>

#include "agentfw/ras1.h"
#include "http/server/problem.h"

RAS1_UNIT("HTTPCONN");

namespace fw::http {

namespace {

/// Bytes of a stream that the kernel holds at most; it counts its own bookkeeping, too.
constexpr int kStreamBuffer = 128 * 1024;

/// The state of a connection that both sides keep up, as the kernel numbers it.
constexpr int kEstablished = 1;

tcp_info infoOf(int socket) {
  tcp_info info{};
  socklen_t size = sizeof(info);
  return getsockopt(socket, IPPROTO_TCP, TCP_INFO, &info, &size) == 0 ? info : tcp_info{};
}

/// Bytes that have arrived on a connection so far, read by us or not.
std::uint64_t bytesReceived(int socket) { return infoOf(socket).tcpi_bytes_received; }

/// Whether bytes that we sent have not reached the client yet.
bool hasUntaken(int socket) {
  int bytes = 0;
  return ioctl(socket, SIOCOUTQ, &bytes) == 0 && bytes > 0;
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
  const MutexLock lock(mutex_);
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
        "WARN: HTTP connection refused, %zu are open (limits %u, %u from one address); "
        "refused so far: %llu",
        connections_.size(), limits_.total, limits_.perAddress,
        static_cast<unsigned long long>(refused));
  }
  return false;
}

void ConnectionTable::opened(MHD_Connection* connection, int socket, std::uint32_t address) {
  const MutexLock lock(mutex_);
  ++counters_.connections;
  Connection& entry = connections_[connection];
  entry.socket = socket;
  entry.address = address;
  entry.since = clock_.monotonic();
}

std::shared_ptr<Exchange> ConnectionTable::begin(MHD_Connection* connection, const char* target) {
  auto exchange = std::make_shared<Exchange>(connection, target);
  const MutexLock lock(mutex_);
  ++counters_.requests;
  Connection& entry = connections_[connection];
  entry.exchange = exchange;
  if (entry.phase != Phase::Receiving) {
    enter(entry, Phase::Receiving);
  }
  return exchange;
}

void ConnectionTable::handling(MHD_Connection* connection) {
  const MutexLock lock(mutex_);
  enter(connections_[connection], Phase::Handling);
}

void ConnectionTable::sending(MHD_Connection* connection) {
  const MutexLock lock(mutex_);
  enter(connections_[connection], Phase::Sending);
}

void ConnectionTable::streaming(MHD_Connection* connection, std::shared_ptr<LiveBody> body) {
  body->attach(connection);
  bool isLate = false;
  {
    const MutexLock lock(mutex_);
    Connection& entry = connections_[connection];
    enter(entry, Phase::Streaming);
    setsockopt(entry.socket, SOL_SOCKET, SO_SNDBUF, &kStreamBuffer, sizeof(kStreamBuffer));
    entry.stream = body;
    entry.lastBeat = entry.since;
    ++counters_.streams;
    isLate = streamsEnd_;
  }
  if (isLate) {
    body->end();
  }
}

void ConnectionTable::ended(MHD_Connection* connection) {
  std::shared_ptr<Exchange> exchange;
  std::shared_ptr<LiveBody> stream;
  {
    const MutexLock lock(mutex_);
    Connection& entry = connections_[connection];
    exchange = std::move(entry.exchange);
    stream = std::move(entry.stream);
    entry.bytesBefore = bytesReceived(entry.socket);
    enter(entry, Phase::Idle);
    idle_.notify_all();
  }
  if (exchange != nullptr) {
    exchange->end();
  }
  if (stream != nullptr) {
    stream->detach();
  }
}

void ConnectionTable::closed(MHD_Connection* connection) {
  const MutexLock lock(mutex_);
  connections_.erase(connection);
}

std::shared_ptr<Exchange> ConnectionTable::current(MHD_Connection* connection) const {
  const MutexLock lock(mutex_);
  const auto found = connections_.find(connection);
  return found == connections_.end() ? nullptr : found->second.exchange;
}

void ConnectionTable::sweep() {
  RAS1_FUNCTION();
  Due due;
  {
    const MutexLock lock(mutex_);
    const auto now = clock_.monotonic();
    for (auto& [key, entry] : connections_) {
      if (entry.phase == Phase::Streaming) {
        sweepStream(entry, now, due);
      } else {
        sweepRequest(entry, now, due);
      }
    }
  }
  for (const auto& stream : due.beats) {
    stream->beat();
  }
  for (const auto& stream : due.left) {
    stream->end();
  }
  for (const auto& exchange : due.late) {
    if (exchange->respond(tooSlow(*exchange))) {
      RAS1_PRINT("WARN: no answer in time to %s", exchange->target.c_str());
      const MutexLock lock(mutex_);
      ++counters_.requestsLate;
    }
  }
}

void ConnectionTable::sweepRequest(Connection& entry, Clock::MonotonicTime now, Due& due) {
  RAS1_FUNCTION();
  if (entry.phase == Phase::Idle && bytesReceived(entry.socket) > entry.bytesBefore) {
    // The library tells of a request when its first line is complete; it began before that.
    enter(entry, Phase::Receiving);
  }
  const auto taken = now - entry.since;
  if (entry.phase == Phase::Handling && taken > deadlines_.answer) {
    due.late.push_back(entry.exchange);
  } else if ((entry.phase == Phase::Receiving && taken > deadlines_.receive) ||
             (entry.phase == Phase::Sending && taken > deadlines_.send)) {
    RAS1_PRINT("WARN: connection cut, the client was too slow to %s",
               entry.phase == Phase::Receiving ? "send its request" : "read its answer");
    ++counters_.requestsLate;
    entry.since = now;
    // The socket is closed by its HTTP thread only after closed() has taken the entry away.
    shutdown(entry.socket, SHUT_RDWR);
  }
}

void ConnectionTable::sweepStream(Connection& entry, Clock::MonotonicTime now, Due& due) {
  RAS1_FUNCTION();
  const tcp_info info = infoOf(entry.socket);
  const bool hasLeft = info.tcpi_state != kEstablished;
  if (hasLeft) {
    // The library does not watch a suspended connection, so it does not see that the client left.
    // One that has only closed its side may still have to be cut: the end waits for what is unsent.
    due.left.push_back(entry.stream);
  }
  if (info.tcpi_bytes_acked != entry.bytesTaken || !hasUntaken(entry.socket)) {
    entry.bytesTaken = info.tcpi_bytes_acked;
    entry.since = now;
  } else if (now - entry.since > deadlines_.stall) {
    RAS1_PRINT("WARN: stream cut, the client is not reading");
    ++counters_.streamsCut;
    entry.since = now;
    shutdown(entry.socket, SHUT_RDWR);
    due.left.push_back(entry.stream);
    return;
  }
  if (!hasLeft && now - entry.lastBeat >= deadlines_.heartbeat) {
    entry.lastBeat = now;
    due.beats.push_back(entry.stream);
  }
}

void ConnectionTable::endStreams() {
  std::vector<std::shared_ptr<LiveBody>> open;
  {
    const MutexLock lock(mutex_);
    streamsEnd_ = true;
    for (const auto& [key, entry] : connections_) {
      if (entry.stream != nullptr) {
        open.push_back(entry.stream);
      }
    }
  }
  for (const auto& stream : open) {
    stream->end();
  }
}

void ConnectionTable::abandon() {
  endStreams();
  std::vector<std::shared_ptr<Exchange>> open;
  {
    const MutexLock lock(mutex_);
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
  MutexLock lock(mutex_);
  return idle_.wait_for(lock, bound, [this]() REQUIRES(mutex_) { return openRequests() == 0; });
}

bool ConnectionTable::waitStreamsEnded(std::chrono::milliseconds bound) {
  MutexLock lock(mutex_);
  return idle_.wait_for(lock, bound, [this]() REQUIRES(mutex_) { return openStreams() == 0; });
}

Counters ConnectionTable::counters() const {
  const MutexLock lock(mutex_);
  Counters counters = counters_;
  counters.connectionsOpen = static_cast<std::uint32_t>(connections_.size());
  counters.requestsOpen = openRequests();
  counters.streamsOpen = openStreams();
  return counters;
}

std::uint32_t ConnectionTable::openRequests() const {
  const auto open = std::count_if(connections_.begin(), connections_.end(), [](const auto& item) {
    return item.second.phase == Phase::Handling || item.second.phase == Phase::Sending;
  });
  return static_cast<std::uint32_t>(open);
}

std::uint32_t ConnectionTable::openStreams() const {
  const auto open = std::count_if(connections_.begin(), connections_.end(), [](const auto& item) {
    return item.second.phase == Phase::Streaming;
  });
  return static_cast<std::uint32_t>(open);
}

void ConnectionTable::enter(Connection& connection, Phase phase) {
  connection.phase = phase;
  connection.since = clock_.monotonic();
}

}  // namespace fw::http
