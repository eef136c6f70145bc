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

  /// Disarms the trap only while detail tracing is on. The end of a named situation reaches the
  /// Java application as a state change, unless the agent shuts down.
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
