#include "zelntfshutdown.h"

#include "agentfw/ras1.h"
#include "bridge/zelkeys.h"
#include "zelagent.h"

RAS1_UNIT("ZELNTFSHUTDOWN");

bool ZelShutdownHandler::onNotify(const ZelMsg& /*msg*/) {
  RAS1_FLOW();
  RAS1_PRINT("Shutdown per Java app request");
  ZelAgent::stop();
  return ras1Flow.result(true);
}

int ZelShutdownHandler::getType() const { return ZelNotificationCode::kShutdown; }
