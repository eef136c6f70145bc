// Tables, request objects and commands of the fake framework.

#include <cstring>

#include "agentfw/vuira.h"
#include "support/fake_framework.h"

using fake::Framework;

struct VuiraState {
  RequestDetail detail;
  std::size_t nextSubnode = 0;
  std::size_t nextFilter = 0;
  fake::RequestRecord record;
  std::string buffer;

  static VuiraState& of(vuira& request) { return *request.state; }
};

struct CapsuleState {};

fake::RequestRecord& fake::recordOf(vuira& request) { return VuiraState::of(request).record; }

namespace {

void copyName(char* target, const char* source, std::size_t capacity) {
  std::strncpy(target, source, capacity);
  target[capacity] = '\0';
}

}  // namespace

TableManager::TableManager(const char* application, const char* table) {
  copyName(applicationId, application, kMaxName);
  copyName(tableName, table, kMaxName);
}

TableManager::~TableManager() = default;

void TableManager::Shutdown(unsigned long /*timeoutMs*/) {}

unsigned TableManager::RegisterWithManager() {
  return static_cast<unsigned>(Framework::get().call("RegisterWithManager", tableName));
}

vuira::vuira(RequestDetail* detail, ContextInfo* /*context*/, TableManager* owner)
    : manager(owner),
      definition(nullptr),
      interval(detail->interval),
      sampleType(detail->sampleType),
      requestId(77),
      handle(4711),
      rowSize(0),
      allocSize(0),
      rowCount(0),
      rowsAllocated(0),
      rowBuffer(nullptr),
      state(new VuiraState{*detail, 0, 0, {}, {}}) {
  copyName(situationName, detail->situationName.c_str(), kMaxSituationName);
  copyName(nodeText, detail->nodeText.c_str(), kMaxNodeName);
  if (state->detail.hasDefinition) {
    definition = state->detail.definition.c_str();
  }
}

vuira::~vuira() { delete state; }

void vuira::PrintSelf() {}
void vuira::TakeSample() {}
int vuira::NumColumns() { return 0; }
int vuira::GetColumnInfo(ColumnInfo* /*out*/, int /*index*/) { return 1; }
int vuira::ExecuteCommand(char* /*command*/, int /*codePage*/, char* /*message*/) { return 1; }

int vuira::InsertRow(char* row) {
  const std::string bytes(row, rowSize);
  if (const auto& insert = Framework::get().insertRow; insert) {
    const int rc = insert(bytes);
    if (rc != 0) {
      return rc;
    }
  }
  if (rowCount == 0) {
    state->buffer.clear();
  }
  state->record.rows.push_back(bytes);
  state->buffer += bytes;
  rowBuffer = state->buffer.data();
  ++rowCount;
  rowsAllocated = rowCount;
  return 0;
}

int vuira::CheckForException(char* row) {
  const auto& check = Framework::get().checkForException;
  return check == nullptr || check(std::string(row, rowSize)) ? 1 : 0;
}

int vuira::ColumnIsException(char* /*row*/, char* /*columnName*/, _IntfOper /*oper*/,
                             char* /*threshold*/) {
  return 0;
}

int vuira::CommandCompleted(VuiraAutomationCapsule* /*capsule*/) { return 0; }

int vuira::IsHistoryRequest() { return state->detail.history; }

void vuira::ResetGetSubnode() {
  Framework::get().call("ResetGetSubnode");
  state->nextSubnode = 0;
}

const char* vuira::GetSubnode() {
  const auto& subnodes = state->detail.subnodes;
  return state->nextSubnode < subnodes.size() ? subnodes[state->nextSubnode++].c_str() : nullptr;
}

int vuira::GetFilterInfo(const FLT1_FILTERINFO** filter) {
  const auto& filters = state->detail.filters;
  if (const int rc = Framework::get().call("GetFilterInfo"); rc != 0) {
    return rc;
  }
  *filter = state->nextFilter < filters.size() ? &filters[state->nextFilter++] : nullptr;
  if (*filter == nullptr) {
    state->nextFilter = 0;
  }
  return 0;
}

int vuira::IsException(_IntfOper oper, long value, char* /*threshold*/) {
  Framework::get().call("IsException(long)", oper, value);
  return Framework::get().isException;
}

int vuira::IsException(_IntfOper oper, short value, char* /*threshold*/) {
  Framework::get().call("IsException(short)", oper, value);
  return Framework::get().isException;
}

void vuira::DumpThresholds() { Framework::get().call("DumpThresholds"); }

int vuira::GetColumnInfoByName(ColumnInfo* out, char* name) {
  Framework::get().call("GetColumnInfoByName", name);
  for (int i = 0; i < NumColumns(); ++i) {
    if (GetColumnInfo(out, i) == 0 && std::strcmp(out->name, name) == 0) {
      return 0;
    }
  }
  return 1;
}

int vuira::UseHandle(RES1_Handle use) { return Framework::get().call("UseHandle", use); }

int vuira::Dispatch() {
  for (std::uint32_t i = 0; i < rowCount; ++i) {
    state->record.dispatched.emplace_back(rowBuffer + std::size_t{rowSize} * i, rowSize);
  }
  return Framework::get().call("Dispatch", rowCount);
}

int vuira::FinishedAutomationCommand(VuiraAutomationCapsule* capsule) {
  return Framework::get().call("FinishedAutomationCommand", capsule->rowOrReturnCode);
}

VuiraAutomationCapsule::VuiraAutomationCapsule()
    : owner(nullptr), command(""), codePage(0), rowOrReturnCode(0), state(nullptr) {}

VuiraAutomationCapsule::~VuiraAutomationCapsule() = default;

void VuiraAutomationCapsule::SetMessage(char* message) {
  Framework::get().call("SetMessage", message);
}
