#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "bridge/zelclient.h"
#include "bridge/zelkeys.h"
#include "support/jvm_fixture.h"

/// A class of the Java application.
inline std::string inPackage(const std::string& name) {
  return "com/qrv/norvel/monitoring/toolkit/workbench/" + name;
}

/// A request whose reply body is kept as text.
class EchoRequest : public ZelRequest {
 public:
  explicit EchoRequest(std::unique_ptr<ZelData> requestBody, bool isOneWay = false)
      : ZelRequest(isOneWay), body(std::move(requestBody)) {}

  ZelMsg* createRegMsg() override { return new ZelMsg(kId, ZelMsg::Request, body.release()); }
  void onReply(const ZelMap& replyBody) override { replySize = replyBody.entries.size(); }

  static constexpr int kId = 77;
  std::unique_ptr<ZelData> body;
  std::size_t replySize = 0;  ///< entries of the reply's body
};

/// The Java side's envelope of an answer to `request`.
inline fakejvm::ObjectPtr answerTo(const fakejvm::ObjectPtr& request, ZelMsg::Type type,
                                   const fakejvm::ObjectPtr& body) {
  fakejvm::ObjectPtr requester;
  for (const auto& [key, value] : request->entries) {
    if (key->number == ZelKey::Envelope::kHandle) {
      requester = value;
    }
  }
  return fakejvm::map(
      {{fakejvm::integer(ZelKey::Envelope::kType), fakejvm::integer(type)},
       {fakejvm::integer(ZelKey::Envelope::kId), fakejvm::integer(EchoRequest::kId)},
       {fakejvm::integer(ZelKey::Envelope::kBody), body},
       {fakejvm::integer(ZelKey::Envelope::kHandle), requester}});
}

/// Calls the native through which Java hands a message over.
inline void putOutbound(JNIEnv* env, const fakejvm::ObjectPtr& envelope) {
  fakejvm::Jvm& jvm = fakejvm::Jvm::get();
  jvm.native("doPutOutbound")
      ->as<void(JNIEnv*, jobject, jobject)>()(env, nullptr, jvm.local(envelope));
}

/// Lets the Java application answer every request with this body.
inline void answerRequests(ZelMsg::Type type, const fakejvm::ObjectPtr& body) {
  fakejvm::Jvm::get().onProcessInbound = [type, body](JNIEnv* env, const fakejvm::ObjectPtr& msg) {
    putOutbound(env, answerTo(msg, type, body));
  };
}

/// The Java side's envelope of a request of its own.
inline fakejvm::ObjectPtr inboundRequest(int id) {
  return fakejvm::map(
      {{fakejvm::integer(ZelKey::Envelope::kType), fakejvm::integer(ZelMsg::Request)},
       {fakejvm::integer(ZelKey::Envelope::kId), fakejvm::integer(id)},
       {fakejvm::integer(ZelKey::Envelope::kBody), fakejvm::map({})},
       {fakejvm::integer(ZelKey::Envelope::kHandle), fakejvm::longInteger(9)}});
}

/// Fails as the test says when the Java application asks it.
class FailingHandler : public ZelRequestHandler {
 public:
  explicit FailingHandler(std::function<void()> failure) : fail(std::move(failure)) {}
  ZelMap* handleRequest(const ZelMap& /*body*/) override {
    fail();
    return new ZelMap;
  }
  int getType() const override { return 5; }

 private:
  std::function<void()> fail;
};
