#pragma once

#include "bridge/zelreq.h"

/// Tells the Java application, one way, that it may collect and notify.
class ZelReqStart : public ZelRequest {
 public:
  ZelReqStart();

  ZelMsg* createRegMsg() override;
  void onReply(const ZelMap& reply) override;
  ~ZelReqStart() override;
};
