#include "bridge/zelreq.h"

#include <typeinfo>
#include <utility>

#include "agentfw/ras1.h"
#include "bridge/zelkeys.h"
#include "zelending.h"

RAS1_UNIT("ZELREQ");

namespace {

std::unique_ptr<ZelAppException> noAnswer(const char* reason) {
  return std::make_unique<ZelAppException>(ZelAppException{
      ZelAppException::kNoAnswer, std::string("ZelRequest::waitReply() - ") + reason});
}

}  // namespace

ZelMsg::ZelMsg(int msgId, Type msgType, ZelData* msgBody)
    : type(msgType), id(msgId), body(msgBody) {}

ZelMsg::~ZelMsg() = default;

const ZelMap& ZelMsg::bodyMap() const {
  if (body == nullptr) {
    throw std::bad_cast();
  }
  return std::as_const(*body).toMap();
}

ZelRequest::ZelRequest(bool isOneWay) : oneWay(isOneWay) {}

ZelRequest::~ZelRequest() = default;

void ZelRequest::processReply(ZelMsg* msg) { reply.reset(msg); }

void ZelRequest::waitReply() {
  RAS1_FLOW();
  if (oneWay) {
    return;
  }
  if (reply == nullptr) {
    RAS1_PRINT("ERROR: no reply data");
    appExc = noAnswer("no reply data");
    return;
  }
  const ZelMap& body = reply->bodyMap();
  switch (reply->type) {
    case ZelMsg::Reply:
      onReply(body);
      break;
    case ZelMsg::Exception:
      onException(body);
      break;
    default:
      RAS1_PRINT("ERROR: got unknown message type %i", static_cast<int>(reply->type));
      appExc = noAnswer("unknown message type");
      break;
  }
}

void ZelRequest::onException(const ZelMap& body) {
  RAS1_FLOW();
  const int severity = body.get(ZelKey::Failure::kSeverity).toInt();
  const std::string& message = body.get(ZelKey::Failure::kMessage).toString();
  appExc = std::make_unique<ZelAppException>(ZelAppException{severity, message});
  RAS1_PRINT("ERROR: Application exception raised (severity %i) ...\n%s", severity,
             message.c_str());
  if (severity == ZelAppException::kCritical) {
    zelEndAgent();
    RAS1_PRINT("FATAL: Agent terminated with the critical Java exception.");
  }
}

bool ZelRequest::isValidRequest(const ZelRequest* /*request*/) { return true; }
