#pragma once

#include <string>

#include "bridge/zelreq.h"

/// Has the Java application run a take-action command on a node.
class ZelReqTakeAction : public ZelRequest {
 public:
  ZelReqTakeAction(const std::string& nodeName, const std::string& commandText);

  ZelMsg* createRegMsg() override;
  void onReply(const ZelMap& reply) override;
  ~ZelReqTakeAction() override;

  // The command's outcome, 0 and empty until the reply.
  int getReturnCode() const { return returnCode; }
  const std::string& getMessage() const { return message; }

 private:
  int returnCode = 0;
  std::string message;
  const std::string node;
  const std::string command;
};
