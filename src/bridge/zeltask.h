#pragma once

#include <memory>

#include "bridge/zelreq.h"

/// Work for the message handler thread.
class ZelTask {
 public:
  virtual void run() = 0;
  virtual ~ZelTask() = default;
};

/// Delivers a notification to its subscriber.
class ZelNtfProcTask : public ZelTask {
 public:
  /// Takes ownership of the body.
  ZelNtfProcTask(int ntfId, ZelData* ntfBody);
  void run() override;

 private:
  const int id;
  std::unique_ptr<ZelData> body;
};

/// Sends a message that nobody waits for.
class ZelDatagramSenderTask : public ZelTask {
 public:
  /// Takes ownership of the message.
  explicit ZelDatagramSenderTask(ZelMsg* message);
  void run() override;

 private:
  std::unique_ptr<ZelMsg> msg;
};
