#include "zelsittrap.h"

#include "agentfw/ras1.h"
#include "bridge/zelclient.h"
#include "zelguard.h"
#include "zelreqsituation.h"

RAS1_UNIT("ZELSITTRAP");

ZelSitTrap::ZelSitTrap(RequestDetail* detail, ContextInfo* context, TableManager* owner,
                       const std::vector<ZelColumnInfo*>& tableColumns,
                       const std::map<std::string, const ZelColumnInfo*>& index, unsigned rowBytes,
                       unsigned allocRows)
    : ZelIra(detail, context, owner, tableColumns, index, rowBytes, allocRows) {
  RAS1_FLOW();
  RAS1_PRINT("Can send start trap situation");
  Situation(true);
}

ZelSitTrap::~ZelSitTrap() {
  RAS1_FLOW();
  if (RAS1_isOn(ras1Entry, kRas1Detail)) {
    RAS1_PRINT("Can send stop trap situation");
    Situation(false);
    RAS1_PRINT("Destructor. Table %s", manager->tableName);
  }
}

void ZelSitTrap::Situation(bool start) {
  RAS1_FLOW();
  zelGuarded(ras1Entry, [&] { doSituation(start); });
}

void ZelSitTrap::doSituation(bool start) {
  RAS1_FLOW();
  const std::vector<ZelFilterInfo> filters = collectFilters();
  const std::vector<std::string> subnodes = collectSubnodes();
  const bool history = IsHistoryRequest() != 0;
  ZelReqSituation request(manager->tableName, filters, subnodes, history, isAutomation(),
                          situationName, interval, start);
  ZelClient::run(request, false);
}

ZelSitTrapManager::ZelSitTrapManager(const char* application, const char* table,
                                     std::vector<ZelColumnInfo*>* tableColumns)
    : ZelTableManager(application, table, tableColumns) {
  RAS1_FLOW();
}

ZelSitTrapManager::~ZelSitTrapManager() { RAS1_FLOW(); }

vuira* ZelSitTrapManager::createIra(RequestDetail* detail, ContextInfo* context) {
  RAS1_FLOW();
  return ras1Flow.result(
      new ZelSitTrap(detail, context, this, *columns, columnsByName, rowSize, allocPeak.load()));
}
