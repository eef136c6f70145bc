#pragma once

#include <memory>
#include <string>
#include <vector>

#include "bridge/zelreq.h"
#include "zelfinfo.h"

/// Asks for the current rows of one table.
///
/// The body is built at once and handed over by createRegMsg(): a second message would have none.
class ZelReqTakeSample : public ZelRequest {
 public:
  /// The texts and vectors are copied.
  ZelReqTakeSample(const char* table, const std::vector<ZelFilterInfo>& filters,
                   const std::vector<std::string>& subnodes, bool history, bool automation,
                   const char* situation);

  ZelMsg* createRegMsg() override;
  void onReply(const ZelMap& reply) override;
  ~ZelReqTakeSample() override;

  /// The binary rows of the reply, in its order.
  const std::vector<std::string>& getRows() const { return rows; }

  /// How many seconds the rows may be served again; 0: not at all.
  int getCacheInterval() const { return cacheInterval; }

 private:
  int cacheInterval = 0;
  std::unique_ptr<ZelMap> body;
  std::vector<std::string> rows;
};
