#include "zelntfsubnode.h"

#include <string>

#include "agentfw/ira.h"
#include "agentfw/ras1.h"
#include "bridge/zelkeys.h"
#include "zelaffinity.h"
#include "zelagent.h"
#include "zeltablemanager.h"

RAS1_UNIT("ZELNTFSUBNODE");

namespace {

constexpr int kAffinityCount = 4;
constexpr std::size_t kMaxInfo = 16;

void forgetCachedSamples(const std::string& subnode) {
  for (const auto& [name, manager] : ZelAgent::s_managers) {
    manager->deleteCachedSamples(subnode);
  }
}

bool registerSubnode(const std::string& name, const std::string& affinity) {
  RAS1_FUNCTION();
  const int rc = IRA_Subnode_Register_nAff(name.c_str(), ZelAgent::registeredProduct(),
                                           ZelAgent::s_iraVersion, kAffinityCount, affinity.c_str(),
                                           ZelAffinity::kInternationalization,
                                           ZelAffinity::kDmParity, ZelAgent::s_versionAff.c_str());
  if (rc != 0) {
    RAS1_PRINT("ERROR: failed to register subnode <%s,%s,%s,%s,%s> (rc %i)", name.c_str(),
               ZelAgent::s_prodCode, ZelAgent::s_iraVersion, affinity.c_str(),
               ZelAgent::s_versionAff.c_str(), rc);
  }
  return rc == 0;
}

// A text that does not fit with its separator is not set at all, a suffix that does not fit is
// left out.
bool setNodeInfo(const std::string& name, const ZelMap& body) {
  RAS1_FUNCTION();
  const std::string& text = body.get(ZelKey::SubnodeRegistered::kInfo).toString();
  if (text.empty() || text.size() >= kMaxInfo) {
    return true;
  }
  std::string info = text + "~";
  const std::string& suffix = body.get(ZelKey::SubnodeRegistered::kInfoSuffix).toString();
  if (info.size() + suffix.size() <= kMaxInfo) {
    info += suffix;
  }
  const int rc = IRA_SetNodeInfo(info.c_str(), name.c_str());
  if (rc != 0) {
    RAS1_PRINT("ERROR: IRA_SetNodeInfo(%s,%s) failed (rc %i)", info.c_str(), name.c_str(), rc);
  }
  return rc == 0;
}

bool sendRegistration() {
  RAS1_FUNCTION();
  const int rc = IRA_Subnode_SendRequest();
  if (rc != 0) {
    RAS1_PRINT("ERROR: IRA_Subnode_SendRequest() failed (rc %i)", rc);
  }
  return rc == 0;
}

}  // namespace

bool ZelSubnodeRegHandler::onNotify(const ZelMsg& msg) {
  RAS1_FLOW();
  const ZelMap& body = msg.bodyMap();
  const std::string& name = body.get(ZelKey::SubnodeRegistered::kName).toString();
  const std::string& affinity = body.get(ZelKey::SubnodeRegistered::kAffinity).toString();
  return ras1Flow.result(registerSubnode(name, affinity) && setNodeInfo(name, body) &&
                         sendRegistration());
}

int ZelSubnodeRegHandler::getType() const { return ZelNotificationCode::kSubnodeRegistered; }

bool ZelSubnodeDeregHandler::onNotify(const ZelMsg& msg) {
  RAS1_FLOW();
  const std::string& name = msg.bodyMap().get(ZelKey::SubnodeDeregistered::kName).toString();
  int rc = IRA_Subnode_Deregister(name.c_str());
  if (rc == 0) {
    rc = IRA_Subnode_SendRequest();
  }
  if (rc != 0) {
    RAS1_PRINT("ERROR: failed to deregister subnode %s (rc %i)", name.c_str(), rc);
  }
  forgetCachedSamples(name);
  return ras1Flow.result(rc == 0);
}

int ZelSubnodeDeregHandler::getType() const { return ZelNotificationCode::kSubnodeDeregistered; }

bool ZelSubnodeConnHandler::onNotify(const ZelMsg& msg) {
  RAS1_FLOW();
  RAS1_PRINT("%s connected",
             msg.bodyMap().get(ZelKey::SubnodeConnection::kName).toString().c_str());
  return ras1Flow.result(true);
}

int ZelSubnodeConnHandler::getType() const { return ZelNotificationCode::kSubnodeConnected; }

bool ZelSubnodeDisconnHandler::onNotify(const ZelMsg& msg) {
  RAS1_FLOW();
  const std::string& name = msg.bodyMap().get(ZelKey::SubnodeConnection::kName).toString();
  RAS1_PRINT("%s disconnected", name.c_str());
  forgetCachedSamples(name);
  return ras1Flow.result(true);
}

int ZelSubnodeDisconnHandler::getType() const { return ZelNotificationCode::kSubnodeDisconnected; }
