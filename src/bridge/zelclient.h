#pragma once

#include <atomic>
#include <map>
#include <queue>

#include "bridge/zelreq.h"
#include "zelthread.h"

class ZelTask;

/// Wants the notifications of one code. Called on the message handler thread, one at a time.
class ZelNotificationSubscriber {
 public:
  virtual bool onNotify(const ZelMsg& msg) = 0;  ///< whether it was handled
  virtual int getType() const = 0;               ///< the code

 protected:
  ~ZelNotificationSubscriber() = default;
};

/// Answers the requests of one code that the Java application sends. Called on the Java thread.
class ZelRequestHandler {
 public:
  virtual ZelMap* handleRequest(const ZelMap& body) = 0;  ///< the reply's body; the caller owns it
  virtual int getType() const = 0;                        ///< the code

 protected:
  ~ZelRequestHandler() = default;
};

/// Native end of the message bridge.
///
/// Sends requests to the Java application, hands each reply to the request that asked, and delivers
/// notifications on the message handler thread. A transport derives from this class and implements
/// putOutbound(); it delivers the reply on the calling thread, before putOutbound() returns.
///
/// The subscriber and handler maps have no lock: fill them on the start-up thread.
class ZelClient {
 public:
  ZelClient() = default;
  ZelClient(const ZelClient&) = delete;
  ZelClient& operator=(const ZelClient&) = delete;

  // Virtual operations. Their order is binary interface: append, never move.
  virtual ~ZelClient();
  /// Sends a message; its body moves into the envelope. The requester may be null.
  virtual void request(ZelMsg& msg, const ZelRequest* requester);
  virtual void subscribe(ZelNotificationSubscriber& subscriber);  // not owned
  virtual ZelNotificationSubscriber* unsubscribe(int type);       // null when there is none
  virtual void putOutbound(const ZelMap& envelope) = 0;

  /// The client; the first call creates it, with the JVM and the message handler thread. Hold a
  /// ZelClientUse from before this call until the client is no longer needed.
  static ZelClient* getInstance();

  /// The client that the calling thread is already using, in request() or in a task; it stays when
  /// another thread begins to destroy it, so that a reply finds its way. Else getInstance().
  static ZelClient* current();

  /// Destroys the client, ends the message handler and drops what is queued. Waits, within
  /// s_destroyBoundMs, until no other thread uses the client; past it the client stays undeleted.
  static void destroy();

  /// Runs a request on the current client: current() and execute() under a use.
  static void run(ZelRequest& req, bool forceSync);

  /// Runs a request; a one-way one is only queued, unless `forceSync`. The client may be destroyed
  /// when this returns.
  void execute(ZelRequest& req, bool forceSync);

  /// Routes an envelope from the Java application; on whatever thread delivers it.
  void processInbound(ZelMap& envelope);

  ZelNotificationSubscriber* getSubscriber(int type) const;
  void setRequestHandler(ZelRequestHandler* handler);  // not owned

  /// Queues a task, which the queue owns then.
  void queueTask(ZelTask* task) const;

  static std::atomic<ZelClient*> s_inst;
  static unsigned long s_mhThread;
  static std::atomic<bool> s_mhRunning;
  // Never destroyed: threads queue, take and wait for tasks while another one ends the process.
  static std::queue<ZelTask*>& s_taskQueue GUARDED_BY(s_tqMutex);  // owning
  static ZelMutex& s_tqMutex;
  static ZelEvent& s_tqEvent;
  static std::atomic<unsigned long> s_destroyBoundMs;

 private:
  void answerRequest(int id, ZelMap& envelope);
  void deliverReply(int id, ZelMsg::Type type, ZelMap& envelope);

  std::map<int, ZelNotificationSubscriber*> subscribers;
  std::map<int, ZelRequestHandler*> handlers;
};

/// Keeps the client from being deleted by another thread while it lives.
class ZelClientUse {
 public:
  ZelClientUse();
  ZelClientUse(const ZelClientUse&) = delete;
  ZelClientUse& operator=(const ZelClientUse&) = delete;
  ~ZelClientUse();
};

/// Makes the transport of this process. Defined by the Java bridge.
ZelClient* zelCreateClient();

/// Routine of the message handler thread: runs the queued tasks until the agent shuts down.
void* zelMessageHandler(void* unused);
