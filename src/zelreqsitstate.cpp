#include "zelreqsitstate.h"

#include "agentfw/ras1.h"
#include "bridge/zelbuild.h"

RAS1_UNIT("ZELREQSITSTATE");

namespace {

constexpr int kSituationKey = 0;
constexpr int kTableKey = 1;
constexpr int kStartedKey = 2;  // an int, although the other two flags are booleans
constexpr int kIntervalKey = 3;
constexpr int kHistoryKey = 4;
constexpr int kAutomationKey = 5;

}  // namespace

ZelReqSitStateChanged::ZelReqSitStateChanged(const char* situation, bool started, bool history,
                                             bool automation, const char* table,
                                             unsigned int interval)
    : ZelRequest(true), body(new ZelMap) {
  RAS1_FLOW();
  zelPut<std::string>(*body, kSituationKey, situation);
  zelPut<std::string>(*body, kTableKey, table);
  zelPut<int>(*body, kStartedKey, started ? 1 : 0);
  zelPut<int>(*body, kIntervalKey, static_cast<int>(interval));
  zelPut<bool>(*body, kHistoryKey, history);
  zelPut<bool>(*body, kAutomationKey, automation);
}

ZelReqSitStateChanged::~ZelReqSitStateChanged() = default;

ZelMsg* ZelReqSitStateChanged::createRegMsg() {
  RAS1_FLOW();
  return ras1Flow.result(
      new ZelMsg(ZelMsgId::kSitStateChanged, ZelMsg::Notification, body.release()));
}

void ZelReqSitStateChanged::onReply(const ZelMap& /*reply*/) {}
