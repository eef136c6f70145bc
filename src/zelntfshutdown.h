#pragma once

#include "bridge/zelclient.h"

/// Stops the agent when the Java application asks for it.
class ZelShutdownHandler : public ZelNotificationSubscriber {
 public:
  bool onNotify(const ZelMsg& msg) override;
  int getType() const override;
};
