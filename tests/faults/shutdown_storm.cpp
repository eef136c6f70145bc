// One storm of shutdowns: an agent under load is stopped from several sides at once, at moments
// that follow from a seed. Prints what it did. The status is 0, or 255 when a Java Error was
// quicker.
//   shutdown_storm SEED

#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <memory>
#include <mutex>
#include <random>
#include <thread>
#include <vector>

#include "agentfw/vuira.h"
#include "bridge/zelexc.h"
#include "bridge/zelkeys.h"
#include "faults/callback_gate.h"
#include "faults/storm_java.h"
#include "jvm/command.h"
#include "support/fake_framework.h"
#include "zelagent.h"
#include "zelguard.h"
#include "zelhttp.h"
#include "zeltablemanager.h"

RAS1_UNIT("STORM");

namespace {

namespace files = std::filesystem;
using std::chrono::microseconds;

CallbackGate& gate = *new CallbackGate;  // threads use it until the process ends
std::atomic<bool> isOver{false};

// As the host leaves: the first caller's status counts, others wait for the end.
void leave(int status, void* root) {
  static std::mutex& leaving = *new std::mutex;
  leaving.lock();
  std::error_code ignored;
  files::current_path("/", ignored);
  files::remove_all(*static_cast<std::string*>(root), ignored);
  std::fflush(nullptr);
  _exit(status);
}

void runCommand(Command& command) {
  RAS1_FUNCTION();
  zelGuarded(ras1Entry, [&] { ZelClient::run(command, false); });
}

void takeSample(const char* table) {
  const auto found = ZelAgent::s_managers.find(table);
  RequestDetail detail;
  ContextInfo context;
  const std::unique_ptr<vuira> request(found->second->CreateCtira(&detail, &context));
  request->TakeSample();
}

void act() {
  RequestDetail detail;
  ContextInfo context;
  const std::unique_ptr<vuira> owner(
      ZelAgent::s_managers.at("SAMPLES")->CreateCtira(&detail, &context));
  std::strcpy(owner->nodeText, "sub:host:ST");
  VuiraAutomationCapsule capsule;
  capsule.owner = owner.get();
  capsule.command = "command";
  ZelAgent::handleTakeAction(&capsule);
}

void browse() {
  KDH1_request_struct request{};
  request.path = "/";
  request.pathLength = 1;
  zelDefaultHttpService(&request, nullptr);
}

void emitEvents() {
  auto body = std::make_unique<ZelMap>();
  zelPut<std::string>(*body, ZelKey::Events::kTable, "EVENTS");
  auto rows = std::make_unique<ZelList>();
  zelAppend(*rows, std::make_unique<ZelByteArray>(std::string(12, 'e')));
  zelPut(*body, ZelKey::Events::kRows, std::unique_ptr<ZelData>(std::move(rows)));
  Command command("notify", value<int>(ZelNotificationCode::kEvents), std::move(body));
  runCommand(command);
}

void requestShutdown() {
  Command command("notify", value<int>(ZelNotificationCode::kShutdown), std::make_unique<ZelMap>());
  runCommand(command);
}

void raiseCritical() {
  Command command("exception", value<int>(ZelAppException::kCritical));
  runCommand(command);
}

void raiseError() {
  Command command("error");
  runCommand(command);
}

struct Shutdown {
  const char* name;
  void (*act)();
  bool isCallback;  ///< begun by a callback of the framework
};

constexpr Shutdown kShutdowns[] = {
    {"application", requestShutdown, true},
    {"signal", ZelAgent::stop, false},
    {"stop", ZelAgent::stop, false},
    {"critical", raiseCritical, true},
    {"error", raiseError, true},
};

// Waits as the host does with signals: until the main loop runs, or the agent is over.
void waitForStart() {
  while (!ZelAgent::s_started.load() && !isOver.load()) {
    std::this_thread::sleep_for(microseconds(50));
  }
}

void keepBusy(void (*callback)()) {
  waitForStart();
  while (gate.pass(callback) && !isOver.load()) {
    std::this_thread::yield();
  }
}

std::string makeHome(std::string& root) {
  root = (files::temp_directory_path() / "zel-storm-XXXXXX").string();
  if (mkdtemp(root.data()) == nullptr) {
    std::perror("mkdtemp");
    std::exit(2);
  }
  const std::string home = root + "/agents/tst";
  files::create_directories(home + "/config");
  files::create_directories(root + "/logs");
  return home;
}

void runMainLoop() {
  fake::Framework::get().loader();
  while (!ZelAgent::isShutdown(1000)) {
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: shutdown_storm SEED\n");
    return 2;
  }
  std::mt19937 random(static_cast<unsigned>(std::atol(argv[1])));
  auto* root = new std::string;
  const std::string home = makeHome(*root);
  on_exit(leave, root);
  fake::Framework& framework = fake::Framework::get();
  framework.reset();
  framework.env = {{"ZEL_PROD", "TST"}, {"ZEL_INST", "inst"}, {"ZEL_PROD_HOME", home}};
  framework.onCall["kramain"] = runMainLoop;
  framework.onCall["IRA_Shutdown"] = [] { gate.close(); };
  storm::setUpJava(home);

  std::vector<std::thread> threads;
  for (auto* callback :
       {+[] { takeSample("SAMPLES"); }, +[] { takeSample("EVENTS"); }, act, browse, emitEvents}) {
    threads.emplace_back(keepBusy, callback);
  }
  const int count = 2 + static_cast<int>(random() % 4);
  for (int i = 0; i < count; ++i) {
    // The last one is orderly, so that each storm ends.
    const Shutdown& shutdown = kShutdowns[i == 0 ? 1 : random() % 5];
    const microseconds delay(random() % 30000);
    std::printf("%s after %lld us\n", shutdown.name, static_cast<long long>(delay.count()));
    threads.emplace_back([&shutdown, delay] {
      waitForStart();
      std::this_thread::sleep_for(delay);
      if (shutdown.isCallback) {
        gate.pass(shutdown.act);
      } else {
        shutdown.act();
      }
    });
  }
  std::fflush(stdout);

  int result = -99;
  std::thread agent([&] {
    result = ZelAgent::start();
    isOver.store(true);
  });
  agent.join();
  for (std::thread& thread : threads) {
    thread.join();
  }
  const bool isStopped =
      framework.hasMessage("Agent stopped") && ZelClient::s_inst.load() == nullptr;
  if (result != 0 || !isStopped) {
    std::fprintf(stderr, "start() gave %i, the agent is %s\n", result,
                 isStopped ? "stopped" : "not stopped");
    return 3;
  }
  return 0;
}
