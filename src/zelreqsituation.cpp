#include "zelreqsituation.h"

#include "agentfw/ras1.h"
#include "bridge/zelbuild.h"
#include "bridge/zelkeys.h"
#include "zelsamplebody.h"

RAS1_UNIT("ZELREQSITUATION");

ZelReqSituation::ZelReqSituation(const char* table, const std::vector<ZelFilterInfo>& filters,
                                 const std::vector<std::string>& subnodes, bool history,
                                 bool automation, const char* situation, unsigned int interval,
                                 bool start)
    : ZelRequest(false) {
  RAS1_FLOW();
  body = zelSampleBody({table, filters, subnodes, history, automation, situation}, true);
  zelPut<int>(*body, ZelKey::Situation::kInterval, static_cast<int>(interval));
  zelPut<bool>(*body, ZelKey::Situation::kStart, start);
}

ZelReqSituation::~ZelReqSituation() = default;

ZelMsg* ZelReqSituation::createRegMsg() {
  RAS1_FLOW();
  return ras1Flow.result(new ZelMsg(ZelRequestCode::kSituation, ZelMsg::Request, body.release()));
}

void ZelReqSituation::onReply(const ZelMap& reply) {
  RAS1_FLOW();
  zelReadRows(reply.get(ZelKey::SituationReply::kRows).toList(), rows);
}
