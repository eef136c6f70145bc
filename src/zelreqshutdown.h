#pragma once

#include "bridge/zelreq.h"

/// Tells the Java application that the agent stops, and waits for its answer.
class ZelReqShutdown : public ZelRequest {
 public:
  ZelReqShutdown();

  ZelMsg* createRegMsg() override;
  void onReply(const ZelMap& reply) override;
  ~ZelReqShutdown() override;
};
