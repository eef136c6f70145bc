#include "zelreqinit.h"

#include <memory>
#include <vector>

#include "agentfw/ras1.h"
#include "bridge/zelbuild.h"
#include "zelagent.h"
#include "zelfinfo.h"

RAS1_UNIT("ZELREQINIT");

namespace {

// Keys of the request.
constexpr int kProductKey = 0;
constexpr int kFlagKey = 2;
constexpr int kInstanceKey = 3;
constexpr int kHostNameKey = 5;

// Keys of the reply.
constexpr int kTextKey = 1;
constexpr int kVersionAffinityKey = 4;
constexpr int kReplyHostNameKey = 5;
constexpr int kAffinityKey = 6;
constexpr int kTablesKey = 8;

// Keys of a table.
constexpr int kTableNameKey = 7;
constexpr int kColumnsKey = 9;
constexpr int kSitTrapKey = 15;

// Keys of a column.
constexpr int kColumnNameKey = 10;
constexpr int kColumnTypeKey = 11;
constexpr int kColumnSizeKey = 12;
constexpr int kColumnOffsetKey = 13;

struct ColumnsDeleter {
  void operator()(std::vector<ZelColumnInfo*>* columns) const {
    for (const ZelColumnInfo* column : *columns) {
      delete column;
    }
    delete columns;
  }
};
using Columns = std::unique_ptr<std::vector<ZelColumnInfo*>, ColumnsDeleter>;

std::unique_ptr<ZelColumnInfo> readColumn(const ZelMap& column) {
  const std::string& name = column.get(kColumnNameKey).toString();
  const auto type = static_cast<IntfDtype>(column.get(kColumnTypeKey).toInt());
  const int size = column.get(kColumnSizeKey).toInt();
  const int offset = column.get(kColumnOffsetKey).toInt();
  return std::make_unique<ZelColumnInfo>(name, type, size, offset);
}

}  // namespace

ZelReqInit::ZelReqInit(const std::string& agentHostName,
                       std::map<std::string, ZelTableManager*>& tables)
    : ZelRequest(false), hostName(agentHostName), managers(tables) {}

ZelReqInit::~ZelReqInit() = default;

ZelMsg* ZelReqInit::createRegMsg() {
  RAS1_FLOW();
  auto body = std::make_unique<ZelMap>();
  zelPut<std::string>(*body, kProductKey, ZelAgent::s_prodCode);
  zelPut<std::string>(*body, kInstanceKey, ZelAgent::s_instId);
  zelPut<std::string>(*body, kHostNameKey, hostName);
  zelPut<bool>(*body, kFlagKey, false);
  return ras1Flow.result(new ZelMsg(ZelMsgId::kInit, ZelMsg::Request, body.release()));
}

void ZelReqInit::onReply(const ZelMap& reply) {
  RAS1_FLOW();
  replyHostName = reply.get(kReplyHostNameKey).toString();
  replyAffinity = reply.get(kAffinityKey).toString();
  replyVersionAffinity = reply.get(kVersionAffinityKey).toString();
  replyText = reply.get(kTextKey).toString();
  for (const ZelData* table : reply.get(kTablesKey).toList().items) {
    addTable(zelElement(table).toMap());
  }
}

void ZelReqInit::addTable(const ZelMap& table) {
  Columns columns(new std::vector<ZelColumnInfo*>);
  for (const ZelData* element : table.get(kColumnsKey).toList().items) {
    std::unique_ptr<ZelColumnInfo> column = readColumn(zelElement(element).toMap());
    columns->push_back(column.get());
    static_cast<void>(column.release());
  }
  const std::string& name = table.get(kTableNameKey).toString();
  const bool sitTrap = table.get(kSitTrapKey).toBool();
  ZelTableManager* manager =
      ZelAgent::getInstance()->createTableManager(name.c_str(), columns.release(), sitTrap);
  managers[name] = manager;
}
