#include "zelira.h"

#include <unicode/ustring.h>

#include <cstdio>
#include <cstring>

#include "agentfw/ras1.h"
#include "bridge/zelclient.h"
#include "zelending.h"
#include "zelguard.h"
#include "zelicu.h"
#include "zelread.h"
#include "zelreqsample.h"
#include "zelreqsitstate.h"
#include "zeltablemanager.h"

RAS1_UNIT("ZELIRA");

namespace {

constexpr int kInvalidColumnIndex = 0x21060007;

bool decide(int comparison, std::int32_t oper) {
  switch (oper & kIntfOperMask) {
    case kIntfEqual:
      return comparison == 0;
    case kIntfNotEqual:
      return comparison != 0;
    case kIntfGreaterOrEqual:
      return comparison >= 0;
    case kIntfLessOrEqual:
      return comparison <= 0;
    case kIntfLess:
      return comparison < 0;
    case kIntfGreater:
      return comparison > 0;
    default:
      return false;
  }
}

// Both texts are decoded into one object, whose buffer the second one takes over: what is compared
// is the threshold with itself. The framework, which knows this, compares text columns on its own.
int compareTexts(const char* value, const char* threshold, unsigned size) {
  ZelUniConverter* utf8 = ZelUniConverter::getInstance("UTF8");
  icu::UnicodeString text;
  utf8->toUnicode(text, value, size);
  const char16_t* first = text.getTerminatedBuffer();
  utf8->toUnicode(text, threshold, size);
  const char16_t* second = text.getTerminatedBuffer();
  // Null when memory ran out.
  return first == nullptr || second == nullptr ? 0 : u_strcmp(first, second);
}

}  // namespace

ZelIra::ZelIra(RequestDetail* detail, ContextInfo* context, TableManager* owner,
               const std::vector<ZelColumnInfo*>& tableColumns,
               const std::map<std::string, const ZelColumnInfo*>& index, unsigned rowBytes,
               unsigned allocRows)
    : vuira(detail, context, owner), columns(tableColumns), columnsByName(index) {
  RAS1_FLOW();
  RAS1_DETAIL("Table %s", manager->tableName);
  rowSize = rowBytes;
  allocSize = allocRows;
  if (situationName[0] != '\0') {
    ZelIra::onSitStateChanged(true);
  }
}

ZelIra::~ZelIra() {
  RAS1_FLOW();
  if (situationName[0] != '\0' && !zelIsEnding()) {
    ZelIra::onSitStateChanged(false);
  }
}

void ZelIra::TakeSample() {
  RAS1_FLOW();
  zelGuarded(ras1Entry, [this] { doTakeSample(); });
}

void ZelIra::doTakeSample() {
  RAS1_FLOW();
  const bool history = IsHistoryRequest() > 0;
  const std::vector<std::string> pending = serveFromCache(history);
  const std::vector<ZelFilterInfo> filters = collectFilters();
  ZelReqTakeSample request(manager->tableName, filters, pending, history, isAutomation(),
                           situationName);
  ZelClient::run(request, false);
  if (request.isAppExc()) {
    return;
  }

  const std::vector<std::string>& rows = request.getRows();
  putData(rows);
  if (RAS1_isOn(ras1Entry, kRas1Detail)) {
    PrintSelf();
  }
  const auto seconds = static_cast<unsigned>(request.getCacheInterval());
  for (const std::string& subnode : pending) {
    if (seconds != 0) {
      tableManager().cacheSamples(rows, subnode, seconds);
    } else {
      tableManager().deleteCachedSamples(subnode);
    }
  }
}

// Puts what the cache holds and returns the subnodes that it does not. History is never cached.
std::vector<std::string> ZelIra::serveFromCache(bool history) {
  RAS1_FUNCTION();
  std::vector<std::string> pending;
  for (const std::string& subnode : collectSubnodes()) {
    const std::vector<std::string>* rows =
        history ? nullptr : tableManager().getCachedSamples(subnode);
    if (rows == nullptr) {
      pending.push_back(subnode);
      continue;
    }
    RAS1_DETAIL("Returning %lu cached samples for %s@%s", rows->size(), manager->tableName,
                subnode.c_str());
    putData(*rows);
  }
  return pending;
}

std::vector<ZelFilterInfo> ZelIra::collectFilters() {
  std::vector<ZelFilterInfo> filters;
  const FLT1_FILTERINFO* record = nullptr;
  while (GetFilterInfo(&record) == 0 && record != nullptr) {
    filters.emplace_back(*record);
  }
  return filters;
}

std::vector<std::string> ZelIra::collectSubnodes() {
  std::vector<std::string> subnodes;
  ResetGetSubnode();
  for (const char* subnode = GetSubnode(); subnode != nullptr && *subnode != '\0';
       subnode = GetSubnode()) {
    subnodes.emplace_back(subnode);
  }
  return subnodes;
}

bool ZelIra::isAutomation() const {
  return definition != nullptr && std::strstr(definition, "AUTO(") != nullptr;
}

ZelTableManager& ZelIra::tableManager() const { return static_cast<ZelTableManager&>(*manager); }

int ZelIra::putData(const std::vector<std::string>& rows) {
  RAS1_FLOW();
  int rc = 0;
  for (const std::string& row : rows) {
    if (row.size() != rowSize) {
      RAS1_PRINT("WARN: invalid row size for %s - expected %u, got %lu", manager->tableName,
                 rowSize, row.size());
      continue;
    }
    RAS1_DUMP_IF(kRas1Detail, "Sample data", row.data(), row.size());
    char* const bytes = const_cast<char*>(row.data());  // the framework only reads it
    if (CheckForException(bytes) == 0) {
      RAS1_DETAIL("Sample of %s has been filtered out", manager->tableName);
      continue;
    }
    rc = InsertRow(bytes);
    if (rc != 0) {
      RAS1_PRINT("ERROR: failed to insert row into %s (rc %i)", manager->tableName, rc);
      break;
    }
  }
  tableManager().updateAllocPeak(static_cast<unsigned>(rows.size()));
  return ras1Flow.result(rc);
}

int ZelIra::NumColumns() {
  RAS1_FUNCTION();
  int count = 0;
  zelGuarded(ras1Entry, [&] { count = static_cast<int>(columns.size()); });
  return count;
}

int ZelIra::GetColumnInfo(ColumnInfo* out, int index) {
  RAS1_FUNCTION();
  int rc = 0;
  zelGuarded(ras1Entry, [&] {
    if (index < 0 || static_cast<std::size_t>(index) >= columns.size()) {
      RAS1_PRINT("ERROR: invalid column index %i for %s", index, manager->tableName);
      rc = kInvalidColumnIndex;
      return;
    }
    RAS1_DETAIL("ColumnInfo=%p, index=%i", static_cast<void*>(out), index);
    const ZelColumnInfo& column = *columns[static_cast<std::size_t>(index)];
    out->name = column.name.c_str();
    out->offset = static_cast<std::int16_t>(column.offset);
    out->size = static_cast<std::int16_t>(column.size);
    out->type = static_cast<std::int16_t>(column.dataType);
  });
  return rc;
}

int ZelIra::ColumnIsException(char* row, char* columnName, _IntfOper oper, char* threshold) {
  RAS1_FUNCTION();
  int result = 1;
  zelGuarded(ras1Entry, [&] {
    RAS1_PRINT_IF(kRas1Flow, "data=%p, column=%p, oper=%i, threshold=%p", static_cast<void*>(row),
                  static_cast<void*>(columnName), oper, static_cast<void*>(threshold));
    const auto found = columnsByName.find(columnName);
    if (found == columnsByName.end()) {
      return;
    }
    const ZelColumnInfo& column = *found->second;
    const char* value = row + column.offset;
    RAS1_DETAIL("Oper=%i Column=%s Offset=%i", oper, columnName, column.offset);
    RAS1_DUMP_IF(kRas1Detail, "Data", value, column.size);
    RAS1_DUMP_IF(kRas1Detail, "Threshold", threshold, column.size);
    switch (column.dataType) {
      case kIntfInt16:
        result = IsException(oper, zelRead<short>(value), threshold);
        break;
      case kIntfInt32:
        result = IsException(oper, static_cast<long>(zelRead<std::int32_t>(value)), threshold);
        break;
      case kIntfChars:
      case kIntfUtf8: {
        const int comparison = compareTexts(value, threshold, static_cast<unsigned>(column.size));
        result = decide(comparison, oper) ? 1 : 0;
        break;
      }
      default:
        RAS1_PRINT("WARN: unknown data type %i of %s@%s", column.dataType, columnName,
                   manager->tableName);
        break;
    }
  });
  return result;
}

void ZelIra::PrintSelf() {
  RAS1_FUNCTION();
  if (!RAS1_isOn(ras1Entry, kRas1Summary)) {
    return;
  }
  zelGuarded(ras1Entry, [&] {
    RAS1_PRINT("ZelIra @%p <%u,%u>\n", static_cast<void*>(this), requestId, handle);
    RAS1_PRINT("\t::appl=%s,table=%s,interval=%d,samptype=%d\n", manager->applicationId,
               manager->tableName, static_cast<int>(interval * 1000), sampleType);
    DumpThresholds();
    RAS1_PRINT("\t_data {\n");
    RAS1_PRINT("\t\tcount=%d, allocated=%d, allocSize=%d\n", static_cast<int>(rowCount),
               static_cast<int>(rowsAllocated), static_cast<int>(allocSize));
    for (std::uint32_t i = 0; i < rowCount; ++i) {
      printRow(rowBuffer + std::size_t{rowSize} * i);
    }
    RAS1_PRINT("}\n");
  });
}

void ZelIra::printRow(const char* row) {
  RAS1_FUNCTION();
  RAS1_PRINT("\t\t{\n");
  for (const ZelColumnInfo* column : columns) {
    const char* value = row + column->offset;
    const char* name = column->name.c_str();
    switch (column->dataType) {
      case kIntfInt32:
        RAS1_PRINT("\t\t%s=%d\n", name, zelRead<std::int32_t>(value));
        break;
      case kIntfInt64: {
        char digits[32];
        std::snprintf(digits, sizeof(digits), "%lli", zelRead<long long>(value));
        RAS1_PRINT("\t\t%s=%s\n", name, digits);
        break;
      }
      case kIntfInt16:
        RAS1_PRINT("\t\t%s=%d\n", name, zelRead<std::int16_t>(value));
        break;
      case kIntfChars:
        RAS1_PRINT("\t\t%s=\"%.*s\"\n", name, column->size, value);
        break;
      case kIntfUtf8:
        printUtf8(*column, value);
        break;
      default:
        break;
    }
  }
  RAS1_PRINT("\t\t}\n");
}

void ZelIra::printUtf8(const ZelColumnInfo& column, const char* value) {
  RAS1_FUNCTION();
  std::string encoded;
  if (zelUtf8ToDefault(encoded, value, static_cast<unsigned>(column.size))) {
    RAS1_PRINT("\t\t%s=\"%.*s\"\n", column.name.c_str(), static_cast<int>(encoded.size()),
               encoded.c_str());
  }
}

void ZelIra::onSitStateChanged(bool started) {
  RAS1_FLOW();
  zelGuarded(ras1Entry, [&] {
    const bool history = IsHistoryRequest() != 0;
    ZelReqSitStateChanged request(situationName, started, history, isAutomation(),
                                  manager->tableName, interval);
    ZelClient::run(request, false);
  });
  RAS1_PRINT("Situation %s %s", situationName, started ? "started" : "stopped");
}
