#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "agentfw/ira.h"
#include "agentfw/kdh1.h"
#include "agentfw/ras1.h"

/// What a request of the fake framework asks for; copied into the request object made from it.
struct RequestDetail {
  std::string situationName;
  std::string definition;
  bool hasDefinition = false;
  std::uint32_t interval = 0;
  std::int32_t sampleType = 0;
  int history = 0;  ///< answer of IsHistoryRequest
  std::vector<std::string> subnodes;
  std::vector<FLT1_FILTERINFO> filters;  ///< what they point to is the test's
  std::string nodeText;
};

struct ContextInfo {};

namespace fake {

struct TraceRecord {
  enum Kind { Message, Event, Dump };
  Kind kind;
  std::string unit;
  std::string component;
  std::string file;
  std::string function;
  std::uint32_t line;
  std::string text;  ///< the message, "entry", "exit", "exit VALUE", or a dump's title
  std::string data;  ///< a dump's bytes
  std::string date;  ///< when the unit was compiled
  std::string time;
  std::uint32_t flags = 0;  ///< of the function
};

/// Records everything the library does with the framework and answers as the test says. One per
/// process, safe for any thread; reset() it before each test.
class Framework {
 public:
  static Framework& get();

  /// Forgets records, answers and hooks; all trace classes off.
  void reset();

  /// Forgets all records but the trace that begins with `kept`, for tests that run for long.
  void forgetRecordsExcept(const std::string& kept);

  // What was recorded.
  std::vector<std::string> calls() const;  ///< "IRA_SetCurrency(2, 4)", in order
  std::vector<std::string> callsOf(const std::string& prefix) const;
  std::vector<TraceRecord> trace() const;
  std::vector<std::string> messages() const;  ///< texts of the messages, in order
  bool hasMessage(const std::string& text) const;
  std::size_t countMessages(const std::string& text) const;
  bool waitForMessage(const std::string& text) const;  ///< with a deadline of 20 s

  // Answers. Set them before the library may ask.
  std::map<std::string, std::string> env;
  std::map<std::string, int> rc;                        ///< by operation; 0 where nothing is set
  std::set<std::string> throwing;                       ///< KDH1 operations that throw
  std::map<std::string, std::function<void()>> onCall;  ///< runs inside the operation
  std::string hostName = "fakehost";
  std::string originNode = "inst:fakehost:JX";
  std::string productName = "JX";
  std::string version = "01.00.00";
  std::int64_t timeSeconds = -1;  ///< BSS1_GetTime's answer; -1: the real time
  std::int32_t timeNanoseconds = 0;
  std::uint32_t activityOptions = 0;
  std::string content;  ///< content of an HTTP request
  std::function<bool(const std::string& row)> checkForException;
  std::function<int(const std::string& row)> insertRow;  ///< result of InsertRow
  int isException = 1;                                   ///< result of both IsException
  int (*loader)() = nullptr;                             ///< what the library registered
  int (*commandCallback)(VuiraAutomationCapsule*) = nullptr;
  KDH1_service_t httpCallback = nullptr;
  std::string response;  ///< what KDH1_Put wrote

  /// Runs `action`, once, when a message that begins with `text` is traced: it may throw.
  void onMessage(const std::string& text, std::function<void()> action);

  void setMask(const std::string& unit, std::uint32_t mask);
  void setAllMasks(std::uint32_t mask);

  // For the operations of the fake.
  template <typename... Args>
  int call(const std::string& operation, const Args&... args) {
    std::ostringstream text;
    text << operation << "(";
    [[maybe_unused]] const char* separator = "";
    ((text << separator << args, separator = ", "), ...);
    text << ")";
    return note(operation, text.str());
  }
  void addTrace(TraceRecord record);
  std::uint32_t sync(const RAS1_Unit& unit, RAS1_UnitData& data);

 private:
  int note(const std::string& operation, const std::string& text);

  mutable std::mutex mutex_;
  std::vector<std::string> calls_;
  std::vector<TraceRecord> trace_;
  std::string awaitedMessage_;
  std::function<void()> onAwaitedMessage_;  // null when none is awaited
  std::multimap<std::string, RAS1_UnitData*> units_;
  std::map<std::string, std::uint32_t> masks_;
  std::uint32_t defaultMask_ = 0;
};

/// Rows that a request object of the fake got, and the other things it was told.
struct RequestRecord {
  std::vector<std::string> rows;  ///< inserted
  std::vector<std::string> dispatched;
};
RequestRecord& recordOf(vuira& request);

}  // namespace fake
