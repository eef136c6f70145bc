#pragma once

#include <memory>
#include <string>

#include "bridge/zelcoll.h"
#include "bridge/zelexc.h"

/// One unit of exchange with the Java application.
class ZelMsg {
 public:
  enum Type : int {
    Request = 0,  ///< expects a reply
    Reply = 1,
    Notification = 2,  ///< one way; never carries a requester
    Exception = 3,     ///< answer to a request that failed in the Java application
  };

  /// Takes ownership of the body, which may be null.
  ZelMsg(int msgId, Type msgType, ZelData* msgBody);
  virtual ~ZelMsg();

  /// The body, which must be a map: std::bad_cast when it is missing or of another kind.
  const ZelMap& bodyMap() const;

  const Type type;
  const int id;
  std::unique_ptr<ZelData> body;
};

/// A call into the Java application: builds one message and reads the single reply.
///
/// Used by the thread that executes it; the transport stores the reply into it on that thread. Its
/// address travels as the requester handle, so it stays where it is until the reply has come.
class ZelRequest {
 public:
  /// A one-way request is queued for sending unless its caller forces otherwise, and its reply is
  /// never interpreted.
  explicit ZelRequest(bool isOneWay);
  ZelRequest(const ZelRequest&) = delete;
  ZelRequest& operator=(const ZelRequest&) = delete;

  // Virtual operations. Their order is binary interface: append, never move.

  /// Builds the outgoing message; the caller owns it.
  virtual ZelMsg* createRegMsg() = 0;
  /// Reads the body of a normal reply.
  virtual void onReply(const ZelMap& body) = 0;
  virtual ~ZelRequest();

  /// Stores the reply, taking ownership, in place of an earlier one.
  void processReply(ZelMsg* msg);

  /// Interprets the stored reply; never blocks. A broken reply throws ZelException or
  /// std::bad_cast. A critical exception of the application has destroyed the bridge client when
  /// this returns.
  void waitReply();

  /// Stores and traces an exception of the application; a critical one shuts the agent down.
  void onException(const ZelMap& body);

  bool isOneWay() const { return oneWay; }
  bool isAppExc() const { return appExc != nullptr; }
  int appExcSeverity() const { return appExc->severity; }               ///< only if isAppExc()
  const std::string& appExcMessage() const { return appExc->message; }  ///< only if isAppExc()

  /// Whether a handle that came back still names a live request. The Java side is trusted.
  static bool isValidRequest(const ZelRequest* request);

 private:
  std::unique_ptr<ZelMsg> reply;
  const bool oneWay;
  std::unique_ptr<ZelAppException> appExc;
};
