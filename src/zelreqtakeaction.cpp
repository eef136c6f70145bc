#include "zelreqtakeaction.h"

#include "agentfw/ras1.h"
#include "bridge/zelbuild.h"

RAS1_UNIT("ZELREQTAKEACTION");

namespace {

constexpr int kNodeKey = 0;
constexpr int kCommandKey = 1;
constexpr int kReturnCodeKey = 2;
constexpr int kMessageKey = 3;

}  // namespace

ZelReqTakeAction::ZelReqTakeAction(const std::string& nodeName, const std::string& commandText)
    : ZelRequest(false), node(nodeName), command(commandText) {}

ZelReqTakeAction::~ZelReqTakeAction() = default;

ZelMsg* ZelReqTakeAction::createRegMsg() {
  RAS1_FLOW();
  RAS1_DETAIL("Node [%s]", node.c_str());
  RAS1_DETAIL("Command [%s]", command.c_str());
  auto body = std::make_unique<ZelMap>();
  zelPut<std::string>(*body, kNodeKey, node);
  zelPut<std::string>(*body, kCommandKey, command);
  return ras1Flow.result(new ZelMsg(ZelMsgId::kTakeAction, ZelMsg::Request, body.release()));
}

void ZelReqTakeAction::onReply(const ZelMap& reply) {
  RAS1_FLOW();
  returnCode = reply.get(kReturnCodeKey).toInt();
  message = reply.get(kMessageKey).toString();
  RAS1_DETAIL("RC [%i]", returnCode);
  RAS1_DETAIL("Message [%s]", message.c_str());
}
