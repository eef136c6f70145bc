#include "zelreqshutdown.h"

#include "agentfw/ras1.h"
#include "bridge/zelkeys.h"

RAS1_UNIT("ZELREQSHUTDOWN");

ZelReqShutdown::ZelReqShutdown() : ZelRequest(false) {}

ZelReqShutdown::~ZelReqShutdown() = default;

ZelMsg* ZelReqShutdown::createRegMsg() {
  RAS1_FLOW();
  return ras1Flow.result(new ZelMsg(ZelRequestCode::kShutdown, ZelMsg::Request, nullptr));
}

void ZelReqShutdown::onReply(const ZelMap& /*reply*/) {}
