#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "agentfw/vuira.h"
#include "zelfinfo.h"

class ZelTableManager;

/// A request that the framework opened on a table: a report sample, a situation or a historical
/// collection.
///
/// Belongs to the framework, which calls it on its workers, one call at a time. A situation request
/// tells the Java application when it begins and ends. No exception leaves an operation that the
/// framework calls.
class ZelIra : public vuira {
 public:
  /// The vector and the index belong to the manager, which outlives the request. `rowBytes` is the
  /// table's row size, `allocRows` how many rows to make room for at first.
  ZelIra(RequestDetail* detail, ContextInfo* context, TableManager* owner,
         const std::vector<ZelColumnInfo*>& columns,
         const std::map<std::string, const ZelColumnInfo*>& columnsByName, unsigned rowBytes,
         unsigned allocRows);

  // Virtual operations of the framework; the table's slots are in its order.
  void PrintSelf() override;
  void TakeSample() override;
  int NumColumns() override;
  int GetColumnInfo(ColumnInfo* out, int index) override;
  ~ZelIra() override;
  /// Character columns always compare as equal: only 16- and 32-bit integers are decided here.
  int ColumnIsException(char* row, char* columnName, _IntfOper oper, char* threshold) override;

  // Virtual operations. Their order is binary interface: append, never move.
  /// Serves the subnodes from the cache where it can, and asks the Java application for the rest,
  /// even when none is left. May throw, which TakeSample() reports.
  virtual void doTakeSample();
  virtual void onSitStateChanged(bool started);

  /// Inserts the rows that pass the request's thresholds; skips those of a wrong size. Returns 0,
  /// or the code of the insertion that failed.
  int putData(const std::vector<std::string>& rows);

 protected:
  ZelTableManager& tableManager() const;

  /// The conditions of the request.
  std::vector<ZelFilterInfo> collectFilters();

  /// The subnodes that the request is for; an empty name ends them.
  std::vector<std::string> collectSubnodes();

  /// Whether the request belongs to an automated policy.
  bool isAutomation() const;

 private:
  std::vector<std::string> serveFromCache(bool history);
  void printRow(const char* row);
  void printUtf8(const ZelColumnInfo& column, const char* value);

  const std::vector<ZelColumnInfo*>& columns;
  const std::map<std::string, const ZelColumnInfo*>& columnsByName;
};
