#include "zelreqinit.h"

#include <memory>
#include <vector>

#include "agentfw/ras1.h"
#include "bridge/zelbuild.h"
#include "bridge/zelkeys.h"
#include "zelagent.h"
#include "zelfinfo.h"

RAS1_UNIT("ZELREQINIT");

namespace {

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
  const std::string& name = column.get(ZelKey::TableColumn::kName).toString();
  const auto type = static_cast<IntfDtype>(column.get(ZelKey::TableColumn::kType).toInt());
  const int size = column.get(ZelKey::TableColumn::kSize).toInt();
  const int offset = column.get(ZelKey::TableColumn::kOffset).toInt();
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
  zelPut<std::string>(*body, ZelKey::Init::kProductCode, ZelAgent::s_prodCode);
  zelPut<std::string>(*body, ZelKey::Init::kInstance, ZelAgent::s_instId);
  zelPut<std::string>(*body, ZelKey::Init::kHostName, hostName);
  zelPut<bool>(*body, ZelKey::Init::kFlag, false);
  return ras1Flow.result(new ZelMsg(ZelRequestCode::kInit, ZelMsg::Request, body.release()));
}

void ZelReqInit::onReply(const ZelMap& reply) {
  RAS1_FLOW();
  replyHostName = reply.get(ZelKey::InitReply::kHostName).toString();
  replyAffinity = reply.get(ZelKey::InitReply::kAgentAffinity).toString();
  replyVersionAffinity = reply.get(ZelKey::InitReply::kVersionAffinity).toString();
  replyText = reply.get(ZelKey::InitReply::kToolkit).toString();
  for (const ZelData* table : reply.get(ZelKey::InitReply::kTables).toList().items) {
    addTable(zelElement(table).toMap());
  }
}

void ZelReqInit::addTable(const ZelMap& table) {
  Columns columns(new std::vector<ZelColumnInfo*>);
  for (const ZelData* element : table.get(ZelKey::Table::kColumns).toList().items) {
    std::unique_ptr<ZelColumnInfo> column = readColumn(zelElement(element).toMap());
    columns->push_back(column.get());
    static_cast<void>(column.release());
  }
  const std::string& name = table.get(ZelKey::Table::kName).toString();
  const bool sitTrap = table.get(ZelKey::Table::kSituationTrap).toBool();
  ZelTableManager* manager =
      ZelAgent::getInstance()->createTableManager(name.c_str(), columns.release(), sitTrap);
  managers[name] = manager;
}
