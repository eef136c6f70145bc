#include "zelntfsampleemit.h"

#include <string>
#include <vector>

#include "agentfw/ras1.h"
#include "bridge/zelkeys.h"
#include "zelagent.h"
#include "zelsamplebody.h"
#include "zeltablemanager.h"

RAS1_UNIT("ZELNTFSAMPLEEMIT");

bool ZelSampleEmitHandler::onNotify(const ZelMsg& msg) {
  RAS1_FLOW();
  const ZelMap& body = msg.bodyMap();
  const std::string& table = body.get(ZelKey::Events::kTable).toString();
  const auto manager = ZelAgent::s_managers.find(table);
  if (manager == ZelAgent::s_managers.end()) {
    RAS1_PRINT("ERROR: cannot find manager for table %s", table.c_str());
    return ras1Flow.result(false);
  }
  std::vector<std::string> rows;
  zelReadRows(body.get(ZelKey::Events::kRows).toList(), rows);
  const int rc = manager->second->emitEvents(rows);
  if (rc != 0) {
    RAS1_PRINT("ERROR [%i]: failed to emit events for table %s", rc, table.c_str());
  }
  return ras1Flow.result(rc == 0);
}

int ZelSampleEmitHandler::getType() const { return ZelNotificationCode::kEvents; }
