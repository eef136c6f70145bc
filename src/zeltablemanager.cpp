#include "zeltablemanager.h"

#include <algorithm>

#include "agentfw/ras1.h"
#include "zelguard.h"
#include "zelira.h"
#include "zeltime.h"

RAS1_UNIT("ZELIRA");

namespace {

constexpr unsigned kLargestAllocPeak = 100;

// An entry that lies further ahead was made before the clock was set back.
constexpr std::time_t kLongestTrustedSeconds = 1000;

/// Keeps a request object from being deleted during a delivery, and leaves its buffer empty.
class Delivery {
 public:
  explicit Delivery(vuira& receiver) : request(receiver) { request.UseHandle(request.handle); }
  Delivery(const Delivery&) = delete;
  Delivery& operator=(const Delivery&) = delete;
  ~Delivery() {
    request.rowCount = 0;
    RES1_Drop(request.handle);
  }

 private:
  vuira& request;
};

}  // namespace

ZelTableManager::ZelTableManager(const char* application, const char* table,
                                 std::vector<ZelColumnInfo*>* tableColumns)
    : TableManager(application, table), rowSize(0), allocPeak(1), columns(tableColumns) {
  RAS1_FLOW();
  RAS1_DETAIL("App ID: %s, Table: %s", application, table);
  for (const ZelColumnInfo* column : *columns) {
    rowSize += static_cast<std::uint32_t>(column->size);
    columnsByName.insert({column->name, column});
  }
  RAS1_DETAIL("row size: %u", rowSize);
}

ZelTableManager::~ZelTableManager() {
  RAS1_FLOW();
  for (const ZelColumnInfo* column : *columns) {
    delete column;
  }
  columns.reset();
}

vuira* ZelTableManager::CreateCtira(RequestDetail* detail, ContextInfo* context) {
  RAS1_FLOW();
  vuira* request = nullptr;
  zelGuarded(ras1Entry, [&] { request = createIra(detail, context); });
  return ras1Flow.result(request);
}

vuira* ZelTableManager::createIra(RequestDetail* detail, ContextInfo* context) {
  RAS1_FLOW();
  return ras1Flow.result(
      new ZelIra(detail, context, this, *columns, columnsByName, rowSize, allocPeak.load()));
}

unsigned ZelTableManager::registration() {
  RAS1_FLOW();
  unsigned rc = 0;
  zelGuarded(ras1Entry, [&] {
    rc = RegisterWithManager();
    if (rc == 0 && RAS1_isOn(ras1Entry, kRas1Detail)) {
      RAS1_PRINT("Registered table manager for %s.%s", applicationId, tableName);
      for (const ZelColumnInfo* column : *columns) {
        RAS1_PRINT("\nname=%s\ntype=%d\nlength=%d\noffset=%d", column->name.c_str(),
                   column->dataType, column->size, column->offset);
      }
    }
  });
  return ras1Flow.result(rc);
}

int ZelTableManager::emitEvents(const std::vector<std::string>& events) {
  RAS1_FLOW();
  int result = 0;
  zelGuarded(ras1Entry, [&] {
    const BSS1_LockGuard lock(listLock);
    VuiraListIter openRequests(requests);
    while (vuira* request = openRequests.Next()) {
      deliver(*request, events, result);
    }
  });
  return ras1Flow.result(result);
}

void ZelTableManager::deliver(vuira& request, const std::vector<std::string>& events, int& result) {
  RAS1_FUNCTION();
  int rc = 0;
  {
    const Delivery delivery(request);
    static_cast<ZelIra&>(request).putData(events);
    if (RAS1_isOn(ras1Entry, kRas1Detail)) {
      request.PrintSelf();
    }
    rc = request.Dispatch();
    if (rc != 0) {
      RAS1_PRINT("WARN: Dispatch() failed for %s (rc %i)", tableName, rc);
      result = rc;
    }
  }
  if (rc == 0) {
    RAS1_PRINT_IF(kRas1Summary, "Emitted %lu events of %s", events.size(), tableName);
  }
}

const std::vector<std::string>* ZelTableManager::getCachedSamples(const std::string& subnode) {
  RAS1_FLOW();
  ZelAutoMutex lock(mutex);
  RAS1_DETAIL("%s@%s", tableName, subnode.c_str());
  if (cache == nullptr) {
    RAS1_DETAIL("Cache does not exist");
    return nullptr;
  }
  const auto found = cache->find(subnode);
  if (found == cache->end()) {
    RAS1_DETAIL("No cached samples");
    return nullptr;
  }
  const std::time_t now = zelTime(nullptr);
  const std::time_t expiry = found->second->expiry;
  if (expiry <= now || expiry - now > kLongestTrustedSeconds) {
    delete found->second;
    cache->erase(found);
    RAS1_DETAIL("Cached samples expired");
    return nullptr;
  }
  return ras1Flow.result(&found->second->rows);
}

void ZelTableManager::cacheSamples(const std::vector<std::string>& samples,
                                   const std::string& subnode, unsigned seconds) {
  RAS1_FLOW();
  if (seconds == 0) {
    return;
  }
  ZelAutoMutex lock(mutex);
  if (cache == nullptr) {
    cache = std::make_unique<std::map<std::string, ZelCachedSampleData*>>();
  }
  auto record = std::make_unique<ZelCachedSampleData>(
      ZelCachedSampleData{samples, static_cast<std::int32_t>(zelTime(nullptr) + seconds)});
  ZelCachedSampleData*& entry = (*cache)[subnode];
  delete entry;
  entry = record.release();
  RAS1_DETAIL("Cached %lu samples of %s@%s for %u seconds", samples.size(), tableName,
              subnode.c_str(), seconds);
}

void ZelTableManager::deleteCachedSamples(const std::string& subnode) {
  RAS1_FLOW();
  ZelAutoMutex lock(mutex);
  if (cache == nullptr) {
    return;
  }
  const auto found = cache->find(subnode);
  if (found == cache->end()) {
    return;
  }
  delete found->second;
  cache->erase(found);
  RAS1_DETAIL("Cached samples of %s@%s deleted", tableName, subnode.c_str());
}

void ZelTableManager::updateAllocPeak(unsigned batchRows) {
  RAS1_FUNCTION();
  const unsigned rows = std::min(batchRows, kLargestAllocPeak);
  if (rows > allocPeak.load()) {
    RAS1_DETAIL("Row alloc peak is %u for %s", rows, tableName);
    ZelAutoMutex lock(mutex);
    // Compared again: another thread may have raised it further since it was read without the lock.
    allocPeak.store(std::max(rows, allocPeak.load()));
  }
}
