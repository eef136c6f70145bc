// Thousands of malformed messages through the bridge, with the fake JVM. A campaign sets
// ZEL_ATTACK_MESSAGES and ZEL_ATTACK_SEED.

#include "faults/malformed_messages.h"

#include <chrono>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <thread>

#include "agentfw/kdh1.h"
#include "agentfw/vuira.h"
#include "bridge/jni/zeljni.h"
#include "support/campaign.h"
#include "support/fake_application.h"
#include "support/leak_check.h"
#include "zelagent.h"
#include "zelguard.h"
#include "zelhttp.h"
#include "zelreqinit.h"
#include "zeltablemanager.h"

using testing::ElementsAre;
using testing::IsEmpty;

RAS1_UNIT("MALFORMED");

namespace {

constexpr int kBatch = 100;  // messages between two looks at the state
const char* const kSubnode = "sub:host:ST";

/// Table managers of an init reply, with what they cached.
class Managers {
 public:
  Managers() = default;
  Managers(const Managers&) = delete;
  Managers& operator=(const Managers&) = delete;
  ~Managers() {
    for (const auto& [name, manager] : byName) {
      manager->deleteCachedSamples(kSubnode);
      delete manager;
    }
  }

  std::map<std::string, ZelTableManager*> byName;
};

class MalformedMessagesTest : public JvmTest {
 protected:
  void SetUp() override {
    JvmTest::SetUp();
    makeClient();
    ZelAgent::getInstance()->subscribeNotificationHandlers();
    answerWell();
    ZelReqInit request("host", own_.byName);
    ZelClient::run(request, false);
    ZelAgent::s_managers = own_.byName;
    ASSERT_EQ(ZelAgent::s_managers.size(), 2U);
  }

  void TearDown() override {
    ZelAgent::s_managers.clear();
    JvmTest::TearDown();
  }

  void answerWell() { jvm.onProcessInbound = fakeapp::answerWell; }

  void answerMalformed() {
    jvm.onProcessInbound = [this](JNIEnv* env, const fakejvm::ObjectPtr& envelope) {
      if (!fakeapp::isRequest(envelope)) {
        return;
      }
      for (int i = messages_.below(3); i >= 0; --i) {
        put(env, messages_.answerTo(envelope, fakeapp::codeOf(envelope)));
      }
    };
  }

  void put(JNIEnv* env, const fakejvm::ObjectPtr& message) {
    const std::size_t before = jvm.localReferences();
    putOutbound(env, message);
    ++sent_;
    ASSERT_EQ(jvm.pending(), nullptr);
    // Java frees the references of its call, and the argument is one of them.
    ASSERT_LE(jvm.localReferences(), before + 1);
  }

  /// Rows of a sample, asked for as the framework does.
  std::vector<std::string> sample() {
    RequestDetail detail;
    detail.subnodes = {kSubnode};
    ContextInfo context;
    const std::unique_ptr<vuira> request(
        ZelAgent::s_managers["SAMPLES"]->CreateCtira(&detail, &context));
    request->TakeSample();
    return fake::recordOf(*request).rows;
  }

  int act() {
    RequestDetail detail;
    ContextInfo context;
    const std::unique_ptr<vuira> owner(
        ZelAgent::s_managers["SAMPLES"]->CreateCtira(&detail, &context));
    std::strcpy(owner->nodeText, kSubnode);
    VuiraAutomationCapsule capsule;
    capsule.owner = owner.get();
    capsule.command = "command";
    return ZelAgent::handleTakeAction(&capsule);
  }

  static void browse() {
    KDH1_request_struct request{};
    request.path = "/page";
    request.pathLength = 5;
    zelDefaultHttpService(&request, nullptr);
  }

  static void initialise() {
    Managers made;
    RAS1_FUNCTION();
    zelGuarded(ras1Entry, [&] {
      ZelReqInit request("host", made.byName);
      ZelClient::run(request, false);
    });
  }

  void attackOnce() {
    const std::function<void()> requests[] = {[this] { sample(); }, [this] { act(); }, browse,
                                              initialise};
    if (messages_.below(2) == 0) {
      requests[messages_.below(4)]();
    } else {
      put(jvm.env(), messages_.unasked());
    }
  }

  /// Whether the message handler has done all that was queued.
  bool drain() {
    framework.forgetRecordsExcept("Message handler ");
    putOutbound(jvm.env(), fakeapp::body({{0, fakejvm::integer(ZelMsg::Notification)},
                                          {1, fakejvm::integer(99)},
                                          {3, fakejvm::map({})}}));
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!framework.hasMessage("WARN: cannot find a subscriber for notification 99")) {
      if (std::chrono::steady_clock::now() > deadline) {
        return false;
      }
      ZelClient::s_tqEvent.signal(true);  // the handler may have missed its wake-up
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
  }

  long sent_ = 0;
  MalformedMessages messages_{
      static_cast<std::uint64_t>(campaignNumber("ZEL_ATTACK_SEED", 20260101))};

 private:
  Managers own_;
};

TEST_F(MalformedMessagesTest, NoneLeavesATraceInMemoryOrStopsTheBridge) {
  const long count = campaignNumber("ZEL_ATTACK_MESSAGES", 5000);
  answerMalformed();
  jvm.isRecording = false;

  while (sent_ < count && !HasFatalFailure()) {
    for (int i = 0; i < kBatch; ++i) {
      attackOnce();
    }
    ASSERT_TRUE(drain());
    ASSERT_THAT(jvm.faults(), IsEmpty());
    ASSERT_EQ(jvm.heldBuffers(), 0U);
    jvm.endLocalFrame();
    framework.forgetRecordsExcept("Message handler ");
  }

  EXPECT_FALSE(ZelAgent::isShutdown(0));
  EXPECT_FALSE(hasLeaks());
  answerWell();
  ZelAgent::s_managers["SAMPLES"]->deleteCachedSamples(kSubnode);
  EXPECT_THAT(sample(), ElementsAre(std::string(12, 'a'), std::string(12, 'b')));
  EXPECT_EQ(act(), 0);
}

}  // namespace
