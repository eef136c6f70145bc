#include "live_jvm.h"

#include <malloc.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "bridge/jni/zeljvm.h"
#include "bridge/zelclient.h"
#include "bridge/zelexc.h"
#include "live_framework.h"
#include "zelagent.h"

namespace {

namespace files = std::filesystem;

// The options of the agent's default configuration that bear on time and memory.
constexpr char kOptions[] = R"(
-Xrs
-XX:-MaxFDLimit
-Xms16m
-Xmx64m
-Xss512k
-XX:+UseSerialGC
-XX:ReservedCodeCacheSize=24m
-XX:-UsePerfData
-XX:+DisableAttachMechanism
)";

std::string libjvm() {
  const char* chosen = std::getenv("ZEL_LIBJVM");
  return chosen == nullptr ? BENCH_LIBJVM : chosen;
}

std::string makeRoot() {
  std::string name = (files::temp_directory_path() / "zel-bench-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) {
    throw std::runtime_error("no temporary folder");
  }
  return name;
}

// A virtual machine that does not start ends the process; what it had to say is in its log. Leaves
// before the static objects end: other threads use them.
void endProcess(int status, void* root) {
  const std::string& home = *static_cast<std::string*>(root);
  if (status != 0) {
    live::showTrace();
    for (const auto& log : files::directory_iterator(home + "/logs")) {
      std::ifstream file(log.path());
      std::fputs(std::string(std::istreambuf_iterator<char>(file), {}).c_str(), stderr);
    }
  }
  std::error_code ignored;
  files::remove_all(home, ignored);
  std::fflush(nullptr);
  _exit(status);
}

}  // namespace

LiveJvm::LiveJvm(const std::string& classPath, const std::string& options) {
  const std::string root = makeRoot();
  mallopt(M_ARENA_MAX, 2);  // as in the agent's process
  files::create_directories(root + "/agents/zb/config");
  files::create_directories(root + "/logs");
  files::current_path(root + "/agents/zb");
  std::ofstream("config/zbwb.properties") << (classPath.empty() ? BENCH_JAR : classPath)
                                          << "\n-agentpath:" << BENCH_ZELJRE << kOptions << options;
  on_exit(endProcess, new std::string(root));
  ZelAgent::s_prodCode = "ZB";
  ZelAgent::s_instId = "bench";
  live::setVariable("ZEL_LIBJVM", libjvm());
  try {
    ZelClient::getInstance();
  } catch (const ZelException&) {
    throw std::runtime_error("the virtual machine does not start");
  }
  live::awaitStart();
  guard_.open(libjvm());
}

JNIEnv& LiveJvm::env() const { return *ZelJvm::attach(); }

std::string LiveJvm::version() const {
  JNIEnv& jni = env();
  jclass system = jni.FindClass("java/lang/System");
  jmethodID property =
      jni.GetStaticMethodID(system, "getProperty", "(Ljava/lang/String;)Ljava/lang/String;");
  std::string result;
  for (const char* name : {"java.vm.name", "java.vm.version"}) {
    auto text =
        static_cast<jstring>(jni.CallStaticObjectMethod(system, property, jni.NewStringUTF(name)));
    const char* characters = jni.GetStringUTFChars(text, nullptr);
    result += result.empty() ? "" : " ";
    result += characters;
    jni.ReleaseStringUTFChars(text, characters);
  }
  return result;
}

int guarded(const std::function<int()>& measurement) {
  try {
    return measurement();
  } catch (const std::exception& e) {
    std::fprintf(stderr, "%s\n", e.what());
  } catch (const ZelException& e) {
    std::fprintf(stderr, "failure in %s at line %u\n", e.file.c_str(), e.line);
  }
  return 1;
}
