#include "bridge/jni/zeljvm.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "agentfw/bss1.h"
#include "agentfw/own_file.h"
#include "agentfw/ras1.h"
#include "bridge/jni/zeljclnt.h"
#include "bridge/jni/zeljni.h"
#include "bridge/jni/zeljvmoptions.h"
#include "bridge/zelexc.h"
#include "zelending.h"
#include "zelproduct.h"
#include "zelthread.h"

RAS1_UNIT("ZELJVM");

std::atomic<void*> ZelJvm::s_dll{nullptr};
std::atomic<JavaVM*> ZelJvm::s_jvm{nullptr};
std::atomic<std::FILE*> ZelJvm::s_log{nullptr};
std::atomic<jclass> ZelJvm::s_errorClass{nullptr};

namespace {

using CreateJavaVm = jint (*)(JavaVM** vm, void** env, void* args);

constexpr unsigned int kHookOptions = 3;
constexpr std::size_t kLogPathSize = 2048;
constexpr std::chrono::seconds kLogCloseBound{1};

// The hook's calls in progress. Counted before s_log is read, and closeLog() takes the log away
// before it reads the count: whoever still got the log is counted.
std::atomic<unsigned> logWriters{0};

void closeLog() {
  std::FILE* log = ZelJvm::s_log.exchange(nullptr);
  if (log == nullptr) {
    return;
  }
  const auto deadline = std::chrono::steady_clock::now() + kLogCloseBound;
  while (logWriters.load() != 0) {
    if (std::chrono::steady_clock::now() > deadline) {
      return;  // a writer is stuck in the file: leave it open
    }
    std::this_thread::yield();
  }
  std::fclose(log);
}

CreateJavaVm loadJvm() {
  RAS1_FUNCTION();
  void* library = ZelJvm::load();
  ZelJvm::s_dll.store(library);
  void* symbol = dlsym(library, "JNI_CreateJavaVM");
  if (symbol == nullptr) {
    RAS1_PRINT("ERROR: JNI_CreateJavaVM() failed");
    ZEL_THROW();
  }
  return reinterpret_cast<CreateJavaVm>(symbol);
}

std::string optionsPath() {
  std::string path = "config/";
  for (const char* c = zelProductCode(); *c != '\0'; ++c) {
    path += static_cast<char>(std::tolower(static_cast<unsigned char>(*c)));
  }
  return path + "wb.properties";
}

std::vector<std::string> readOptionsFile() {
  RAS1_FUNCTION();
  const std::string path = optionsPath();
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "r"),
                                                             std::fclose);
  if (file == nullptr) {
    const int error = errno;
    RAS1_PRINT("ERROR: fopen(%s) failed (errno %i). %s", path.c_str(), error, std::strerror(error));
    ZEL_THROW();
  }
  return zelReadJvmOptions(file.get());
}

std::vector<std::string> gatherOptions() {
  std::vector<std::string> options = readOptionsFile();
  if (const char* address = BSS1_GetEnv("KDCB0_HOSTNAME", nullptr)) {
    options.push_back(std::string("-Dzel.listeneraddress=") + address);
  }
  const std::string vrmlName = std::string(zelProductCode()) + "_VRML";
  if (const char* vrml = BSS1_GetEnv(vrmlName.c_str(), nullptr)) {
    options.push_back(std::string("-Dzel.vrml=") + vrml);
  }
  return options;
}

JavaVMOption hookOption(const char* name, void* hook) {
  return JavaVMOption{const_cast<char*>(name), hook};
}

// The file, emptied, of the user that the process runs as; null when there is none to be had.
std::FILE* openOwnLog(const char* path) {
  const agentfw::OwnFile file = agentfw::openOwnFile(path, O_WRONLY | O_CREAT, agentfw::kLogMode);
  if (file.fd < 0) {
    return nullptr;
  }
  std::FILE* log = ftruncate(file.fd, 0) == 0 ? fdopen(file.fd, "w") : nullptr;
  if (log == nullptr) {
    close(file.fd);
  }
  return log;
}

// Opens a log of its own for every start, named by the time.
std::string openLog() {
  RAS1_FUNCTION();
  char path[kLogPathSize];
  std::snprintf(path, sizeof(path), "../../logs/%s.%s.%lu.JVM.log", zelProductCode(),
                zelInstanceId(), static_cast<unsigned long>(std::time(nullptr)));
  closeLog();  // left open by a start that failed
  std::FILE* log = openOwnLog(path);
  if (std::FILE* other = ZelJvm::s_log.exchange(log); other != nullptr) {
    std::fclose(other);  // of a start on another thread, which is bound to fail as well
  }
  if (log == nullptr) {
    RAS1_PRINT("WARN: failed to open %s", path);
  }
  return path;
}

void createJvm(CreateJavaVm create) {
  RAS1_FUNCTION();
  std::vector<std::string> texts = gatherOptions();
  ZelArray<JavaVMOption> options(static_cast<unsigned int>(texts.size()) + kHookOptions);
  JavaVMOption* const first = options;
  JavaVMOption* next = first;
  for (std::string& text : texts) {
    *next++ = JavaVMOption{text.data(), nullptr};
    RAS1_DETAIL("Added JVM option '%s'", text.c_str());
  }
  *next++ = hookOption("exit", reinterpret_cast<void*>(&ZelJvm::exitHook));
  *next++ = hookOption("abort", reinterpret_cast<void*>(&ZelJvm::abortHook));
  const std::string logPath = openLog();
  if (ZelJvm::s_log.load() != nullptr) {
    *next++ = hookOption("vfprintf", reinterpret_cast<void*>(&ZelJvm::vfprintfHook));
  }

  JavaVMInitArgs args;
  args.version = JNI_VERSION_1_4;
  args.nOptions = static_cast<jint>(next - first);
  args.options = first;
  args.ignoreUnrecognized = JNI_TRUE;
  JavaVM* jvm = nullptr;
  void* env = nullptr;
  const int rc = create(&jvm, &env, &args);
  if (rc != 0) {
    RAS1_PRINT("ERROR[%i]: JNI_CreateJavaVM() failed: %s", rc, ZelJvm::getErrorMsg(rc));
    ZEL_THROW();
  }
  ZelJvm::s_jvm.store(jvm);
  RAS1_PRINT("JVM log:  %s", logPath.c_str());
}

void prepareClasses(ZelJEnv& env) {
  ZelJString::init(env);
  ZelJInteger::init(env);
  ZelJLong::init(env);
  ZelJBoolean::init(env);
  ZelJIterator::init(env);
  ZelJMapEntry::init(env);
  ZelJHashMap::init(env);
  ZelJArrayList::init(env);
  ZelJByteArray::init(env);
  ZelJServer::init(env);
  ZelJvm::s_errorClass.store(env.getGlobalClassRef("java/lang/Error"));
}

// Traces what the throwable says of itself. A step that gives nothing ends the attempt.
void traceThrowable(JNIEnv& env, jthrowable thrown) {
  RAS1_FUNCTION();
  jclass type = env.GetObjectClass(thrown);
  if (type == nullptr) {
    return;
  }
  jmethodID toString = env.GetMethodID(type, "toString", "()Ljava/lang/String;");
  auto* text =
      toString == nullptr ? nullptr : static_cast<jstring>(env.CallObjectMethod(thrown, toString));
  const char* characters = text == nullptr ? nullptr : env.GetStringUTFChars(text, nullptr);
  if (characters != nullptr) {
    RAS1_PRINT("%s", characters);
    env.ReleaseStringUTFChars(text, characters);
  } else {
    env.ExceptionClear();  // of the step that gave nothing
  }
  if (text != nullptr) {
    env.DeleteLocalRef(text);
  }
  env.DeleteLocalRef(type);
}

}  // namespace

void* ZelJvm::load() {
  RAS1_FLOW();
  const char* path = BSS1_GetEnv("ZEL_LIBJVM", nullptr);
  if (path == nullptr) {
    RAS1_PRINT("ERROR: ZEL_LIBJVM is not set");
    ZEL_THROW();
  }
  RAS1_PRINT("Loading JVM %s", path);
  void* library = dlopen(path, RTLD_LAZY);
  if (library == nullptr) {
    const char* reason = dlerror();
    RAS1_PRINT("ERROR: failed to load JVM. %s", reason == nullptr ? "Unknown error" : reason);
    ZEL_THROW();
  }
  return ras1Flow.result(library);
}

void ZelJvm::start() {
  RAS1_FLOW();
  createJvm(loadJvm());
  ZelJEnv env(*attach());
  prepareClasses(env);
}

void ZelJvm::stop() {
  RAS1_FLOW();
  s_jvm.store(nullptr);
  closeLog();
}

JNIEnv* ZelJvm::attach() {
  RAS1_FLOW();
  void* env = nullptr;
  JavaVM* jvm = s_jvm.load();
  const int rc = jvm == nullptr ? JNI_EDETACHED : jvm->AttachCurrentThreadAsDaemon(&env, nullptr);
  if (rc < 0) {
    RAS1_PRINT("ERROR[%i]: AttachCurrentThreadAsDaemon() failed: %s", rc, getErrorMsg(rc));
    ZEL_THROW();
  }
  return ras1Flow.result(static_cast<JNIEnv*>(env));
}

void ZelJvm::detach() {
  RAS1_FLOW();
  JavaVM* jvm = s_jvm.load();
  const int rc = jvm == nullptr ? JNI_EDETACHED : jvm->DetachCurrentThread();
  if (rc < 0) {
    RAS1_PRINT("ERROR[%i]: DetachCurrentThread() failed: %s", rc, getErrorMsg(rc));
    ZEL_THROW();
  }
}

const char* ZelJvm::getErrorMsg(int rc) {
  switch (rc) {
    case JNI_EDETACHED:
      return "thread detached from the VM";
    case JNI_EVERSION:
      return "JNI version error";
    case JNI_ENOMEM:
      return "not enough memory";
    case JNI_EEXIST:
      return "VM already created";
    case JNI_EINVAL:
      return "invalid arguments";
    default:
      return "unknown error";
  }
}

bool ZelJvm::hasException(JNIEnv& env) {
  jthrowable thrown = env.ExceptionOccurred();
  if (thrown == nullptr) {
    return false;
  }
  RAS1_FLOW();
  RAS1_PRINT("ERROR: caught Java exception");
  env.ExceptionDescribe();
  traceThrowable(env, thrown);
  jclass errorClass = s_errorClass.load();
  if (errorClass != nullptr && env.IsInstanceOf(thrown, errorClass)) {
    zelEndAgent();
    RAS1_PRINT("FATAL: Agent terminated with the critical Java exception.");
    std::exit(-1);
  }
  env.DeleteLocalRef(thrown);
  env.ExceptionClear();
  return ras1Flow.result(true);
}

void ZelJvm::exitHook(jint status) {
  RAS1_FUNCTION();
  RAS1_PRINT("FATAL: JVM exited with code %i. Agent terminated.", static_cast<int>(status));
  std::exit(status);
}

void ZelJvm::abortHook() {
  RAS1_FUNCTION();
  RAS1_PRINT("FATAL: JVM aborted. Agent terminated.");
  std::exit(-1);
}

jint ZelJvm::vfprintfHook(std::FILE* /*stream*/, const char* format, std::va_list args) {
  logWriters.fetch_add(1);
  std::FILE* log = s_log.load();
  const int written = log == nullptr ? 0 : std::vfprintf(log, format, args);
  logWriters.fetch_sub(1);
  return written;
}
