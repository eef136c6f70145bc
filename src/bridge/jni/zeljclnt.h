#pragma once

#include <jni.h>

#include <atomic>

#include "bridge/jni/zeljni.h"
#include "bridge/zelclient.h"

/// The Java application's message server. Shared by all threads through a global reference.
class ZelJServer : public ZelJObject {
 public:
  /// Wraps the server and registers the native through which it answers. The local reference is
  /// replaced by a global one. Throws when the object is not a JniServer.
  ZelJServer(JNIEnv& threadEnv, jobject object);
  ~ZelJServer() override;

  /// Asks the Java application for its server; the caller owns it.
  static ZelJServer* create(ZelJEnv& env);
  static void init(ZelJEnv& env);

  /// Hands a message to the Java application, on the calling thread. A Java exception out of it
  /// shuts the agent down and ends the process.
  void processInbound(const ZelData& msg);

  static jclass s_class;
  static jmethodID s_mProcessInbound;
};

/// The bridge client whose other end is the Java application in this process.
///
/// The first one starts the JVM, registers the native methods and obtains the message server; a
/// failure of any of these throws.
class ZelJniClient final : public ZelClient {
 public:
  ZelJniClient();
  ~ZelJniClient() override;
  void putOutbound(const ZelMap& envelope) override;

  /// Converts a Java object tree to a new value tree, which the caller owns. Consumes the local
  /// reference, and each one that it takes on the way. Throws ZelException, and std::bad_cast for a
  /// map key that is not an Integer.
  static ZelData* javaToNative(JNIEnv& env, jobject object);

  static std::atomic<ZelJServer*> s_server;
};
