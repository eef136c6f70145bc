#pragma once

#include <atomic>
#include <map>
#include <string>
#include <vector>

#include "zelthread.h"

class VuiraAutomationCapsule;
class ZelColumnInfo;
class ZelTableManager;

/// The agent: start-up, load and shut-down of the whole library.
///
/// One static object exists from library load to its unload; all state is class-static. The state
/// flags have no lock: s_shutdownEvent is the only synchronisation. What is bound by reference is
/// never destroyed: any thread may end the process, under others that use it.
class ZelAgent {
 public:
  ZelAgent();
  ZelAgent(const ZelAgent&) = delete;
  ZelAgent& operator=(const ZelAgent&) = delete;

  // Virtual operations. Their order is binary interface: append, never move.
  virtual ~ZelAgent();
  /// Makes the manager of a table; takes ownership of the columns, the caller owns the manager.
  virtual ZelTableManager* createTableManager(const char* tableName,
                                              std::vector<ZelColumnInfo*>* columns, bool sitTrap);
  virtual void subscribeNotificationHandlers();

  static ZelAgent* getInstance();

  /// Runs the agent on the calling thread; 0 after a normal run, -1 when initialisation failed.
  static int start();
  /// Tells the Java application to shut down when the main loop runs, then shuts down.
  static void stop();
  /// Ends the main loop and destroys the bridge client. May run more than once, on any thread.
  static void shutdown();
  /// Whether shut-down has begun; waits for it at most `timeoutMs`, 0 only reads the flag.
  static bool isShutdown(unsigned long timeoutMs);
  /// The framework's loader: 0 on success, 1 on failure.
  static int loadAgents();
  /// 1 on success, 0 on failure; what was done before a failure stays done.
  static int init();
  /// The framework's command callback: 0 when the command ran, else 7.
  static int handleTakeAction(VuiraAutomationCapsule* capsule);

  /// The code under which the framework knows the product: s_prodCode without its first character.
  static const char* registeredProduct();

  static const char* s_prodCode;
  static const char* s_instId;
  static const char* s_prodHome;
  static int s_appPort;                 ///< nothing sets or reads it
  static unsigned long s_replyTimeout;  ///< milliseconds; clamped and traced, nothing waits with it
  static const char* s_iraVersion;      ///< product version, in s_iraVersionBuff
  static char s_iraVersionBuff[16];
  static std::string& s_versionAff;
  static std::atomic<bool> s_isShutdown;  ///< one-way
  static std::atomic<bool> s_started;     ///< while the framework's main loop runs
  static ZelEvent& s_shutdownEvent;       ///< broadcast when shut-down begins
  static std::map<std::string, ZelTableManager*>& s_managers;  ///< filled during init

 private:
  static void runMainLoop();
  static void registerTablesAndStart(int& result);
};
