#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "agentfw/vuira.h"
#include "zelfinfo.h"
#include "zelthread.h"

/// Rows that may be served again until they expire.
struct ZelCachedSampleData {
  std::vector<std::string> rows;
  std::int32_t expiry;  ///< calendar time in seconds
};

/// A table that the Java application declared.
///
/// Makes the request objects of the table, keeps samples by subnode for as long as the Java
/// application allows, and pushes events into the open requests. Lives as long as the agent. Any
/// thread may call.
class ZelTableManager : public TableManager {
 public:
  /// Takes ownership of the columns; their order is that of their declaration.
  ZelTableManager(const char* application, const char* table, std::vector<ZelColumnInfo*>* columns);

  // Virtual operations. Their order is binary interface: append, never move.
  ~ZelTableManager() override;
  vuira* CreateCtira(RequestDetail* detail, ContextInfo* context) override;
  /// Makes the request object; may throw, which CreateCtira() reports.
  virtual vuira* createIra(RequestDetail* detail, ContextInfo* context);

  /// Registers the table with the framework; 0 on success, else the framework's code.
  unsigned registration();

  /// Delivers rows to every open request of the table, whatever becomes of the others. Returns 0,
  /// or the code of the last delivery that failed.
  int emitEvents(const std::vector<std::string>& events);

  /// The cached rows of a subnode, or null when there are none that still hold. The rows are the
  /// cache's: a later lookup, cacheSamples() or deleteCachedSamples() with the same subnode may
  /// free them.
  const std::vector<std::string>* getCachedSamples(const std::string& subnode);

  /// Keeps a copy of the rows for `seconds`; 0 changes nothing.
  void cacheSamples(const std::vector<std::string>& samples, const std::string& subnode,
                    unsigned seconds);

  void deleteCachedSamples(const std::string& subnode);

  /// Notes the number of rows of a batch.
  void updateAllocPeak(unsigned batchRows);

  std::uint32_t rowSize;  ///< bytes of a row: the sum of the column sizes
  /// The largest batch so far, at most 100 rows: the first allocation of new request objects.
  /// Written under the mutex, read without it.
  std::atomic<std::uint32_t> allocPeak;
  std::unique_ptr<std::vector<ZelColumnInfo*>> columns;  ///< owns the columns too
  /// By subnode. Created when first needed; owns its records, except that the destructor leaves
  /// them: a request may still read the rows that it got.
  std::unique_ptr<std::map<std::string, ZelCachedSampleData*>> cache GUARDED_BY(mutex);
  std::map<std::string, const ZelColumnInfo*> columnsByName;
  ZelMutex mutex;

 private:
  void deliver(vuira& request, const std::vector<std::string>& events, int& result);
};
