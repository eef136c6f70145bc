#include "support/fake_transport.h"

#include <chrono>
#include <cstdio>
#include <stdexcept>
#include <thread>

#include "bridge/zelbuild.h"
#include "bridge/zelkeys.h"
#include "support/fake_framework.h"

namespace fake {

namespace {

template <typename T>
Value primitive(T value) {
  return [value = std::move(value)] { return std::make_unique<TZelPrimitive<T>>(value); };
}

class Describer : public ZelDataVisitor {
 public:
  void visitInt(const TZelPrimitive<int>& value) override {
    text = std::to_string(value.getValue());
  }
  void visitLong(const TZelPrimitive<long long>& value) override {
    text = std::to_string(value.getValue()) + "L";
  }
  void visitBool(const TZelPrimitive<bool>& value) override {
    text = value.getValue() ? "true" : "false";
  }
  void visitString(const TZelPrimitive<std::string>& value) override {
    text = '"' + value.getValue() + '"';
  }
  void visitByteArray(const ZelByteArray& value) override {
    text = "x'";
    for (const char byte : value.getValue()) {
      char digits[3];
      std::snprintf(digits, sizeof(digits), "%02x", static_cast<unsigned char>(byte));
      text += digits;
    }
    text += "'";
  }
  void visitList(const ZelList& value) override {
    std::string all;
    for (const ZelData* item : value.items) {
      all += (all.empty() ? "" : ", ") + describe(item);
    }
    text = "[" + all + "]";
  }
  void visitMap(const ZelMap& value) override {
    std::string all;
    for (const auto& [key, child] : value.entries) {
      all += (all.empty() ? "" : ", ") + std::to_string(key) + ": " + describe(child);
    }
    text = "{" + all + "}";
  }

  std::string text;
};

class Copier : public ZelDataVisitor {
 public:
  void visitInt(const TZelPrimitive<int>& value) override { copy = integer(value.getValue())(); }
  void visitLong(const TZelPrimitive<long long>& value) override {
    copy = longInteger(value.getValue())();
  }
  void visitBool(const TZelPrimitive<bool>& value) override { copy = boolean(value.getValue())(); }
  void visitString(const TZelPrimitive<std::string>& value) override {
    copy = text(value.getValue())();
  }
  void visitByteArray(const ZelByteArray& value) override { copy = bytes(value.getValue())(); }
  void visitList(const ZelList& value) override {
    auto items = std::make_unique<ZelList>();
    for (const ZelData* item : value.items) {
      zelAppend(*items, copyOf(item));
    }
    copy = std::move(items);
  }
  void visitMap(const ZelMap& value) override {
    auto entries = std::make_unique<ZelMap>();
    for (const auto& [key, child] : value.entries) {
      zelPut(*entries, key, copyOf(child));
    }
    copy = std::move(entries);
  }

  std::unique_ptr<ZelData> copy;
};

/// Repeats `step` until it is true, at most 20 s.
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

Value exceptionBody(const ZelAppException& exception) {
  return map({{ZelKey::Failure::kSeverity, integer(exception.severity)},
              {ZelKey::Failure::kMessage, text(exception.message)}});
}

}  // namespace

Value integer(int value) { return primitive<int>(value); }
Value longInteger(long long value) { return primitive<long long>(value); }
Value boolean(bool value) { return primitive<bool>(value); }
Value text(std::string value) { return primitive<std::string>(std::move(value)); }

Value bytes(std::string value) {
  return [value = std::move(value)] { return std::make_unique<ZelByteArray>(value); };
}

Value list(std::vector<Value> items) {
  return [items = std::move(items)] {
    auto made = std::make_unique<ZelList>();
    for (const Value& item : items) {
      zelAppend(*made, item());
    }
    return made;
  };
}

Value map(std::vector<std::pair<int, Value>> entries) {
  return [entries = std::move(entries)] {
    auto made = std::make_unique<ZelMap>();
    for (const auto& [key, value] : entries) {
      zelPut(*made, key, value());
    }
    return made;
  };
}

Value nothing() {
  return [] { return std::unique_ptr<ZelData>(); };
}

std::string describe(const ZelData* value) {
  if (value == nullptr) {
    return "null";
  }
  Describer describer;
  value->accept(describer);
  return describer.text;
}

std::unique_ptr<ZelData> copyOf(const ZelData* value) {
  if (value == nullptr) {
    return nullptr;
  }
  Copier copier;
  value->accept(copier);
  return std::move(copier.copy);
}

std::string Sent::body() const {
  const auto found = envelope->entries.find(ZelKey::Envelope::kBody);
  return found == envelope->entries.end() ? "none" : describe(found->second);
}

Bridge& Bridge::get() {
  static Bridge& instance = *new Bridge;  // outlives the message handler threads
  return instance;
}

void Bridge::reset() {
  std::lock_guard lock(mutex_);
  sent_.clear();
  clients_ = 0;
  replies.clear();
  exceptions.clear();
  silent.clear();
  failCreation = false;
  onCreation = nullptr;
  onSent.clear();
}

std::vector<Sent> Bridge::sent() const {
  std::lock_guard lock(mutex_);
  return sent_;
}

std::vector<Sent> Bridge::sentOf(int id) const {
  std::vector<Sent> found;
  for (const Sent& message : sent()) {
    if (message.id == id) {
      found.push_back(message);
    }
  }
  return found;
}

bool Bridge::waitForSent(int id, std::size_t count) const {
  return eventually([&] {
    // The message handler may miss the wake-up of the one that queued.
    ZelClient::s_tqEvent.signal(true);
    return sentOf(id).size() >= count;
  });
}

std::size_t Bridge::clientsCreated() const {
  std::lock_guard lock(mutex_);
  return clients_;
}

Sent Bridge::record(const ZelMap& envelope) {
  Sent message{envelope.get(ZelKey::Envelope::kType).toInt(), {}, {}, {}};
  if (const auto id = envelope.entries.find(ZelKey::Envelope::kId); id != envelope.entries.end()) {
    message.id = id->second->toInt();
  }
  if (const auto requester = envelope.entries.find(ZelKey::Envelope::kHandle);
      requester != envelope.entries.end()) {
    message.requester = requester->second->toLong();
  }
  message.envelope.reset(static_cast<ZelMap*>(copyOf(&envelope).release()));
  std::lock_guard lock(mutex_);
  sent_.push_back(message);
  return message;
}

void Bridge::countClient() {
  std::lock_guard lock(mutex_);
  ++clients_;
}

bool endClients() {
  // A message that a handler already has in hand makes a client again after the first destroy(),
  // and a handler that has not begun yet overlooks that it is to end: repeat until all are gone.
  return eventually([] {
    ZelClient::destroy();
    ZelClient::s_mhRunning.store(false);
    ZelClient::s_tqEvent.signal(true);
    const std::size_t ended = Framework::get().countMessages("Message handler stopped");
    return ended >= Bridge::get().clientsCreated() && ZelClient::s_inst.load() == nullptr;
  });
}

void sendInbound(ZelMsg::Type type, int id, const Value& body) {
  ZelMap envelope;
  zelPut<int>(envelope, ZelKey::Envelope::kType, type);
  zelPut<int>(envelope, ZelKey::Envelope::kId, id);
  zelPut(envelope, ZelKey::Envelope::kBody, body());
  const ZelClientUse use;
  ZelClient::getInstance()->processInbound(envelope);
}

}  // namespace fake

FakeTransport::FakeTransport() { fake::Bridge::get().countClient(); }

FakeTransport::~FakeTransport() = default;

void FakeTransport::putOutbound(const ZelMap& envelope) {
  fake::Bridge& bridge = fake::Bridge::get();
  const fake::Sent message = bridge.record(envelope);
  const int id = message.id.value_or(-1);
  if (const auto hook = bridge.onSent.find(id); hook != bridge.onSent.end()) {
    hook->second(message);
  }
  if (message.type != ZelMsg::Request || bridge.silent.count(id) != 0) {
    return;
  }
  ZelMsg::Type type = ZelMsg::Reply;
  fake::Value body = fake::map({});
  if (const auto exception = bridge.exceptions.find(id); exception != bridge.exceptions.end()) {
    type = ZelMsg::Exception;
    body = fake::exceptionBody(exception->second);
  } else if (const auto reply = bridge.replies.find(id); reply != bridge.replies.end()) {
    body = reply->second;
  }
  ZelMap answer;
  zelPut<int>(answer, ZelKey::Envelope::kType, type);
  zelPut<int>(answer, ZelKey::Envelope::kId, id);
  zelPut<long long>(answer, ZelKey::Envelope::kHandle, message.requester.value_or(0));
  zelPut(answer, ZelKey::Envelope::kBody, body());
  ZelClient::current()->processInbound(answer);  // as Java answers: this one may be gone
}

FakeTransport* FakeTransport::current() {
  return static_cast<FakeTransport*>(ZelClient::s_inst.load());
}

ZelClient* zelCreateClient() {
  if (const auto& hook = fake::Bridge::get().onCreation; hook) {
    hook();
  }
  if (fake::Bridge::get().failCreation) {
    throw std::runtime_error("no client");
  }
  return new FakeTransport;
}
