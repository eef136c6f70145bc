#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <string>
#include <thread>

#include "bridge/zelbuild.h"
#include "support/library_fixture.h"

inline constexpr int kRequestId = 50;

/// Sends {0: 7}; keeps the reply as text.
class TestRequest : public ZelRequest {
 public:
  explicit TestRequest(bool isOneWay) : ZelRequest(isOneWay) {}
  ZelMsg* createRegMsg() override {
    auto body = std::make_unique<ZelMap>();
    zelPut<int>(*body, 0, 7);
    return new ZelMsg(kRequestId, isOneWay() ? ZelMsg::Notification : ZelMsg::Request,
                      body.release());
  }
  void onReply(const ZelMap& body) override { answer = fake::describe(&body); }

  std::string answer;
};

/// Wants notification 60; keeps what it got.
class Subscriber : public ZelNotificationSubscriber {
 public:
  bool onNotify(const ZelMsg& msg) override {
    received = fake::describe(msg.body.get());
    thread = std::this_thread::get_id();
    if (action) {
      action();
    }
    count.fetch_add(1);
    return true;
  }
  int getType() const override { return 60; }

  /// Waits, at most 20 s, until that many notifications have been handled.
  bool waitForCount(int expected) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (count.load() < expected && std::chrono::steady_clock::now() < deadline) {
      ZelClient::s_tqEvent.signal(true);
      std::this_thread::yield();
    }
    return count.load() >= expected;
  }

  std::function<void()> action;
  std::string received;
  std::thread::id thread;
  std::atomic<int> count{0};
};
