#pragma once

#include "zelira.h"
#include "zeltablemanager.h"

/// A situation on a table whose rows the Java application pushes.
///
/// Arms the situation there while it lives. Rows reach it through ZelTableManager::emitEvents().
class ZelSitTrap : public ZelIra {
 public:
  ZelSitTrap(RequestDetail* detail, ContextInfo* context, TableManager* owner,
             const std::vector<ZelColumnInfo*>& columns,
             const std::map<std::string, const ZelColumnInfo*>& columnsByName, unsigned rowBytes,
             unsigned allocRows);

  /// Disarms the situation only while detail tracing is on; the Java application learns of the end
  /// from the state change in any case.
  ~ZelSitTrap() override;

  /// Arms or disarms the situation; a failure is reported.
  void Situation(bool start);

  /// As Situation(), but a failure is thrown.
  void doSituation(bool start);
};

/// A table whose requests are situation traps.
class ZelSitTrapManager : public ZelTableManager {
 public:
  /// Takes ownership of the columns.
  ZelSitTrapManager(const char* application, const char* table,
                    std::vector<ZelColumnInfo*>* columns);
  ~ZelSitTrapManager() override;
  vuira* createIra(RequestDetail* detail, ContextInfo* context) override;
};
