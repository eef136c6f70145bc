#pragma once

#include "bridge/zelclient.h"

/// Pushes rows of an event table into the table's open requests.
class ZelSampleEmitHandler : public ZelNotificationSubscriber {
 public:
  bool onNotify(const ZelMsg& msg) override;
  int getType() const override;
};
