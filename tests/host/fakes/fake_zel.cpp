#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "agentfw/bss1.h"
#include "agentfw/ira.h"
#include "agentfw/ras1.h"

/// @file
/// A libzel.so for tests of the process. FAKE_AGENT in the environment chooses what it does; what
/// happens goes to standard output.

RAS1_UNIT("FAKEZEL");

namespace {

std::atomic<bool> s_shutDown{false};
std::atomic<bool> s_mainLoopEnded{false};
std::atomic<bool> s_hungUp{false};

void say(const std::string& text) {
  const std::string line = text + "\n";
  [[maybe_unused]] const ssize_t written = write(STDOUT_FILENO, line.data(), line.size());
}

/// A static object with a destructor: while threads still run, it must not be destroyed.
struct Witness {
  ~Witness() { say("static destructors ran"); }
} s_witness;

void shutDown() {
  s_shutDown = true;
  IRA_Shutdown(1);
}

/// Waits until the test opens the other end of the named pipe.
void waitForGate() { close(open(std::getenv("FAKE_GATE"), O_RDONLY)); }

[[noreturn]] void hang() {
  for (;;) {
    pause();
  }
}

void stop() {
  say("stop");
  if (std::strcmp(std::getenv("FAKE_AGENT"), "hangs in stop") == 0) {
    hang();
  }
  if (std::strcmp(std::getenv("FAKE_AGENT"), "exits in stop") == 0) {
    std::exit(0);
  }
  shutDown();
}

void onSignal(int sig) {
  say("caught " + std::to_string(sig) + (gettid() == getpid() ? " on the main thread" : ""));
  if (sig == SIGTERM) {
    stop();
  } else if (sig == SIGHUP) {
    s_hungUp = true;
    s_hungUp.notify_all();
  }
}

int load() {
  if (std::strcmp(std::getenv("FAKE_AGENT"), "asks for no signal") != 0) {
    signal(SIGHUP, onSignal);
    signal(SIGTERM, onSignal);
  }
  say("loaded");
  return 0;
}

int runMainLoop() {
  IRA_RegisterAgentLoader(load);
  char name[] = "vu_agent";
  char* argv[] = {name, nullptr};
  kramain(1, argv);
  say("main loop ended");
  s_mainLoopEnded = true;
  s_mainLoopEnded.notify_all();
  return 0;
}

/// Runs `work` beside the main loop, as a thread of the Java application would.
int runBeside(const std::function<void()>& work) {
  std::thread(work).detach();
  return runMainLoop();
}

const std::map<std::string, std::function<int()>> kAgents{
    {"runs", runMainLoop},
    {"asks for no signal", runMainLoop},
    {"hangs in stop", runMainLoop},
    {"fails",
     [] {
       RAS1_FUNCTION();
       RAS1_PRINT("ERROR: the init request has failed");
       return -1;
     }},
    {"starts slowly",
     [] {
       say("initialising");
       waitForGate();
       return runMainLoop();
     }},
    {"ends in the start",
     []() -> int {
       // As a virtual machine does that is given a bad option: it tells its log, and exits.
       std::FILE* log = std::fopen("../../logs/ZJX.jmx.4000000000.JVM.log", "w");
       std::fputs("Error occurred during initialization of VM\nbad option\n", log);
       std::exit(7);
     }},
    {"dies of a Java error",
     [] {
       return runBeside([] {
         waitForGate();
         shutDown();
         s_mainLoopEnded.wait(false);  // the main thread may want to end the process as well
         std::exit(-1);
       });
     }},
    {"stops itself",
     [] {
       return runBeside([] {
         RAS1_FUNCTION();
         waitForGate();
         RAS1_PRINT("FATAL: a thread could not be started");
         shutDown();
       });
     }},
    {"exits with status 0",
     [] {
       return runBeside([] {
         waitForGate();
         std::exit(0);
       });
     }},
    {"exits in stop", runMainLoop},
    {"traces where its streams lead",
     [] {
       RAS1_FUNCTION();
       for (const char* stream : {"/proc/self/fd/0", "/proc/self/fd/1", "/proc/self/fd/2"}) {
         char target[64] = {};
         [[maybe_unused]] const ssize_t size = readlink(stream, target, sizeof target - 1);
         RAS1_PRINT("%s leads to %s", stream, target);
       }
       return runMainLoop();
     }},
    {"traces a lot",
     [] {
       RAS1_FUNCTION();
       for (int i = 0; i < 100; ++i) {
         RAS1_PRINT("one line of very many that do not fit into the file");
       }
       return runMainLoop();
     }},
    {"lingers after its stop until a hang-up",
     [] {
       const int result = runBeside([] {
         waitForGate();
         shutDown();
       });
       s_hungUp.wait(false);
       return result;
     }},
    {"exits on many threads",
     [] {
       return runBeside([] {
         waitForGate();
         for (int i = 0; i < 8; ++i) {
           std::thread([] { std::exit(42); }).detach();
         }
       });
     }},
    {"spawns",
     [] {
       rlimit limit{};
       getrlimit(RLIMIT_NOFILE, &limit);
       say("descriptors " + std::to_string(limit.rlim_cur));
       const pid_t child = fork();
       if (child == 0) {
         execl("/bin/cat", "cat", "/proc/self/status", nullptr);
         _exit(1);
       }
       waitpid(child, nullptr, 0);
       return runMainLoop();
     }},
};

}  // namespace

extern "C" {

__attribute__((visibility("default"))) int zelAgentStart() {
  if (chdir(BSS1_GetEnv("ZEL_PROD_HOME", "")) != 0) {
    return -1;
  }
  return kAgents.at(std::getenv("FAKE_AGENT"))();
}

__attribute__((visibility("default"))) void zelAgentStop() {
  say("asked to stop");
  stop();
}

__attribute__((visibility("default"))) int zelWaitForAgentShutdown(unsigned long) {
  return s_shutDown ? 1 : 0;
}
}
