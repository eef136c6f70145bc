#include "zelreqtakeaction.h"

#include "agentfw/ras1.h"
#include "bridge/zelbuild.h"
#include "bridge/zelkeys.h"

RAS1_UNIT("ZELREQTAKEACTION");

ZelReqTakeAction::ZelReqTakeAction(const std::string& nodeName, const std::string& commandText)
    : ZelRequest(false), node(nodeName), command(commandText) {}

ZelReqTakeAction::~ZelReqTakeAction() = default;

ZelMsg* ZelReqTakeAction::createRegMsg() {
  RAS1_FLOW();
  RAS1_DETAIL("Node [%s]", node.c_str());
  RAS1_DETAIL("Command [%s]", command.c_str());
  auto body = std::make_unique<ZelMap>();
  zelPut<std::string>(*body, ZelKey::Action::kNode, node);
  zelPut<std::string>(*body, ZelKey::Action::kCommand, command);
  return ras1Flow.result(new ZelMsg(ZelRequestCode::kTakeAction, ZelMsg::Request, body.release()));
}

void ZelReqTakeAction::onReply(const ZelMap& reply) {
  RAS1_FLOW();
  returnCode = reply.get(ZelKey::ActionReply::kCode).toInt();
  message = reply.get(ZelKey::ActionReply::kMessage).toString();
  RAS1_DETAIL("RC [%i]", returnCode);
  RAS1_DETAIL("Message [%s]", message.c_str());
}
