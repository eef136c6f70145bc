#include <algorithm>
#include <cstring>

#include "agentfw/ira.h"
#include "agentfw/ras1.h"
#include "basic/utf8.h"
#include "runtime/runtime.h"
#include "tables/status.h"

RAS1_UNIT("IRA");

using fw::Runtime;

namespace {

std::string textOf(const char* text) { return text == nullptr ? "" : text; }

bool isOwnProduct(const char* product) {
  const std::string own = Runtime::current().identity().productCode();
  return product != nullptr && !own.empty() && own == product;
}

}  // namespace

const char* IRA_GetHostname() { return fw::keepText(Runtime::current().identity().host()); }

const char* IRA_GetOriginnode() { return fw::keepText(Runtime::current().identity().nodeName()); }

const char* IRA_GetProductName() {
  return fw::keepText(Runtime::current().identity().productCode());
}

int IRA_SetVersionUsingProduct(const char* product, char* buffer, int size) {
  if (buffer == nullptr || size <= 0) {
    return fw::kRcBadArgument;
  }
  buffer[0] = '\0';
  if (!isOwnProduct(product)) {
    return fw::kRcUnknownProduct;
  }
  const std::string version = Runtime::current().identity().productVersion();
  if (version.size() >= static_cast<std::size_t>(size)) {
    return fw::kRcBadArgument;
  }
  std::memcpy(buffer, version.c_str(), version.size() + 1);
  return fw::kRcOk;
}

int IRA_SetHostname(const char* name) {
  const std::string host = fw::fromModifiedUtf8(textOf(name));
  if (host.empty()) {
    return fw::kRcBadArgument;
  }
  Runtime::current().identity().setHost(host);
  return fw::kRcOk;
}

int IRA_SetAffinity(const char* affinity) {
  if (affinity == nullptr) {
    return fw::kRcBadArgument;
  }
  Runtime::current().identity().addAffinity(fw::fromModifiedUtf8(affinity));
  return fw::kRcOk;
}

int IRA_SetCurrency(int first, int second) {
  RAS1_FUNCTION();
  // Nothing of this framework depends on the level of the interface that the agent was built for.
  RAS1_DETAIL("currency %i, %i", first, second);
  return first < 0 || second < 0 ? fw::kRcBadArgument : fw::kRcOk;
}

int IRA_RegisterCommandCallback(const char* product, int (*callback)(VuiraAutomationCapsule*)) {
  if (callback == nullptr) {
    return fw::kRcBadArgument;
  }
  if (!isOwnProduct(product)) {
    return fw::kRcUnknownProduct;
  }
  Runtime::current().setCommandCallback(callback);
  return fw::kRcOk;
}

void IRA_RegisterAgentLoader(int (*loader)()) { Runtime::current().setLoader(loader); }

int IRA_Subnode_Register_nAff(const char* name, const char* product, const char* version, int count,
                              const char* affinity1, const char* affinity2, const char* affinity3,
                              const char* affinity4) {
  if (count < 0) {
    return fw::kRcBadArgument;
  }
  if (!isOwnProduct(product)) {
    return fw::kRcUnknownProduct;
  }
  fw::SubnodeRegistration registration{textOf(name), product, textOf(version), {}};
  const char* const affinities[] = {affinity1, affinity2, affinity3, affinity4};
  for (int index = 0; index < std::min(count, 4); ++index) {
    if (const std::string affinity = textOf(affinities[index]); !affinity.empty()) {
      registration.affinities.push_back(affinity);
    }
  }
  return Runtime::current().subnodeRegistry().add(std::move(registration));
}

int IRA_SetNodeInfo(const char* info, const char* name) {
  if (info == nullptr || name == nullptr) {
    return fw::kRcBadArgument;
  }
  return Runtime::current().subnodeRegistry().setInfo(name, info);
}

int IRA_Subnode_Deregister(const char* name) {
  if (name == nullptr) {
    return fw::kRcBadArgument;
  }
  return Runtime::current().deregisterSubnode(name);
}

int IRA_Subnode_SendRequest() {
  Runtime::current().commitSubnodes();
  return fw::kRcOk;
}

int IRA_Shutdown(int /*mode*/) {
  Runtime::current().shutdown();
  return fw::kRcOk;
}

int kramain(int /*argc*/, char** /*argv*/) { return Runtime::current().run(); }
