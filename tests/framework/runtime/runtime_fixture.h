#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "agentfw/ira.h"
#include "runtime/runtime.h"
#include "support/test_table.h"

namespace fw {

using namespace std::chrono_literals;

/// What the main loop does with its server.
class ServiceLog {
 public:
  void add(const std::string& what) {
    const std::lock_guard lock(mutex_);
    text_ += text_.empty() ? what : " " + what;
  }
  std::string text() const {
    const std::lock_guard lock(mutex_);
    return text_;
  }

 private:
  mutable std::mutex mutex_;
  std::string text_;  // guarded by mutex_
};

class TestService final : public Service {
 public:
  TestService(ServiceLog& log, std::string failure) : log_(log), failure_(std::move(failure)) {}

  std::string start() override {
    log_.add("start");
    return failure_;
  }
  std::uint16_t port() const override { return 4711; }
  void refuse() override { log_.add("refuse"); }
  void drain(std::chrono::milliseconds /*bound*/) override { log_.add("drain"); }
  void stop() override { log_.add("stop"); }

 private:
  ServiceLog& log_;
  std::string failure_;
};

/// A runtime with a server and an agent that the test makes up; its main loop runs on a thread.
class RuntimeTest : public testing::Test {
 protected:
  explicit RuntimeTest(Clock& time = Clock::system()) : clock(time) {
    config.product = {"ZJX", "JVM monitoring", "7.1"};
    config.instance = "jmx";
    config.host = "alpha";
    config.engine.drainBound = 30s;
    config.engine.subnodeWait = 0s;
    s_loader = [] { return 0; };
  }

  void TearDown() override {
    door.open();
    if (runtime) {
      runtime->shutdown();
      if (loop.valid()) {
        loop.get();
      }
      runtime.reset();
    }
  }

  void make() {
    runtime.emplace(config, clock, host, [this](const ServiceContext& context) {
      surroundings.emplace(context);
      return std::make_unique<TestService>(service, serviceFailure);
    });
  }

  /// Runs the main loop, with a loader that registers the table.
  void start() {
    make();
    IRA_RegisterAgentLoader([] { return s_loader(); });
    loop = std::async(std::launch::async, [] { return kramain(0, nullptr); });
  }

  bool isIn(AgentStatus::State state) const { return runtime->status().state == state; }

  void startAndAwaitReady() {
    s_loader = [this] { return static_cast<int>(table.RegisterWithManager()); };
    start();
    ASSERT_TRUE(test::eventually([this] { return isIn(AgentStatus::State::Ready); }));
  }

  std::future<ReportResult> ask(std::string subnode = {}) {
    auto promise = std::make_shared<std::promise<ReportResult>>();
    ReportRequest request;
    request.table = "T";
    if (!subnode.empty()) {
      request.subnode = std::move(subnode);
    }
    runtime->report(std::move(request),
                    [promise](ReportResult result) { promise->set_value(std::move(result)); });
    return promise->get_future();
  }

  // The seam takes plain functions; one test runs at a time.
  static inline std::function<int()> s_loader;

  Clock& clock;
  AgentConfig config;
  HostLink host;
  ServiceLog service;
  std::string serviceFailure;
  std::optional<ServiceContext> surroundings;  ///< what the server gets, once it is made
  test::Door door;
  test::TestTable table{"T", test::packed({{"ORIGINNODE", ColumnType::Chars, 0, 32},
                                           {"N", ColumnType::Int32, 0, 4}})};
  std::optional<Runtime> runtime;
  std::future<int> loop;
};

}  // namespace fw
