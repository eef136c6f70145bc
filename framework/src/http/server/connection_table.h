#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <thread>
#include <unordered_map>
#include <utility>
#include <vector>

#include "agentfw/mutex.h"
#include "basic/clock.h"
#include "http/server/exchange.h"
#include "http/server/live_body.h"

struct MHD_Connection;

namespace fw::http {

/// How long the phases of a request may take.
struct Deadlines {
  std::chrono::milliseconds head{5'000};      ///< from its first byte until its headers are there
  std::chrono::milliseconds receive{10'000};  ///< from its first byte until it is complete
  std::chrono::milliseconds answer{60'000};   ///< until the handler has answered
  std::chrono::milliseconds send{60'000};     ///< until the client has taken the answer

  // A stream goes on for as long as both sides like.
  std::chrono::milliseconds stall{60'000};      ///< that its client takes nothing of what waits
  std::chrono::milliseconds heartbeat{15'000};  ///< between its signs of life
};

/// How many connections may be open.
struct ConnectionLimits {
  std::uint32_t total = 256;
  std::uint32_t perAddress = 256;

  /// Beside those there are for a moment the ones that had to give up their places.
  std::uint32_t withLeaving() const { return total + std::max(total, 64U); }
};

/// What the server has done so far.
struct Counters {
  std::uint64_t connections = 0;         ///< accepted
  std::uint64_t connectionsRefused = 0;  ///< at a connection limit
  std::uint64_t connectionsEvicted = 0;  ///< closed at a connection limit in favour of new ones
  std::uint64_t requests = 0;
  std::uint64_t requestsLate = 0;  ///< cut, or answered 504, by a deadline
  std::uint32_t connectionsOpen = 0;
  std::uint32_t requestsOpen = 0;  ///< complete, and not yet answered to the last byte
  std::uint64_t streams = 0;
  std::uint64_t streamsRefused = 0;  ///< at their limit
  std::uint64_t streamsCut = 0;      ///< because the client took nothing
  std::uint32_t streamsOpen = 0;     ///< not among the open requests
};

/// The open connections with their requests, and the deadlines of both.
///
/// The HTTP library only cuts connections on which nothing happens. A client that sends a byte now
/// and then, or takes one, could hold a connection for ever: sweep() ends it. A stream has no
/// deadline for the whole: its client is cut when it takes nothing although something waits.
///
/// When all places are taken, a new connection gets that of the one that has done nothing useful
/// for longest: without a complete request's header, then with incomplete content, then with an
/// answer that its client has not touched for kUntaken, then with a request whose client has closed
/// its side. Streams and all other requests keep their places.
class ConnectionTable {
 public:
  static constexpr std::chrono::seconds kUntaken{2};

  ConnectionTable(Clock& clock, Deadlines deadlines, ConnectionLimits limits);

  /// Whether one more connection from `address` (IPv4) may come, perhaps in place of another;
  /// counts it as refused if not.
  bool admit(std::uint32_t address);

  // The life of a connection and of each request on it, told by its HTTP thread.
  void opened(MHD_Connection* connection, int socket, std::uint32_t address);
  std::shared_ptr<Exchange> begin(MHD_Connection* connection, const char* target);
  void headRead(MHD_Connection* connection);
  void handling(MHD_Connection* connection, bool isWhole);
  void sending(MHD_Connection* connection);
  void streaming(MHD_Connection* connection, std::shared_ptr<LiveBody> body);
  void ended(MHD_Connection* connection);

  /// The library is going to close the connection's socket. Returns that when the client may still
  /// be sending, and should get the answer first; else -1.
  int closed(MHD_Connection* connection);

  /// The client of a connection, if there still is such a one, has closed its side.
  void hungUp(MHD_Connection* connection);

  /// The connection's request; null between requests.
  std::shared_ptr<Exchange> current(MHD_Connection* connection) const;

  /// The connection of the calling HTTP thread whose header is read and checked right now, with its
  /// socket; null when there is none.
  std::pair<MHD_Connection*, int> inCheck() const;

  /// Acts on every deadline that has passed. Called a few times a second; sooner again when it
  /// returns true.
  bool sweep();

  /// Ends all streams, and those that begin later at once.
  void endStreams();

  /// Answers all open requests that are not answered yet with 503.
  void abandon();

  /// Waits until each complete request is answered and the answer sent; false when `bound` passed
  /// first.
  bool waitIdle(std::chrono::milliseconds bound);

  /// Waits until no stream is open; false when `bound` passed first.
  bool waitStreamsEnded(std::chrono::milliseconds bound);

  /// Closes all connections, and those that come later at once; false when `bound` passed before
  /// the last one was gone.
  bool closeAll(std::chrono::milliseconds bound);

  Counters counters() const;

 private:
  enum class Phase { Idle, Head, Content, Handling, Sending, Streaming };
  struct Connection {
    int socket = -1;  // valid as long as the entry stands
    std::uint32_t address = 0;
    std::thread::id thread;
    Phase phase = Phase::Idle;
    std::chrono::steady_clock::time_point since;  // of a request that comes in, since its beginning
    std::uint64_t bytesBefore = 0;                // received when the phase Idle began
    std::shared_ptr<Exchange> exchange;
    bool hungUp = false;  // the client has closed its side
    bool cut = false;     // closed by us without an answer
    bool cutOff = false;  // a request has ended before it was there whole

    // When the client last took something, or had nothing to take.
    std::chrono::steady_clock::time_point took;
    std::uint64_t bytesTaken = 0;

    std::shared_ptr<LiveBody> stream;
    std::chrono::steady_clock::time_point lastBeat;
  };
  struct Due {
    std::vector<std::shared_ptr<Exchange>> late;
    std::vector<std::shared_ptr<LiveBody>> beats;
    std::vector<std::shared_ptr<LiveBody>> left;       // by their clients
    std::vector<std::shared_ptr<Exchange>> abandoned;  // by theirs
  };

  void act(const Due& due);

  void enter(Connection& connection, Phase phase) REQUIRES(mutex_);
  void noteTaken(Connection& entry, Clock::MonotonicTime now) REQUIRES(mutex_);
  void cut(Connection& entry) REQUIRES(mutex_);
  std::size_t placesTaken(std::optional<std::uint32_t> address) const REQUIRES(mutex_);
  bool evictOne(std::optional<std::uint32_t> address, Due& due) REQUIRES(mutex_);
  int evictionRank(const Connection& entry, Clock::MonotonicTime now) const REQUIRES(mutex_);
  bool nudge(const Connection& entry) const REQUIRES(mutex_);
  void sweepRequest(Connection& entry, Clock::MonotonicTime now, Due& due) REQUIRES(mutex_);
  void sweepStream(Connection& entry, Clock::MonotonicTime now, Due& due) REQUIRES(mutex_);
  std::uint32_t openRequests() const REQUIRES(mutex_);
  std::uint32_t openStreams() const REQUIRES(mutex_);

  Clock& clock_;
  const Deadlines deadlines_;
  const ConnectionLimits limits_;

  mutable Mutex mutex_;
  CondVar idle_;
  std::unordered_map<MHD_Connection*, Connection> connections_ GUARDED_BY(mutex_);
  Counters counters_ GUARDED_BY(mutex_);
  bool streamsEnd_ GUARDED_BY(mutex_) = false;
  bool closing_ GUARDED_BY(mutex_) = false;
};

}  // namespace fw::http
