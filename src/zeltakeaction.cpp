#include <string>

#include "agentfw/ras1.h"
#include "agentfw/vuira.h"
#include "bridge/zelclient.h"
#include "zelagent.h"
#include "zelguard.h"
#include "zelicu.h"
#include "zelreqtakeaction.h"

RAS1_UNIT("ZELAGENT");

namespace {

constexpr int kNotRun = 7;
constexpr int kUtf8CodePage = 1;
constexpr const char* kNodeCommandTable = "CLACTRMT";  // commands sent to a node, not to a row
constexpr std::size_t kNodeNameLength = 32;

// The node that a row belongs to, with the padding that the row holds; empty when the table has no
// such column.
std::string nodeOfRow(const VuiraAutomationCapsule& capsule) {
  vuira& request = *capsule.owner;
  char originNode[] = "ORIGINNODE";
  ColumnInfo column;
  if (request.GetColumnInfoByName(&column, originNode) != 0) {
    return {};
  }
  const char* row =
      request.rowBuffer + static_cast<std::ptrdiff_t>(request.rowSize) * capsule.rowOrReturnCode;
  return std::string(row + column.offset, kNodeNameLength);
}

std::string addressedNode(vuira& request) {
  if (request.nodeText[0] != '\0') {
    return request.nodeText;
  }
  request.ResetGetSubnode();
  const char* subnode = request.GetSubnode();
  return subnode == nullptr ? std::string() : std::string(subnode);
}

std::string commandText(const VuiraAutomationCapsule& capsule) {
  std::string command = capsule.command;
  if (capsule.codePage == kUtf8CodePage) {
    zelUtf8ToDefault(command, command.data(), static_cast<unsigned>(command.size()));
  }
  return command;
}

}  // namespace

int ZelAgent::handleTakeAction(VuiraAutomationCapsule* capsule) {
  RAS1_FLOW();
  int result = kNotRun;
  zelGuarded(ras1Entry, [&] {
    vuira& owner = *capsule->owner;
    const std::string table = owner.manager->tableName;
    const std::string node =
        table == kNodeCommandTable ? addressedNode(owner) : nodeOfRow(*capsule);
    const std::string command = commandText(*capsule);
    RAS1_PRINT("<%s>", command.c_str());

    ZelReqTakeAction request(node, command);
    ZelClient::run(request, false);
    if (!request.isAppExc()) {
      std::string message = request.getMessage();
      capsule->SetMessage(message.data());
      capsule->rowOrReturnCode = request.getReturnCode();
      owner.FinishedAutomationCommand(capsule);
      result = 0;
    }
  });
  return ras1Flow.result(result);
}
