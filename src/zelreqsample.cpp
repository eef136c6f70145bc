#include "zelreqsample.h"

#include "agentfw/ras1.h"
#include "bridge/zelkeys.h"
#include "zelsamplebody.h"

RAS1_UNIT("ZELREQSAMPLE");

ZelReqTakeSample::ZelReqTakeSample(const char* table, const std::vector<ZelFilterInfo>& filters,
                                   const std::vector<std::string>& subnodes, bool history,
                                   bool automation, const char* situation)
    : ZelRequest(false) {
  RAS1_FLOW();
  body = zelSampleBody({table, filters, subnodes, history, automation, situation}, false);
}

ZelReqTakeSample::~ZelReqTakeSample() = default;

ZelMsg* ZelReqTakeSample::createRegMsg() {
  RAS1_FLOW();
  return ras1Flow.result(new ZelMsg(ZelRequestCode::kTakeSample, ZelMsg::Request, body.release()));
}

void ZelReqTakeSample::onReply(const ZelMap& reply) {
  RAS1_FLOW();
  zelReadRows(reply.get(ZelKey::SampleReply::kRows).toList(), rows);
  const int seconds = reply.get(ZelKey::SampleReply::kCacheSeconds).toInt();
  if (seconds > 0) {
    cacheInterval = seconds;
  }
}
