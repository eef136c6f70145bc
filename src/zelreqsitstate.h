#pragma once

#include <memory>

#include "bridge/zelreq.h"

/// Tells the Java application, one way, that a situation has started or stopped.
///
/// The body is built at once and handed over by createRegMsg(): a second message would have none.
class ZelReqSitStateChanged : public ZelRequest {
 public:
  /// The texts are copied. `interval` is in seconds.
  ZelReqSitStateChanged(const char* situation, bool started, bool history, bool automation,
                        const char* table, unsigned int interval);

  ZelMsg* createRegMsg() override;
  void onReply(const ZelMap& reply) override;
  ~ZelReqSitStateChanged() override;

 private:
  std::unique_ptr<ZelMap> body;
};
