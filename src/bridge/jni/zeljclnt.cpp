#include "bridge/jni/zeljclnt.h"

#include <cstdlib>
#include <iterator>

#include "agentfw/ras1.h"
#include "bridge/jni/zeljnatives.h"
#include "bridge/jni/zeljnivisitor.h"
#include "bridge/jni/zeljvm.h"
#include "bridge/zelexc.h"
#include "zelending.h"
#include "zelguard.h"

RAS1_UNIT("ZELJCLNT");

jclass ZelJServer::s_class = nullptr;
jmethodID ZelJServer::s_mProcessInbound = nullptr;
std::atomic<ZelJServer*> ZelJniClient::s_server{nullptr};

namespace {

constexpr char kApplicationClass[] = "com/qrv/norvel/monitoring/toolkit/workbench/pova/WbApp";
constexpr char kServerClass[] = "com/qrv/norvel/monitoring/toolkit/workbench/ipc/msg/jni/JniServer";
constexpr char kServerGetterSignature[] =
    "()Lcom/qrv/norvel/monitoring/toolkit/workbench/ipc/msg/Server;";
constexpr char kTraceClass[] =
    "com/qrv/norvel/monitoring/toolkit/workbench/logging/handlers/RAS1Wrapper";
constexpr char kDaemonClass[] =
    "com/qrv/norvel/monitoring/toolkit/workbench/osutils/DaemonWBProcess";

template <typename Function>
JNINativeMethod native(const char* name, const char* signature, Function* function) {
  return JNINativeMethod{const_cast<char*>(name), const_cast<char*>(signature),
                         reinterpret_cast<void*>(function)};
}

void registerTraceNatives(ZelJEnv& env) {
  jclass type = env.findClass(kTraceClass);
  JNINativeMethod methods[] = {
      native("rasTrace",
             "(ILjava/lang/String;Ljava/lang/String;Ljava/lang/String;Ljava/lang/String;)V",
             zelRasTrace),
  };
  env.registerNatives(type, methods, std::size(methods));
  env.deleteLocalRef(type);
}

void registerDaemonNatives(ZelJEnv& env) {
  jclass type = env.findClass(kDaemonClass);
  JNINativeMethod methods[] = {
      native("runDaemon",
             "(Ljava/lang/String;Ljava/util/HashMap;Ljava/lang/String;Ljava/lang/String;"
             "Ljava/lang/String;)V",
             zelRunDaemon),
      native("isRunning", "(J)Z", zelIsRunningPid),
  };
  env.registerNatives(type, methods, std::size(methods));
  env.deleteLocalRef(type);
}

}  // namespace

ZelClient* zelCreateClient() {
  // A server without a client belongs to one that is being destroyed, in use by other threads.
  if (ZelJniClient::s_server.load() != nullptr) {
    ZEL_THROW();
  }
  return new ZelJniClient;
}

ZelJniClient::ZelJniClient() {
  RAS1_FUNCTION();
  zelJavaTraceMask.store(RAS1_Sync(&ras1Entry));
  const RAS1_FlowGuard flow(ras1Entry);
  if (s_server.load() != nullptr) {
    return;
  }
  ZelJvm::start();
  ZelJEnv env(*ZelJvm::attach());
  registerTraceNatives(env);
  registerDaemonNatives(env);
  s_server.store(ZelJServer::create(env));
}

ZelJniClient::~ZelJniClient() {
  RAS1_FLOW();
  // Set to null last: until then zelCreateClient() makes no other client.
  delete s_server.load();
  s_server.store(nullptr);
  ZelJvm::stop();
}

void ZelJniClient::putOutbound(const ZelMap& envelope) {
  s_server.load()->processInbound(envelope);
}

ZelJServer::ZelJServer(JNIEnv& threadEnv, jobject object) : ZelJObject(threadEnv, s_class, object) {
  RAS1_FLOW();
  m_handle = newGlobalRef(object);
  deleteLocalRef(object);
  ownsLocal = false;
  JNINativeMethod methods[] = {
      native("doPutOutbound", "(Ljava/lang/Object;)V", zelPutOutboundCallback),
  };
  try {
    registerNatives(s_class, methods, std::size(methods));
  } catch (...) {
    env->DeleteGlobalRef(m_handle);  // the destructor of a server that was never made does not run
    m_handle = nullptr;
    throw;
  }
}

ZelJServer::~ZelJServer() {
  RAS1_FLOW();
  zelGuarded(ras1Entry, [this] { ZelJvm::attach()->DeleteGlobalRef(m_handle); });
  m_handle = nullptr;
}

ZelJServer* ZelJServer::create(ZelJEnv& env) {
  RAS1_FLOW();
  jclass type = env.findClass(kApplicationClass);
  jmethodID getServer = env.getStaticMethodID(type, "init", kServerGetterSignature);
  jobject server = env.callStaticObjectMethod(type, getServer);
  env.deleteLocalRef(type);
  if (server == nullptr) {
    ZEL_THROW();
  }
  return ras1Flow.result(new ZelJServer(env.getEnv(), server));
}

void ZelJServer::init(ZelJEnv& env) {
  RAS1_FLOW();
  s_class = env.getGlobalClassRef(kServerClass);
  s_mProcessInbound = env.getMethodID(s_class, "processInbound", "(Ljava/lang/Object;)V");
}

void ZelJServer::processInbound(const ZelData& msg) {
  RAS1_FLOW();
  JNIEnv& threadEnv = *ZelJvm::attach();
  ZelJniDataVisitor visitor(threadEnv);
  msg.accept(visitor);
  threadEnv.CallVoidMethod(m_handle, s_mProcessInbound, visitor.getResult());
  if (ZelJvm::hasException(threadEnv)) {
    zelEndAgent();  // destroys this server
    RAS1_PRINT("FATAL: unexpected Java exception. Agent terminated.");
    std::exit(-1);
  }
}
