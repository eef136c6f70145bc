#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "bridge/zelclient.h"

namespace fake {

/// Makes a value of the message tree, as often as it is called.
using Value = std::function<std::unique_ptr<ZelData>()>;

Value integer(int value);
Value longInteger(long long value);
Value boolean(bool value);
Value text(std::string value);
Value bytes(std::string value);
Value list(std::vector<Value> items);
Value map(std::vector<std::pair<int, Value>> entries);
Value nothing();  ///< a null child

/// The value in one line, every kind told apart: 5, 5L, true, "text", x'6162' (bytes), [1, 2],
/// {0: "a", 1: []}, null.
std::string describe(const ZelData* value);

/// A deep copy; null of null.
std::unique_ptr<ZelData> copyOf(const ZelData* value);

/// What the native side sent. The envelope is a copy.
struct Sent {
  int type;               ///< ZelMsg::Type
  std::optional<int> id;  ///< a handler's reply carries none
  std::optional<long long> requester;
  std::shared_ptr<ZelMap> envelope;

  std::string body() const;  ///< describe() of the body; "none" without one
};

/// The Java side of the bridge: records what it is sent and answers requests as the test says. One
/// per process, outlives every client, safe for any thread; reset() it before each test.
class Bridge {
 public:
  static Bridge& get();

  /// Forgets records, answers and hooks.
  void reset();

  // What was recorded.
  std::vector<Sent> sent() const;
  std::vector<Sent> sentOf(int id) const;  ///< messages of one code
  /// Waits, with a deadline of 20 s, for the count-th message of a code; false when it ran out.
  bool waitForSent(int id, std::size_t count = 1) const;
  std::size_t clientsCreated() const;

  // Answers, by message code. Set them before the library may ask. A request without any is
  // answered with an empty body.
  std::map<int, Value> replies;
  std::map<int, ZelAppException> exceptions;
  std::set<int> silent;              ///< requests that get no reply
  bool failCreation = false;         ///< making a client throws std::runtime_error("no client")
  std::function<void()> onCreation;  ///< runs before a client is made
  std::map<int, std::function<void(const Sent&)>> onSent;  ///< runs before the reply

  // For the transport.
  Sent record(const ZelMap& envelope);
  void countClient();

 private:
  mutable std::mutex mutex_;
  std::vector<Sent> sent_;   // guarded by mutex_
  std::size_t clients_ = 0;  // guarded by mutex_
};

/// Ends the client, if there is one, and waits until no message handler thread is left. False when
/// one did not end within 20 s. Call from a fixture's TearDown; the trace since the last
/// Bridge::reset() must still stand.
bool endClients();

/// Sets `message` on its way as the Java application does: on the calling thread, through
/// processInbound().
void sendInbound(ZelMsg::Type type, int id, const Value& body);

}  // namespace fake

/// The transport of unit tests: every message goes to fake::Bridge and is answered at once.
class FakeTransport : public ZelClient {
 public:
  FakeTransport();
  ~FakeTransport() override;
  void putOutbound(const ZelMap& envelope) override;

  static FakeTransport* current();  ///< null when there is no client
};
