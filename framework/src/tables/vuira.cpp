#include "agentfw/vuira.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#include "agentfw/ras1.h"
#include "basic/handle_table.h"
#include "basic/utf8.h"
#include "tables/capsule_state.h"
#include "tables/status.h"
#include "tables/vuira_state.h"

RAS1_UNIT("VUIRA");

namespace {

template <std::size_t N>
void copyText(char (&target)[N], const std::string& source) {
  const std::string_view fits = fw::cutUtf8(source, N - 1);
  std::memcpy(target, fits.data(), fits.size());
  std::memset(target + fits.size(), '\0', N - fits.size());
}

FLT1_FILTERINFO recordOf(const fw::Filter& filter) {
  FLT1_FILTERINFO record{};
  record.version = 200;
  record.compareOperator = kIntfEqual;
  record.columnName = filter.column.c_str();
  record.dataType = filter.type;
  record.dataSize = static_cast<std::int16_t>(filter.value.size());
  record.value = filter.value.data();
  return record;
}

/// Makes room for one more row; an error code when there can't be.
int grow(vuira& object, std::uint32_t rowLimit) {
  const std::uint64_t wanted = object.rowsAllocated == 0
                                   ? std::max<std::uint64_t>(object.allocSize, 1)
                                   : std::uint64_t{object.rowsAllocated} * 2;
  const auto rows = static_cast<std::uint32_t>(std::min<std::uint64_t>(wanted, rowLimit));
  void* const bytes = std::realloc(object.rowBuffer, std::size_t{rows} * object.rowSize);
  if (bytes == nullptr) {
    return fw::kRcNoMemory;
  }
  object.rowBuffer = static_cast<char*>(bytes);
  object.rowsAllocated = rows;
  return fw::kRcOk;
}

bool hasCommand(const vuira& object, VuiraAutomationCapsule* capsule) {
  return capsule != nullptr && capsule->owner == &object && CapsuleState::of(*capsule).onItsWay;
}

}  // namespace

VuiraState::VuiraState(RequestDetail request) : detail(std::move(request)) {
  std::transform(detail.filters.begin(), detail.filters.end(), std::back_inserter(filterRecords),
                 recordOf);
}

void VuiraState::beginCallback(vuira& object) {
  VuiraState& state = of(object);
  state.nextFilter = 0;
  state.nextSubnode = 0;
  state.rowsLost = 0;
  state.hasSeenRows = false;
  object.rowCount = 0;
}

fw::RowBlock VuiraState::takeRows(vuira& object) {
  const std::size_t used = std::size_t{object.rowCount} * object.rowSize;
  char* bytes = object.rowBuffer;
  if (used == 0) {
    std::free(bytes);
    bytes = nullptr;
  }
  // Samples are kept for a while, so the excess of the buffer is given back now.
  if (object.rowCount > 0 && object.rowCount < object.rowsAllocated) {
    if (void* const fitting = std::realloc(bytes, used); fitting != nullptr) {
      bytes = static_cast<char*>(fitting);
    }
  }
  fw::RowBlock rows(fw::RowBlock::Bytes(bytes), object.rowSize, object.rowCount);
  object.rowBuffer = nullptr;
  object.rowsAllocated = 0;
  object.rowCount = 0;
  return rows;
}

vuira::vuira(RequestDetail* detail, ContextInfo* context, TableManager* owner)
    : manager(owner),
      definition(nullptr),
      interval(0),
      sampleType(0),
      requestId(0),
      handle(0),
      rowSize(0),
      allocSize(0),
      rowCount(0),
      rowsAllocated(0),
      rowBuffer(nullptr),
      state(new VuiraState(detail == nullptr ? RequestDetail() : *detail)) {
  const RequestDetail& request = state->detail;
  copyText(situationName, request.situation);
  copyText(nodeText, context == nullptr ? std::string() : context->node);
  definition = request.definition ? request.definition->c_str() : nullptr;
  interval = request.interval;
  sampleType = request.sampleType;
  requestId = request.requestId;
  handle = fw::HandleTable::instance().add();
}

vuira::~vuira() {
  fw::HandleTable::instance().remove(handle);
  std::free(rowBuffer);
  delete state;
}

void vuira::PrintSelf() {
  RAS1_FUNCTION();
  RAS1_PRINT_IF(kRas1Summary, "request %u <%u> of table %s: %u rows, %u allocated", requestId,
                handle, manager->tableName, rowCount, rowsAllocated);
}

void vuira::TakeSample() {}

int vuira::NumColumns() { return 0; }

int vuira::GetColumnInfo(ColumnInfo* /*out*/, int /*index*/) { return fw::kRcNoColumn; }

int vuira::ExecuteCommand(char* /*command*/, int /*codePage*/, char* /*message*/) {
  return fw::kRcNotAvailable;
}

int vuira::InsertRow(char* row) {
  RAS1_FUNCTION();
  if (row == nullptr) {
    return fw::kRcBadArgument;
  }
  if (rowSize == 0) {
    return fw::kRcNoRowSize;
  }
  state->hasSeenRows = true;
  const std::uint32_t rowLimit = state->detail.rowLimit;
  if (rowCount >= rowLimit) {
    if (++state->rowsLost == 1) {
      RAS1_PRINT("ERROR: a sample of %s has more than %u rows; the rest is lost",
                 manager->tableName, rowLimit);
    }
    return fw::kRcRowLimit;
  }
  if (rowCount == rowsAllocated) {
    if (const int rc = grow(*this, rowLimit); rc != fw::kRcOk) {
      ++state->rowsLost;
      RAS1_PRINT("ERROR: no memory for more than %u rows of %s (rc %i)", rowCount,
                 manager->tableName, rc);
      return rc;
    }
  }
  std::memcpy(rowBuffer + std::size_t{rowSize} * rowCount, row, rowSize);
  ++rowCount;
  return fw::kRcOk;
}

int vuira::CheckForException(char* row) {
  state->hasSeenRows = true;
  for (const fw::Condition& condition : state->detail.thresholds) {
    const fw::Column& column = condition.column();
    if (!condition.hasValue(row)) {
      return 0;
    }
    const bool asked = column.type == fw::ColumnType::Int16 || column.type == fw::ColumnType::Int32;
    // The object is asked for small integers only: it does not decide texts and 64-bit numbers.
    const bool holds =
        asked ? ColumnIsException(row, const_cast<char*>(column.name.c_str()), condition.oper(),
                                  const_cast<char*>(condition.threshold().data())) != 0
              : condition.holds(row);
    if (!holds) {
      return 0;
    }
  }
  return 1;
}

int vuira::ColumnIsException(char* row, char* columnName, _IntfOper oper, char* threshold) {
  ColumnInfo column{};
  if (GetColumnInfoByName(&column, columnName) != fw::kRcOk) {
    return 0;
  }
  const char* const bytes = row + column.offset;
  if (column.type == kIntfInt32) {
    std::int32_t value;
    std::memcpy(&value, bytes, sizeof value);
    return IsException(oper, long{value}, threshold);
  }
  if (column.type == kIntfInt16) {
    std::int16_t value;
    std::memcpy(&value, bytes, sizeof value);
    return IsException(oper, value, threshold);
  }
  return 0;
}

int vuira::CommandCompleted(VuiraAutomationCapsule* capsule) {
  if (!hasCommand(*this, capsule)) {
    return fw::kRcNotAvailable;
  }
  CapsuleState::complete(*capsule);
  return fw::kRcOk;
}

int vuira::IsHistoryRequest() { return state->detail.kind == fw::RequestKind::History ? 1 : 0; }

void vuira::ResetGetSubnode() { state->nextSubnode = 0; }

const char* vuira::GetSubnode() {
  const auto& subnodes = state->detail.subnodes;
  return state->nextSubnode < subnodes.size() ? subnodes[state->nextSubnode++].c_str() : nullptr;
}

int vuira::GetFilterInfo(const FLT1_FILTERINFO** filter) {
  if (filter == nullptr) {
    return fw::kRcBadArgument;
  }
  if (state->nextFilter < state->filterRecords.size()) {
    *filter = &state->filterRecords[state->nextFilter++];
  } else {
    *filter = nullptr;
    state->nextFilter = 0;
  }
  return fw::kRcOk;
}

int vuira::IsException(_IntfOper oper, long value, char* threshold) {
  return fw::numberSatisfies(oper, static_cast<std::int32_t>(value), threshold) ? 1 : 0;
}

int vuira::IsException(_IntfOper oper, short value, char* threshold) {
  return fw::numberSatisfies(oper, value, threshold) ? 1 : 0;
}

void vuira::DumpThresholds() {
  RAS1_FUNCTION();
  for (const fw::Condition& condition : state->detail.thresholds) {
    RAS1_PRINT("\tthreshold: column=%s, oper=%i", condition.column().name.c_str(),
               static_cast<int>(condition.oper()));
    RAS1_DUMP_IF(kRas1Detail, "Threshold", condition.threshold().data(),
                 condition.threshold().size());
  }
}

int vuira::GetColumnInfoByName(ColumnInfo* out, char* name) {
  if (out == nullptr || name == nullptr) {
    return fw::kRcBadArgument;
  }
  const int count = NumColumns();
  for (int index = 0; index < count; ++index) {
    ColumnInfo column{};
    if (GetColumnInfo(&column, index) == fw::kRcOk && std::strcmp(column.name, name) == 0) {
      *out = column;
      return fw::kRcOk;
    }
  }
  return fw::kRcNoColumn;
}

int vuira::UseHandle(RES1_Handle use) {
  return fw::HandleTable::instance().use(use) == 0 ? fw::kRcOk : fw::kRcBadHandle;
}

int vuira::Dispatch() {
  fw::RowSink* const sink = state->detail.sink.get();
  if (sink == nullptr) {
    return fw::kRcNotAvailable;
  }
  const std::uint64_t lost = std::exchange(state->rowsLost, 0);
  try {
    sink->take(VuiraState::takeRows(*this), lost);
    return fw::kRcOk;
  } catch (const std::bad_alloc&) {
    return fw::kRcNoMemory;
  }
}

int vuira::FinishedAutomationCommand(VuiraAutomationCapsule* capsule) {
  return hasCommand(*this, capsule) ? CommandCompleted(capsule) : int{fw::kRcNotAvailable};
}
