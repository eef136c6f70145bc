#include "bridge/zelclient.h"

#include <chrono>
#include <condition_variable>
#include <mutex>

#include "agentfw/ras1.h"
#include "bridge/zelbuild.h"
#include "bridge/zelkeys.h"
#include "bridge/zeltask.h"
#include "zelending.h"
#include "zelguard.h"

RAS1_UNIT("ZELCLIENT");

std::atomic<ZelClient*> ZelClient::s_inst{nullptr};
unsigned long ZelClient::s_mhThread = 0;
std::atomic<bool> ZelClient::s_mhRunning{false};
std::queue<ZelTask*>& ZelClient::s_taskQueue = *new std::queue<ZelTask*>;
ZelMutex& ZelClient::s_tqMutex = *new ZelMutex;
ZelEvent& ZelClient::s_tqEvent = *new ZelEvent;
std::atomic<unsigned long> ZelClient::s_destroyBoundMs{2000};

namespace {

constexpr unsigned long kIdleWaitMs = 60000;

// The uses of all threads. The count is taken before s_inst is read, and destroy() detaches s_inst
// before it reads the count: whoever still got the client is counted.
std::atomic<unsigned> useCount{0};
thread_local unsigned ownUses = 0;

// Wakes destroy() when a use ends. Leaked: threads may end uses while the process exits.
struct UseEnd {
  std::mutex mutex;
  std::condition_variable changed;
};
UseEnd& useEnd() {
  static UseEnd& instance = *new UseEnd;
  return instance;
}
std::atomic<unsigned> destroyersWaiting{0};

// Which client the calling thread uses, for a scope.
class CurrentClient {
 public:
  explicit CurrentClient(ZelClient& used) : client(&used), outer(innermost) { innermost = this; }
  CurrentClient(const CurrentClient&) = delete;
  CurrentClient& operator=(const CurrentClient&) = delete;
  ~CurrentClient() { innermost = outer; }

  static ZelClient* get() { return innermost == nullptr ? nullptr : innermost->client; }

  // Only the thread that deletes a client can still be inside it.
  static void forget(const ZelClient& deleted) {
    for (CurrentClient* scope = innermost; scope != nullptr; scope = scope->outer) {
      if (scope->client == &deleted) {
        scope->client = nullptr;
      }
    }
  }

 private:
  static thread_local CurrentClient* innermost;

  ZelClient* client;
  CurrentClient* const outer;
};
thread_local CurrentClient* CurrentClient::innermost = nullptr;

bool waitForOtherUses(std::chrono::milliseconds bound) {
  destroyersWaiting.fetch_add(1);
  bool alone = false;
  {
    std::unique_lock lock(useEnd().mutex);
    alone = useEnd().changed.wait_for(lock, bound, [] { return useCount.load() <= ownUses; });
  }
  destroyersWaiting.fetch_sub(1);
  return alone;
}

std::unique_ptr<ZelTask> nextTask() {
  ZelAutoMutex lock(ZelClient::s_tqMutex);
  if (ZelClient::s_taskQueue.empty()) {
    return nullptr;
  }
  std::unique_ptr<ZelTask> task(ZelClient::s_taskQueue.front());
  ZelClient::s_taskQueue.pop();
  return task;
}

}  // namespace

ZelClientUse::ZelClientUse() {
  useCount.fetch_add(1);  // first: a signal handler in between must not take the use for its own
  ++ownUses;
}

ZelClientUse::~ZelClientUse() {
  --ownUses;
  useCount.fetch_sub(1);
  if (destroyersWaiting.load() != 0) {
    { std::lock_guard lock(useEnd().mutex); }
    useEnd().changed.notify_all();
  }
}

ZelClient::~ZelClient() { CurrentClient::forget(*this); }

ZelClient* ZelClient::getInstance() {
  ZelClient* instance = s_inst.load();
  if (instance == nullptr) {
    instance = zelCreateClient();
    s_inst.store(instance);
    zelThreadStart(&s_mhThread, zelMessageHandler, nullptr);
    // A thread that could not be started has shut the agent down, and the client with it.
    instance = s_inst.load();
    if (instance == nullptr) {
      ZEL_THROW();
    }
  }
  return instance;
}

ZelClient* ZelClient::current() {
  ZelClient* used = CurrentClient::get();
  return used == nullptr ? getInstance() : used;
}

void ZelClient::destroy() {
  RAS1_FLOW();
  if (s_mhRunning.exchange(false)) {
    s_tqEvent.signal(true);
  }
  ZelClient* instance = s_inst.exchange(nullptr);
  if (instance != nullptr && waitForOtherUses(std::chrono::milliseconds(s_destroyBoundMs.load()))) {
    delete instance;
  }
  ZelAutoMutex lock(s_tqMutex);
  while (!s_taskQueue.empty()) {
    delete s_taskQueue.front();
    s_taskQueue.pop();
  }
}

void ZelClient::run(ZelRequest& req, bool forceSync) {
  const ZelClientUse use;
  current()->execute(req, forceSync);
}

void ZelClient::execute(ZelRequest& req, bool forceSync) {
  RAS1_FLOW();
  std::unique_ptr<ZelMsg> msg(req.createRegMsg());
  if (!forceSync && req.isOneWay()) {
    queueTask(new ZelDatagramSenderTask(msg.release()));
    return;
  }
  request(*msg, &req);
  // A critical exception of the application destroys this client: touch no member from here on.
  req.waitReply();
}

void ZelClient::request(ZelMsg& msg, const ZelRequest* requester) {
  RAS1_FLOW();
  ZelMap envelope;
  zelPut<int>(envelope, ZelKey::Envelope::kType, msg.type);
  zelPut<int>(envelope, ZelKey::Envelope::kId, msg.id);
  if (msg.type != ZelMsg::Notification) {
    zelPut<long long>(envelope, ZelKey::Envelope::kHandle, reinterpret_cast<long long>(requester));
  }
  if (msg.body != nullptr) {
    zelPut(envelope, ZelKey::Envelope::kBody, std::move(msg.body));
  }
  const CurrentClient scope(*this);
  putOutbound(envelope);
}

void ZelClient::subscribe(ZelNotificationSubscriber& subscriber) {
  subscribers[subscriber.getType()] = &subscriber;
}

ZelNotificationSubscriber* ZelClient::unsubscribe(int type) {
  const auto found = subscribers.find(type);
  if (found == subscribers.end()) {
    return nullptr;
  }
  ZelNotificationSubscriber* subscriber = found->second;
  subscribers.erase(found);
  return subscriber;
}

ZelNotificationSubscriber* ZelClient::getSubscriber(int type) const {
  const auto found = subscribers.find(type);
  return found == subscribers.end() ? nullptr : found->second;
}

void ZelClient::setRequestHandler(ZelRequestHandler* handler) {
  handlers[handler->getType()] = handler;
}

void ZelClient::queueTask(ZelTask* task) const {
  std::unique_ptr<ZelTask> owner(task);
  ZelAutoMutex lock(s_tqMutex);
  s_taskQueue.push(task);
  static_cast<void>(owner.release());
  s_tqEvent.signal(true);
}

void ZelClient::processInbound(ZelMap& envelope) {
  RAS1_FLOW();
  const int type = envelope.get(ZelKey::Envelope::kType).toInt();
  const int id = envelope.get(ZelKey::Envelope::kId).toInt();
  switch (type) {
    case ZelMsg::Request:
      answerRequest(id, envelope);
      break;
    case ZelMsg::Notification:
      queueTask(new ZelNtfProcTask(id, envelope.detach(ZelKey::Envelope::kBody)));
      break;
    case ZelMsg::Reply:
    case ZelMsg::Exception:
      deliverReply(id, static_cast<ZelMsg::Type>(type), envelope);
      break;
    default:
      RAS1_PRINT("ERROR: invalid message type %i", type);
      break;
  }
}

void ZelClient::answerRequest(int id, ZelMap& envelope) {
  RAS1_FUNCTION();
  const auto found = handlers.find(id);
  if (found == handlers.end()) {
    RAS1_PRINT("WARN: cannot find a handler for request %i", id);
    return;
  }
  std::unique_ptr<ZelMap> body(
      found->second->handleRequest(envelope.get(ZelKey::Envelope::kBody).toMap()));
  ZelMap reply;  // carries no message id: the requester handle alone tells whose answer it is
  zelPut<int>(reply, ZelKey::Envelope::kType, ZelMsg::Reply);
  zelPut(reply, ZelKey::Envelope::kHandle,
         std::unique_ptr<ZelData>(envelope.detach(ZelKey::Envelope::kHandle)));
  zelPut(reply, ZelKey::Envelope::kBody, std::move(body));
  putOutbound(reply);
}

void ZelClient::deliverReply(int id, ZelMsg::Type type, ZelMap& envelope) {
  RAS1_FUNCTION();
  const long long handle = envelope.get(ZelKey::Envelope::kHandle).toLong();
  if (handle == 0) {
    RAS1_PRINT("WARN: Exception processing completed: id=%i", id);
    return;
  }
  auto* requester = reinterpret_cast<ZelRequest*>(handle);
  if (!ZelRequest::isValidRequest(requester)) {
    RAS1_PRINT("WARN: invalid reply %p supressed", static_cast<void*>(requester));
    return;
  }
  requester->processReply(new ZelMsg(id, type, envelope.detach(ZelKey::Envelope::kBody)));
}

void* zelMessageHandler(void* /*unused*/) {
  RAS1_FLOW();
  ZelClient::s_mhRunning.store(true);
  RAS1_PRINT("Message handler started");
  while (!zelIsEnding() && ZelClient::s_mhRunning.load()) {
    const std::unique_ptr<ZelTask> task = nextTask();
    if (task == nullptr) {
      ZelClient::s_tqEvent.wait(kIdleWaitMs);
      continue;
    }
    zelGuarded(ras1Entry, [&] {
      const ZelClientUse use;
      ZelClient* client = ZelClient::s_inst.load();
      // Destroyed since the queue was looked at: what was queued is dropped.
      if (ZelClient::s_mhRunning.load() && client != nullptr) {
        const CurrentClient scope(*client);
        task->run();
      }
    });
  }
  ZelClient::s_mhRunning.store(false);
  RAS1_PRINT("Message handler stopped");
  return nullptr;
}
