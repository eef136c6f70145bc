#include "support/jvm_fixture.h"

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

#include "bridge/jni/zeljclnt.h"
#include "bridge/jni/zeljnatives.h"
#include "bridge/jni/zeljvm.h"
#include "bridge/zelexc.h"
#include "zelagent.h"

namespace {

namespace files = std::filesystem;

void forgetClasses() {
  ZelJString::s_class = nullptr;
  ZelJByteArray::s_class = nullptr;
  ZelJInteger::s_class = nullptr;
  ZelJLong::s_class = nullptr;
  ZelJBoolean::s_class = nullptr;
  ZelJIterator::s_class = nullptr;
  ZelJArrayList::s_class = nullptr;
  ZelJMapEntry::s_class = nullptr;
  ZelJHashMap::s_class = nullptr;
  ZelJServer::s_class = nullptr;
  ZelJvm::s_errorClass.store(nullptr);
}

bool eventually(const std::function<bool()>& step) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (!step()) {
    if (std::chrono::steady_clock::now() > deadline) {
      return false;
    }
    std::this_thread::yield();
  }
  return true;
}

// Ends the client and waits for the message handlers that have said they started.
bool endClient() {
  const fake::Framework& framework = fake::Framework::get();
  ZelClient::destroy();
  return eventually([&] {
    ZelClient::s_mhRunning.store(false);
    ZelClient::s_tqEvent.signal(true);
    return framework.countMessages("Message handler stopped") ==
           framework.countMessages("Message handler started");
  });
}

}  // namespace

void JvmTest::SetUp() {
  framework.reset();
  jvm.reset();
  forgetClasses();
  zelJavaTraceMask.store(0);
  ZelAgent::s_isShutdown.store(false);
  ZelAgent::s_prodCode = "XY";
  ZelAgent::s_instId = "inst";
  framework.env["ZEL_LIBJVM"] = FAKE_JVM_LIBRARY;

  std::string name = (files::temp_directory_path() / "zel-jvm-XXXXXX").string();
  ASSERT_NE(mkdtemp(name.data()), nullptr);
  root = name;
  files::create_directories(root + "/agents/xy/config");
  files::create_directories(root + "/logs");
  files::current_path(root + "/agents/xy");
  writeOptions("app.jar\n");
}

void JvmTest::TearDown() {
  EXPECT_TRUE(endClient()) << "a message handler did not end";
  ZelJvm::stop();
  EXPECT_THAT(jvm.faults(), testing::IsEmpty());
  EXPECT_EQ(jvm.heldBuffers(), 0U);
  files::current_path("/");
  files::remove_all(root);
}

void JvmTest::writeOptions(const std::string& text) {
  std::ofstream(root + "/agents/xy/config/xywb.properties") << text;
}

std::vector<std::string> JvmTest::logFiles() const {
  std::vector<std::string> names;
  for (const auto& entry : files::directory_iterator(root + "/logs")) {
    names.push_back(entry.path().filename().string());
  }
  return names;
}

std::string JvmTest::logText() const {
  const std::vector<std::string> names = logFiles();
  if (names.size() != 1) {
    return {};
  }
  std::ifstream file(root + "/logs/" + names.front());
  return {std::istreambuf_iterator<char>(file), {}};
}

ZelClient* JvmTest::makeClient() {
  ZelClient* client = ZelClient::getInstance();
  EXPECT_TRUE(framework.waitForMessage("Message handler started"));
  return client;
}

void JvmTest::showTraceAtExit() {
  // Leaves before the static objects end, as the library's host does: other threads use them.
  on_exit(
      [](int status, void*) {
        for (const std::string& message : fake::Framework::get().messages()) {
          std::fprintf(stderr, "%s\n", message.c_str());
        }
        for (const std::string& call : fake::Framework::get().callsOf("IRA_")) {
          std::fprintf(stderr, "%s\n", call.c_str());
        }
        std::fflush(stderr);
        _exit(status);
      },
      nullptr);
}

std::vector<std::string> JvmTest::messagesOf(const std::function<void()>& action) {
  const std::size_t before = framework.messages().size();
  action();
  std::vector<std::string> messages = framework.messages();
  messages.erase(messages.begin(), messages.begin() + static_cast<std::ptrdiff_t>(before));
  return messages;
}

std::vector<std::string> JvmTest::callsOf(const std::function<void()>& action) {
  const std::size_t before = jvm.calls().size();
  action();
  std::vector<std::string> calls = jvm.calls();
  calls.erase(calls.begin(), calls.begin() + static_cast<std::ptrdiff_t>(before));
  return calls;
}

bool throwsZelException(const std::string& file, const std::function<void()>& action) {
  try {
    action();
  } catch (const ZelException& e) {
    EXPECT_EQ(e.file, file);
    EXPECT_GT(e.line, 0U);
    EXPECT_EQ(e.code, 1);
    return true;
  }
  return false;
}
