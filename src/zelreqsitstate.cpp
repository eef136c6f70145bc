#include "zelreqsitstate.h"

#include "agentfw/ras1.h"
#include "bridge/zelbuild.h"
#include "bridge/zelkeys.h"

RAS1_UNIT("ZELREQSITSTATE");

ZelReqSitStateChanged::ZelReqSitStateChanged(const char* situation, bool started, bool history,
                                             bool automation, const char* table,
                                             unsigned int interval)
    : ZelRequest(true), body(new ZelMap) {
  RAS1_FLOW();
  zelPut<std::string>(*body, ZelKey::SituationState::kSituation, situation);
  zelPut<std::string>(*body, ZelKey::SituationState::kTable, table);
  zelPut<int>(*body, ZelKey::SituationState::kStarted, started ? 1 : 0);
  zelPut<int>(*body, ZelKey::SituationState::kInterval, static_cast<int>(interval));
  zelPut<bool>(*body, ZelKey::SituationState::kHistory, history);
  zelPut<bool>(*body, ZelKey::SituationState::kAutomation, automation);
}

ZelReqSitStateChanged::~ZelReqSitStateChanged() = default;

ZelMsg* ZelReqSitStateChanged::createRegMsg() {
  RAS1_FLOW();
  return ras1Flow.result(
      new ZelMsg(ZelRequestCode::kSituationStateChanged, ZelMsg::Notification, body.release()));
}

void ZelReqSitStateChanged::onReply(const ZelMap& /*reply*/) {}
