#include "http/server/connection_table.h"

#include <linux/sockios.h>
#include <linux/tcp.h>
#include <microhttpd.h>
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

/// Whether the answer to a request may still be on its way to a client that goes on sending.
bool hasUnread(int socket) {
  int bytes = 0;
  return ioctl(socket, FIONREAD, &bytes) == 0 && bytes > 0;
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
  Due due;
  bool isAdmitted = false;
  {
    const MutexLock lock(mutex_);
    const std::size_t open = placesTaken(std::nullopt);
    if (connections_.size() < limits_.withLeaving()) {
      isAdmitted = placesTaken(address) >= limits_.perAddress ? evictOne(address, due)
                   : open >= limits_.total                    ? evictOne(std::nullopt, due)
                                                              : true;
    }
    if (!isAdmitted) {
      ++counters_.connectionsRefused;
      RAS1_PRINT("WARN: HTTP connection refused, %zu are open (limits %u, %u from one address)",
                 open, limits_.total, limits_.perAddress);
    }
  }
  act(due);
  return isAdmitted;
}

/// Of one address, or of all.
std::size_t ConnectionTable::placesTaken(std::optional<std::uint32_t> address) const {
  const auto taken = std::count_if(connections_.begin(), connections_.end(), [&](const auto& item) {
    return !item.second.cut && (!address || item.second.address == *address);
  });
  return static_cast<std::size_t>(taken);
}

bool ConnectionTable::evictOne(std::optional<std::uint32_t> address, Due& due) {
  const auto now = clock_.monotonic();
  Connection* worst = nullptr;
  int worstRank = 0;
  for (auto& [key, entry] : connections_) {
    const int rank = address && entry.address != *address ? 0 : evictionRank(entry, now);
    if (rank > worstRank || (rank != 0 && rank == worstRank && entry.since < worst->since)) {
      worst = &entry;
      worstRank = rank;
    }
  }
  if (worst == nullptr) {
    return false;
  }
  ++counters_.connectionsEvicted;
  if (worst->phase == Phase::Handling) {
    due.abandoned.push_back(worst->exchange);
  }
  cut(*worst);
  return true;
}

/// 0 for a connection that keeps its place.
int ConnectionTable::evictionRank(const Connection& entry, Clock::MonotonicTime now) const {
  if (entry.cut) {
    return 0;
  }
  switch (entry.phase) {
    case Phase::Idle:
    case Phase::Head:
      return 4;
    case Phase::Content:
      return 3;
    case Phase::Sending:
      return now - entry.took > kUntaken ? 2 : 0;
    case Phase::Handling:
      return entry.hungUp ? 1 : 0;
    case Phase::Streaming:
      break;
  }
  return 0;
}

void ConnectionTable::cut(Connection& entry) {
  entry.cut = true;
  // The socket is closed by its HTTP thread only after closed() has taken the entry away.
  shutdown(entry.socket, SHUT_RDWR);
}

void ConnectionTable::opened(MHD_Connection* connection, int socket, std::uint32_t address) {
  const MutexLock lock(mutex_);
  ++counters_.connections;
  Connection& entry = connections_[connection];
  entry.socket = socket;
  entry.address = address;
  entry.thread = std::this_thread::get_id();
  entry.since = clock_.monotonic();
  if (closing_) {
    cut(entry);
  }
}

std::shared_ptr<Exchange> ConnectionTable::begin(MHD_Connection* connection, const char* target) {
  auto exchange = std::make_shared<Exchange>(connection, target);
  const MutexLock lock(mutex_);
  ++counters_.requests;
  Connection& entry = connections_[connection];
  entry.exchange = exchange;
  if (entry.phase != Phase::Head) {
    enter(entry, Phase::Head);
  }
  return exchange;
}

void ConnectionTable::headRead(MHD_Connection* connection) {
  const MutexLock lock(mutex_);
  connections_[connection].phase = Phase::Content;  // the deadline goes on
}

void ConnectionTable::handling(MHD_Connection* connection, bool isWhole) {
  const MutexLock lock(mutex_);
  Connection& entry = connections_[connection];
  entry.cutOff = !isWhole;
  enter(entry, Phase::Handling);
}

void ConnectionTable::sending(MHD_Connection* connection) {
  const MutexLock lock(mutex_);
  Connection& entry = connections_[connection];
  enter(entry, Phase::Sending);
  entry.took = entry.since;
}

void ConnectionTable::streaming(MHD_Connection* connection, std::shared_ptr<LiveBody> body) {
  bool isLate = false;
  {
    const MutexLock lock(mutex_);
    Connection& entry = connections_[connection];
    body->attach(connection, entry.socket);
    enter(entry, Phase::Streaming);
    setsockopt(entry.socket, SOL_SOCKET, SO_SNDBUF, &kStreamBuffer, sizeof(kStreamBuffer));
    entry.stream = body;
    entry.lastBeat = entry.since;
    entry.took = entry.since;
    ++counters_.streams;
    isLate = streamsEnd_ || entry.hungUp;
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
    entry.cutOff = entry.cutOff || entry.phase == Phase::Head || entry.phase == Phase::Content;
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

int ConnectionTable::closed(MHD_Connection* connection) {
  const MutexLock lock(mutex_);
  const auto found = connections_.find(connection);
  if (found == connections_.end()) {
    return -1;
  }
  const Connection entry = std::move(found->second);
  connections_.erase(found);
  idle_.notify_all();
  const bool maySend = entry.cutOff || entry.phase == Phase::Head || hasUnread(entry.socket);
  return maySend && !entry.cut && !entry.hungUp ? entry.socket : -1;
}

void ConnectionTable::hungUp(MHD_Connection* connection) {
  std::shared_ptr<LiveBody> stream;
  {
    const MutexLock lock(mutex_);
    const auto found = connections_.find(connection);
    // The address may be that of a younger connection by now.
    if (found == connections_.end() || infoOf(found->second.socket).tcpi_state == kEstablished) {
      return;
    }
    found->second.hungUp = true;
    stream = found->second.stream;
    nudge(found->second);
  }
  if (stream != nullptr) {
    // One that has only closed its side may still have to be cut: the end waits for what is unsent.
    stream->end();
  }
}

/// Lets the library read once more when there is nothing but the end to read: it misses an end that
/// comes together with the last bytes. Whether that may have to be done again, because the library
/// has been busy with those bytes.
bool ConnectionTable::nudge(const Connection& entry) const {
  const bool isUnfinished =
      entry.phase == Phase::Idle || entry.phase == Phase::Head || entry.phase == Phase::Content;
  if (!entry.hungUp || !isUnfinished) {
    return false;
  }
  shutdown(entry.socket, SHUT_RD);  // changes nothing but that the socket wakes who waits for it
  return true;
}

std::shared_ptr<Exchange> ConnectionTable::current(MHD_Connection* connection) const {
  const MutexLock lock(mutex_);
  const auto found = connections_.find(connection);
  return found == connections_.end() ? nullptr : found->second.exchange;
}

std::pair<MHD_Connection*, int> ConnectionTable::inCheck() const {
  const MutexLock lock(mutex_);
  for (const auto& [key, entry] : connections_) {
    // Between these two states the library leaves a connection to no other.
    if (entry.thread == std::this_thread::get_id() && entry.phase == Phase::Head &&
        entry.exchange != nullptr &&
        MHD_get_connection_info(key, MHD_CONNECTION_INFO_REQUEST_HEADER_SIZE) != nullptr) {
      return {key, entry.socket};
    }
  }
  return {nullptr, -1};
}

bool ConnectionTable::sweep() {
  Due due;
  bool again = false;
  {
    const MutexLock lock(mutex_);
    const auto now = clock_.monotonic();
    for (auto& [key, entry] : connections_) {
      if (entry.phase == Phase::Streaming) {
        sweepStream(entry, now, due);
      } else {
        sweepRequest(entry, now, due);
      }
      again = nudge(entry) || again;
    }
  }
  act(due);
  return again;
}

void ConnectionTable::act(const Due& due) {
  RAS1_FUNCTION();
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
  for (const auto& exchange : due.abandoned) {
    Response response = problemResponse(stopping(), exchange->target);  // nobody reads it
    response.close = true;
    exchange->respond(std::move(response));
  }
}

void ConnectionTable::sweepRequest(Connection& entry, Clock::MonotonicTime now, Due& due) {
  RAS1_FUNCTION();
  if (entry.phase == Phase::Idle && bytesReceived(entry.socket) > entry.bytesBefore) {
    // The library tells of a request when its first line is complete; it began before that.
    enter(entry, Phase::Head);
  }
  if (entry.phase == Phase::Sending) {
    noteTaken(entry, now);
  }
  const auto spent = now - entry.since;
  const bool isSlowHead =
      entry.phase == Phase::Head && spent > std::min(deadlines_.head, deadlines_.receive);
  const bool isSlowContent = entry.phase == Phase::Content && spent > deadlines_.receive;
  const bool isSlowTaker = entry.phase == Phase::Sending && spent > deadlines_.send;
  if (entry.phase == Phase::Handling && spent > deadlines_.answer) {
    due.late.push_back(entry.exchange);
  } else if (!entry.cut && (isSlowHead || isSlowContent || isSlowTaker)) {
    RAS1_PRINT("WARN: connection cut, the client was too slow to %s",
               isSlowTaker ? "read its answer" : "send its request");
    ++counters_.requestsLate;
    cut(entry);
  }
}

void ConnectionTable::noteTaken(Connection& entry, Clock::MonotonicTime now) {
  const tcp_info info = infoOf(entry.socket);
  if (info.tcpi_bytes_acked != entry.bytesTaken || !hasUntaken(entry.socket)) {
    entry.bytesTaken = info.tcpi_bytes_acked;
    entry.took = now;
  }
}

void ConnectionTable::sweepStream(Connection& entry, Clock::MonotonicTime now, Due& due) {
  RAS1_FUNCTION();
  noteTaken(entry, now);
  if (entry.cut) {
    return;
  }
  if (now - entry.took > deadlines_.stall) {
    RAS1_PRINT("WARN: stream cut, the client is not reading");
    ++counters_.streamsCut;
    cut(entry);
    due.left.push_back(entry.stream);
  } else if (!entry.hungUp && now - entry.lastBeat >= deadlines_.heartbeat) {
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

bool ConnectionTable::closeAll(std::chrono::milliseconds bound) {
  MutexLock lock(mutex_);
  closing_ = true;
  for (auto& [key, entry] : connections_) {
    cut(entry);
  }
  return idle_.wait_for(lock, bound, [this]() REQUIRES(mutex_) { return connections_.empty(); });
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
