#include "zelreqstart.h"

#include "agentfw/ras1.h"
#include "bridge/zelkeys.h"

RAS1_UNIT("ZELREQSTART");

ZelReqStart::ZelReqStart() : ZelRequest(true) {}

ZelReqStart::~ZelReqStart() = default;

ZelMsg* ZelReqStart::createRegMsg() {
  RAS1_FLOW();
  return ras1Flow.result(new ZelMsg(ZelRequestCode::kStart, ZelMsg::Notification, nullptr));
}

void ZelReqStart::onReply(const ZelMap& /*reply*/) {}
