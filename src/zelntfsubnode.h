#pragma once

#include "bridge/zelclient.h"

/// Registers a subnode, with its information text, and sends the registration.
class ZelSubnodeRegHandler : public ZelNotificationSubscriber {
 public:
  bool onNotify(const ZelMsg& msg) override;
  int getType() const override;
};

/// Deregisters a subnode and forgets its cached samples, whether or not that succeeded.
class ZelSubnodeDeregHandler : public ZelNotificationSubscriber {
 public:
  bool onNotify(const ZelMsg& msg) override;
  int getType() const override;
};

/// Traces that a subnode is connected.
class ZelSubnodeConnHandler : public ZelNotificationSubscriber {
 public:
  bool onNotify(const ZelMsg& msg) override;
  int getType() const override;
};

/// Traces that a subnode is disconnected and forgets its cached samples.
class ZelSubnodeDisconnHandler : public ZelNotificationSubscriber {
 public:
  bool onNotify(const ZelMsg& msg) override;
  int getType() const override;
};
