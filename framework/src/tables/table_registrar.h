#pragma once

class TableManager;

namespace fw {

/// Where table managers register; the runtime is one.
class TableRegistrar {
 public:
  virtual ~TableRegistrar() = default;

  /// Makes a table known; 0, or an error code. The manager is not owned and lives until
  /// removeTable().
  virtual int addTable(TableManager& manager) = 0;

  /// Forgets a table, known or not. Waits, bounded, for callbacks on it.
  virtual void removeTable(TableManager& manager) = 0;
};

/// The registrar of the process; null when there is none. It lives until it is replaced.
TableRegistrar* tableRegistrar();

/// Installs the registrar, or removes it (null); returns the one before.
TableRegistrar* setTableRegistrar(TableRegistrar* registrar);

}  // namespace fw
