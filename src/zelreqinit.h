#pragma once

#include <map>
#include <string>

#include "bridge/zelreq.h"

class ZelTableManager;

/// Introduces the agent to the Java application, which answers with its names and tables.
class ZelReqInit : public ZelRequest {
 public:
  /// onReply() adds one manager per table to `managers`; one that it replaces is not deleted.
  ZelReqInit(const std::string& agentHostName, std::map<std::string, ZelTableManager*>& tables);

  ZelMsg* createRegMsg() override;
  void onReply(const ZelMap& reply) override;
  ~ZelReqInit() override;

  // The application's answers, empty until the reply.
  const std::string& getHostName() const { return replyHostName; }
  const std::string& getAffinity() const { return replyAffinity; }
  const std::string& getVersionAffinity() const { return replyVersionAffinity; }
  const std::string& getText() const { return replyText; }

 private:
  void addTable(const ZelMap& table);

  const std::string hostName;
  std::string replyHostName;
  std::string replyAffinity;
  std::string replyVersionAffinity;
  std::string replyText;  // kept, nobody reads it
  std::map<std::string, ZelTableManager*>& managers;
};
