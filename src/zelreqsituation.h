#pragma once

#include <memory>
#include <string>
#include <vector>

#include "bridge/zelreq.h"
#include "zelfinfo.h"

/// Arms or disarms a situation on a table whose rows are pushed.
///
/// The body is built at once and handed over by createRegMsg(): a second message would have none.
class ZelReqSituation : public ZelRequest {
 public:
  /// The texts and vectors are copied. `interval` is in seconds; `start` is false to disarm.
  ZelReqSituation(const char* table, const std::vector<ZelFilterInfo>& filters,
                  const std::vector<std::string>& subnodes, bool history, bool automation,
                  const char* situation, unsigned int interval, bool start);

  ZelMsg* createRegMsg() override;
  void onReply(const ZelMap& reply) override;
  ~ZelReqSituation() override;

  /// The binary rows of the reply, in its order.
  const std::vector<std::string>& getRows() const { return rows; }

 private:
  std::unique_ptr<ZelMap> body;
  std::vector<std::string> rows;
};
