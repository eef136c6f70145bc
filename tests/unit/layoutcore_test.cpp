// Subclasses and hosts that are compiled elsewhere rely on slot orders and member orders: those of
// the messages, the bridge client, the agent and its requests. Slots of destructors come in pairs.

#include <gtest/gtest.h>

#include <cstddef>
#include <type_traits>

#include "bridge/zelbuild.h"
#include "bridge/zeltask.h"
#include "support/client_fixture.h"
#include "support/layout.h"
#include "support/original_agent.h"
#include "support/pthread_calls.h"
#include "zelhttp.h"
#include "zelreqinit.h"
#include "zelreqshutdown.h"
#include "zelreqstart.h"
#include "zelreqtakeaction.h"
#include "zelreqwebservice.h"
#include "zelsignal.h"

namespace {

using layout::memberAt;
using layout::offsetIn;
using layout::slot;
using layout::slotOf;
using layout::valueAt;

constexpr std::size_t kPointer = sizeof(void*);
constexpr std::size_t kText = sizeof(std::string);

/// Counts its deletion.
class Doomed : public ZelData {
 public:
  explicit Doomed(int& deletions) : count(deletions) {}
  ~Doomed() override { ++count; }
  void accept(ZelDataVisitor& /*visitor*/) const override {}

 private:
  int& count;
};

class LayoutCoreTest : public LibraryTest {};

TEST_F(LayoutCoreTest, KeepsTheSlotsOfValues) {
  EXPECT_EQ(slotOf(&ZelData::accept), 2);
  EXPECT_EQ(slotOf(&ZelPrimitive::accept), 2);
  EXPECT_EQ(slotOf(&ZelCollection::accept), 2);
  EXPECT_EQ(slotOf(&TZelPrimitive<int>::accept), 2);
  EXPECT_EQ(slotOf(&TZelPrimitive<long long>::accept), 2);
  EXPECT_EQ(slotOf(&TZelPrimitive<bool>::accept), 2);
  EXPECT_EQ(slotOf(&TZelPrimitive<std::string>::accept), 2);
  EXPECT_EQ(slotOf(&ZelByteArray::accept), 2);
  EXPECT_EQ(slotOf(&ZelList::accept), 2);
  EXPECT_EQ(slotOf(&ZelMap::accept), 2);
  EXPECT_EQ(slotOf(&ZelData::toInt), -1);
  EXPECT_EQ(slotOf(&ZelMap::get), -1);
}

TEST_F(LayoutCoreTest, DeletesAValueThroughItsSecondSlot) {
  int deletions = 0;
  auto* list = new ZelList;
  zelAppend(*list, std::make_unique<Doomed>(deletions));

  slot<void(void*)>(list, 1)(list);

  EXPECT_EQ(deletions, 1);
}

TEST_F(LayoutCoreTest, KeepsTheMembersOfValues) {
  const TZelPrimitive<int> integer(5);
  const TZelPrimitive<long long> longInteger(6);
  const TZelPrimitive<bool> boolean(true);
  const TZelPrimitive<std::string> text("text");
  const ZelByteArray bytes("bytes");
  const ZelList list;
  const ZelMap map;

  EXPECT_EQ(valueAt<int>(&integer, kPointer), 5);
  EXPECT_EQ(valueAt<long long>(&longInteger, kPointer), 6);
  EXPECT_TRUE(valueAt<bool>(&boolean, kPointer));
  EXPECT_EQ(offsetIn(text, text.getValue()), static_cast<std::ptrdiff_t>(kPointer));
  EXPECT_EQ(offsetIn(bytes, bytes.getValue()), static_cast<std::ptrdiff_t>(kPointer));
  EXPECT_EQ(offsetIn(list, list.items), static_cast<std::ptrdiff_t>(kPointer));
  EXPECT_EQ(offsetIn(map, map.entries), static_cast<std::ptrdiff_t>(kPointer));
  EXPECT_EQ(sizeof(ZelList), kPointer + sizeof(list.items));
  EXPECT_EQ(sizeof(ZelMap), kPointer + sizeof(map.entries));
}

TEST_F(LayoutCoreTest, KeepsTheSlotsOfVisitorsWhichHaveNoDestructor) {
  EXPECT_EQ(slotOf(&ZelDataVisitor::visitInt), 0);
  EXPECT_EQ(slotOf(&ZelDataVisitor::visitLong), 1);
  EXPECT_EQ(slotOf(&ZelDataVisitor::visitBool), 2);
  EXPECT_EQ(slotOf(&ZelDataVisitor::visitString), 3);
  EXPECT_EQ(slotOf(&ZelDataVisitor::visitByteArray), 4);
  EXPECT_EQ(slotOf(&ZelDataVisitor::visitList), 5);
  EXPECT_EQ(slotOf(&ZelDataVisitor::visitMap), 6);
  EXPECT_FALSE(std::has_virtual_destructor_v<ZelDataVisitor>);
}

TEST_F(LayoutCoreTest, KeepsTheMembersOfMessages) {
  const ZelMsg msg(9, ZelMsg::Notification, nullptr);

  EXPECT_EQ(offsetIn(msg, msg.type), static_cast<std::ptrdiff_t>(kPointer));
  EXPECT_EQ(offsetIn(msg, msg.id), static_cast<std::ptrdiff_t>(kPointer) + 4);
  EXPECT_EQ(offsetIn(msg, msg.body), static_cast<std::ptrdiff_t>(kPointer) + 8);
  EXPECT_EQ(sizeof(ZelMsg), kPointer + 8 + kPointer);
  EXPECT_EQ(sizeof(ZelMsg::Type), 4u);
  EXPECT_TRUE(std::has_virtual_destructor_v<ZelMsg>);
}

TEST_F(LayoutCoreTest, DeletesAMessageThroughItsSecondSlot) {
  int deletions = 0;
  auto* msg = new ZelMsg(9, ZelMsg::Notification, new Doomed(deletions));

  slot<void(void*)>(msg, 1)(msg);

  EXPECT_EQ(deletions, 1);
}

TEST_F(LayoutCoreTest, KeepsTheMembersOfExceptions) {
  EXPECT_EQ(offsetof(ZelAppException, severity), 0u);
  EXPECT_EQ(offsetof(ZelAppException, message), kPointer);
  EXPECT_EQ(offsetof(ZelException, line), 0u);
  EXPECT_EQ(offsetof(ZelException, code), 4u);
  EXPECT_EQ(offsetof(ZelException, file), 8u);
}

TEST_F(LayoutCoreTest, KeepsTheSlotsOfRequests) {
  EXPECT_EQ(slotOf(&ZelRequest::createRegMsg), 0);
  EXPECT_EQ(slotOf(&ZelRequest::onReply), 1);
  EXPECT_EQ(slotOf(&ZelReqInit::createRegMsg), 0);
  EXPECT_EQ(slotOf(&ZelReqInit::onReply), 1);
  EXPECT_EQ(slotOf(&ZelReqStart::createRegMsg), 0);
  EXPECT_EQ(slotOf(&ZelReqStart::onReply), 1);
  EXPECT_EQ(slotOf(&ZelReqShutdown::createRegMsg), 0);
  EXPECT_EQ(slotOf(&ZelReqShutdown::onReply), 1);
  EXPECT_EQ(slotOf(&ZelReqTakeAction::createRegMsg), 0);
  EXPECT_EQ(slotOf(&ZelReqTakeAction::onReply), 1);
  EXPECT_EQ(slotOf(&ZelReqWebService::createRegMsg), 0);
  EXPECT_EQ(slotOf(&ZelReqWebService::onReply), 1);
  EXPECT_EQ(slotOf(&ZelRequest::processReply), -1);
  EXPECT_EQ(slotOf(&ZelRequest::waitReply), -1);
  EXPECT_EQ(slotOf(&ZelRequest::onException), -1);
}

TEST_F(LayoutCoreTest, DeletesARequestThroughItsFourthSlot) {
  int deletions = 0;
  ZelRequest* request = new ZelReqStart;
  request->processReply(new ZelMsg(1, ZelMsg::Reply, new Doomed(deletions)));

  slot<void(void*)>(request, 3)(request);

  EXPECT_EQ(deletions, 1);
}

TEST_F(LayoutCoreTest, KeepsTheMembersOfRequests) {
  TestRequest request(false);
  const TestRequest oneWay(true);
  auto* reply = new ZelMsg(
      1, ZelMsg::Exception,
      fake::map({{0, fake::integer(3)}, {1, fake::text("no")}})().release());  // the request's
  request.processReply(reply);
  request.waitReply();

  EXPECT_EQ(valueAt<const ZelMsg*>(&request, kPointer), reply);
  EXPECT_FALSE(valueAt<bool>(&request, 2 * kPointer));
  EXPECT_TRUE(valueAt<bool>(&oneWay, 2 * kPointer));
  const auto* exception = valueAt<const ZelAppException*>(&request, 3 * kPointer);
  EXPECT_EQ(&exception->message, &request.appExcMessage());
  EXPECT_EQ(sizeof(ZelRequest), 4 * kPointer);
}

TEST_F(LayoutCoreTest, KeepsTheMembersOfInitRequests) {
  std::map<std::string, ZelTableManager*> managers;
  ZelReqInit request("myhost", managers);
  constexpr std::size_t kFirst = sizeof(ZelRequest);

  EXPECT_EQ(memberAt<std::string>(&request, kFirst), "myhost");
  EXPECT_EQ(offsetIn(request, request.getHostName()), kFirst + kText);
  EXPECT_EQ(offsetIn(request, request.getAffinity()), kFirst + 2 * kText);
  EXPECT_EQ(offsetIn(request, request.getVersionAffinity()), kFirst + 3 * kText);
  EXPECT_EQ(offsetIn(request, request.getText()), kFirst + 4 * kText);
  EXPECT_EQ(valueAt<const void*>(&request, kFirst + 5 * kText), &managers);
  EXPECT_EQ(sizeof(ZelReqInit), kFirst + 5 * kText + kPointer);
}

TEST_F(LayoutCoreTest, GivesStartAndShutdownRequestsNoMembers) {
  EXPECT_EQ(sizeof(ZelReqStart), sizeof(ZelRequest));
  EXPECT_EQ(sizeof(ZelReqShutdown), sizeof(ZelRequest));
}

TEST_F(LayoutCoreTest, KeepsTheMembersOfTakeActionRequests) {
  ZelReqTakeAction request("node", "command");
  constexpr std::size_t kFirst = sizeof(ZelRequest);
  request.onReply(fake::map({{2, fake::integer(5)}, {3, fake::text("done")}})()->toMap());

  EXPECT_EQ(valueAt<int>(&request, kFirst), 5);
  EXPECT_EQ(offsetIn(request, request.getMessage()), kFirst + kPointer);
  EXPECT_EQ(memberAt<std::string>(&request, kFirst + kPointer + kText), "node");
  EXPECT_EQ(memberAt<std::string>(&request, kFirst + kPointer + 2 * kText), "command");
  EXPECT_EQ(sizeof(ZelReqTakeAction), kFirst + kPointer + 3 * kText);
}

TEST_F(LayoutCoreTest, KeepsTheMembersOfWebServiceRequests) {
  const KDH1_header headers[] = {{KDH1_HDR_LANGUAGE, "de", 2}, {KDH1_HDR_QUERY, "a=b", 3}};
  const KDH1_request_struct asked{8, "/path", 5, headers, 2};
  ZelReqWebService request(&asked);
  constexpr std::size_t kFirst = sizeof(ZelRequest);
  request.onReply(
      fake::map({{7, fake::integer(200)}, {8, fake::integer(3)}, {9, fake::bytes("")}})()->toMap());

  EXPECT_EQ(memberAt<std::string>(&request, kFirst), "/path");
  EXPECT_EQ(memberAt<std::string>(&request, kFirst + kText), "a=b");
  EXPECT_EQ(memberAt<std::string>(&request, kFirst + 2 * kText), "de");
  EXPECT_EQ(offsetIn(request, request.getData()), kFirst + 3 * kText);
  EXPECT_EQ(valueAt<int>(&request, kFirst + 4 * kText), 200);
  EXPECT_EQ(valueAt<int>(&request, kFirst + 4 * kText + 4), 3);
  EXPECT_EQ(sizeof(ZelReqWebService), kFirst + 4 * kText + 8);
}

TEST_F(LayoutCoreTest, KeepsTheSlotsOfTheClient) {
  EXPECT_EQ(slotOf(&ZelClient::request), 2);
  EXPECT_EQ(slotOf(&ZelClient::subscribe), 3);
  EXPECT_EQ(slotOf(&ZelClient::unsubscribe), 4);
  EXPECT_EQ(slotOf(&ZelClient::putOutbound), 5);
  EXPECT_EQ(slotOf(&ZelClient::execute), -1);
  EXPECT_EQ(slotOf(&ZelClient::processInbound), -1);
  EXPECT_EQ(slotOf(&ZelClient::getSubscriber), -1);
  EXPECT_EQ(slotOf(&ZelClient::queueTask), -1);
}

TEST_F(LayoutCoreTest, DeletesAClientThroughItsSecondSlot) {
  class Ending : public ZelClient {
   public:
    explicit Ending(int& deletions) : count(deletions) {}
    ~Ending() override { ++count; }
    void putOutbound(const ZelMap& /*envelope*/) override {}

   private:
    int& count;
  };
  int deletions = 0;
  ZelClient* client = new Ending(deletions);

  slot<void(void*)>(client, 1)(client);

  EXPECT_EQ(deletions, 1);
}

TEST_F(LayoutCoreTest, KeepsTheMembersOfTheClient) {
  class Silent : public ZelClient {
   public:
    void putOutbound(const ZelMap& /*envelope*/) override {}
  };
  class Handler : public ZelRequestHandler {
   public:
    ZelMap* handleRequest(const ZelMap& /*body*/) override { return new ZelMap; }
    int getType() const override { return 70; }
  };
  using Subscribers = std::map<int, ZelNotificationSubscriber*>;
  using Handlers = std::map<int, ZelRequestHandler*>;
  Silent client;
  Subscriber subscriber;
  Handler handler;
  client.subscribe(subscriber);
  client.setRequestHandler(&handler);

  const auto& subscribers = memberAt<Subscribers>(&client, kPointer);
  const auto& handlers = memberAt<Handlers>(&client, kPointer + sizeof(Subscribers));
  EXPECT_EQ(subscribers, (Subscribers{{60, &subscriber}}));
  EXPECT_EQ(handlers, (Handlers{{70, &handler}}));
  EXPECT_EQ(sizeof(ZelClient), kPointer + sizeof(Subscribers) + sizeof(Handlers));
}

TEST_F(LayoutCoreTest, KeepsTheSlotsOfSubscribersAndHandlersWhichHaveNoDestructor) {
  EXPECT_EQ(slotOf(&ZelNotificationSubscriber::onNotify), 0);
  EXPECT_EQ(slotOf(&ZelNotificationSubscriber::getType), 1);
  EXPECT_EQ(slotOf(&ZelRequestHandler::handleRequest), 0);
  EXPECT_EQ(slotOf(&ZelRequestHandler::getType), 1);
  EXPECT_FALSE(std::has_virtual_destructor_v<ZelNotificationSubscriber>);
  EXPECT_FALSE(std::has_virtual_destructor_v<ZelRequestHandler>);
}

TEST_F(LayoutCoreTest, RunsATaskThroughItsFirstSlotAndDeletesItThroughItsThird) {
  int deletions = 0;
  ZelTask* task = new ZelNtfProcTask(61, new Doomed(deletions));

  EXPECT_EQ(slotOf(&ZelTask::run), 0);
  slot<void(void*)>(task, 0)(task);
  EXPECT_TRUE(framework.hasMessage("WARN: cannot find a subscriber for notification 61"));
  slot<void(void*)>(task, 2)(task);
  EXPECT_EQ(deletions, 1);
}

TEST_F(LayoutCoreTest, KeepsTheSlotsOfTheAgentWhichHasNoMembers) {
  EXPECT_EQ(slotOf(&ZelAgent::createTableManager), 2);
  EXPECT_EQ(slotOf(&ZelAgent::subscribeNotificationHandlers), 3);
  EXPECT_EQ(sizeof(ZelAgent), kPointer);
}

TEST_F(LayoutCoreTest, DeletesAnAgentThroughItsSecondSlot) {
  const fake::OriginalAgent original;
  auto* doomed = new ZelAgent;
  EXPECT_EQ(ZelAgent::getInstance(), doomed);

  slot<void(void*)>(doomed, 1)(doomed);

  EXPECT_EQ(ZelAgent::getInstance(), nullptr);
}

TEST_F(LayoutCoreTest, KeepsTheConditionOfAnEventBeforeItsMutex) {
  fake::PthreadCalls::get().reset();
  ZelEvent event;

  event.wait(3);

  const auto waits = fake::PthreadCalls::get().ownWaits();
  ASSERT_EQ(waits.size(), 1u);
  EXPECT_EQ(waits[0].condition, &event);
  EXPECT_EQ(waits[0].mutex, reinterpret_cast<const char*>(&event) + sizeof(pthread_cond_t));
  EXPECT_EQ(sizeof(ZelEvent), sizeof(pthread_cond_t) + sizeof(pthread_mutex_t));
  EXPECT_EQ(sizeof(ZelMutex), sizeof(pthread_mutex_t));
  EXPECT_EQ(sizeof(ZelArray<char>), kPointer);
}

template <typename Published, typename Declared>
constexpr bool kIs = std::is_same_v<Published, std::remove_reference_t<Declared>>;

TEST_F(LayoutCoreTest, KeepsThePublishedStaticMembers) {
  EXPECT_TRUE((kIs<const char*, decltype(ZelAgent::s_prodCode)>));
  EXPECT_TRUE((kIs<const char*, decltype(ZelAgent::s_instId)>));
  EXPECT_TRUE((kIs<const char*, decltype(ZelAgent::s_prodHome)>));
  EXPECT_TRUE((kIs<int, decltype(ZelAgent::s_appPort)>));
  EXPECT_TRUE((kIs<unsigned long, decltype(ZelAgent::s_replyTimeout)>));
  EXPECT_TRUE((kIs<const char*, decltype(ZelAgent::s_iraVersion)>));
  EXPECT_EQ(sizeof(ZelAgent::s_iraVersionBuff), 16u);
  EXPECT_TRUE((kIs<std::string, decltype(ZelAgent::s_versionAff)>));
  EXPECT_TRUE((kIs<std::atomic<bool>, decltype(ZelAgent::s_isShutdown)>));
  EXPECT_TRUE((kIs<std::atomic<bool>, decltype(ZelAgent::s_started)>));
  EXPECT_TRUE((kIs<ZelEvent, decltype(ZelAgent::s_shutdownEvent)>));
  EXPECT_TRUE((kIs<std::map<std::string, ZelTableManager*>, decltype(ZelAgent::s_managers)>));
  EXPECT_TRUE((kIs<std::atomic<ZelClient*>, decltype(ZelClient::s_inst)>));
  EXPECT_TRUE((kIs<unsigned long, decltype(ZelClient::s_mhThread)>));
  EXPECT_TRUE((kIs<std::atomic<bool>, decltype(ZelClient::s_mhRunning)>));
  EXPECT_TRUE((kIs<std::queue<ZelTask*>, decltype(ZelClient::s_taskQueue)>));
  EXPECT_TRUE((kIs<ZelMutex, decltype(ZelClient::s_tqMutex)>));
  EXPECT_TRUE((kIs<ZelEvent, decltype(ZelClient::s_tqEvent)>));
  EXPECT_TRUE((kIs<std::map<int, struct sigaction>*, decltype(s_sigactions)>));
  EXPECT_TRUE((kIs<pthread_t, decltype(s_httpServerThread)>));
}

// No test of this program changes them.
TEST_F(LayoutCoreTest, BeginsWithItsTimeLimits) {
  EXPECT_EQ(ZelAgent::s_replyTimeout, 600000u);
  EXPECT_EQ(ZelClient::s_destroyBoundMs.load(), 2000u);
}

}  // namespace
