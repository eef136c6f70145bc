#include <atomic>
#include <cstring>
#include <string_view>

#include "agentfw/vuira.h"
#include "basic/utf8.h"
#include "tables/status.h"
#include "tables/table_registrar.h"

namespace fw {

namespace {

std::atomic<TableRegistrar*> registrar{nullptr};

template <std::size_t N>
void copyName(char (&target)[N], const char* source) {
  const std::string_view fits = cutUtf8(source == nullptr ? "" : source, N - 1);
  std::memcpy(target, fits.data(), fits.size());
  std::memset(target + fits.size(), '\0', N - fits.size());
}

}  // namespace

TableRegistrar* tableRegistrar() { return registrar.load(); }

TableRegistrar* setTableRegistrar(TableRegistrar* next) { return registrar.exchange(next); }

}  // namespace fw

TableManager::TableManager(const char* application, const char* table) {
  fw::copyName(applicationId, application);
  fw::copyName(tableName, table);
}

TableManager::~TableManager() {
  if (auto* const registrar = fw::tableRegistrar(); registrar != nullptr) {
    registrar->removeTable(*this);
  }
}

void TableManager::Shutdown(unsigned long /*timeoutMs*/) {}

unsigned TableManager::RegisterWithManager() {
  auto* const registrar = fw::tableRegistrar();
  return static_cast<unsigned>(registrar == nullptr ? fw::kRcNotAvailable
                                                    : registrar->addTable(*this));
}
