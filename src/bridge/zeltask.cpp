#include "bridge/zeltask.h"

#include "agentfw/ras1.h"
#include "bridge/zelclient.h"

RAS1_UNIT("ZELTASK");

ZelNtfProcTask::ZelNtfProcTask(int ntfId, ZelData* ntfBody) : id(ntfId), body(ntfBody) {}

void ZelNtfProcTask::run() {
  RAS1_FLOW();
  ZelNotificationSubscriber* subscriber = ZelClient::current()->getSubscriber(id);
  if (subscriber == nullptr) {
    RAS1_PRINT("WARN: cannot find a subscriber for notification %i", id);
    return;
  }
  const ZelMsg msg(id, ZelMsg::Notification, body.release());
  subscriber->onNotify(msg);
}

ZelDatagramSenderTask::ZelDatagramSenderTask(ZelMsg* message) : msg(message) {}

void ZelDatagramSenderTask::run() {
  RAS1_FLOW();
  ZelClient::current()->request(*msg, nullptr);
}
