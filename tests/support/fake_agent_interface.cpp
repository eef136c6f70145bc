// Remote-agent interface and HTTP facility of the fake framework.

#include <cstring>

#include "agentfw/ira.h"
#include "agentfw/kdh1.h"
#include "agentfw/pfm1.h"
#include "support/fake_framework.h"

using fake::Framework;

namespace {

template <typename... Args>
int http(const std::string& operation, const Args&... args) {
  Framework& framework = Framework::get();
  const int rc = framework.call(operation, args...);
  if (framework.throwing.count(operation) != 0) {
    *PFM1_Thread() = {35, 11};
    throw agentfw::Exception();
  }
  return rc;
}

}  // namespace

const char* IRA_GetHostname() { return Framework::get().hostName.c_str(); }
const char* IRA_GetOriginnode() { return Framework::get().originNode.c_str(); }
const char* IRA_GetProductName() { return Framework::get().productName.c_str(); }

int IRA_SetVersionUsingProduct(const char* product, char* buffer, int size) {
  Framework& framework = Framework::get();
  std::strncpy(buffer, framework.version.c_str(), static_cast<std::size_t>(size));
  return framework.call("IRA_SetVersionUsingProduct", product, size);
}

int IRA_SetHostname(const char* name) { return Framework::get().call("IRA_SetHostname", name); }

int IRA_SetAffinity(const char* affinity) {
  return Framework::get().call("IRA_SetAffinity", affinity);
}

int IRA_SetCurrency(int first, int second) {
  return Framework::get().call("IRA_SetCurrency", first, second);
}

int IRA_RegisterCommandCallback(const char* product, int (*callback)(VuiraAutomationCapsule*)) {
  Framework::get().commandCallback = callback;
  return Framework::get().call("IRA_RegisterCommandCallback", product);
}

void IRA_RegisterAgentLoader(int (*loader)()) {
  Framework::get().loader = loader;
  Framework::get().call("IRA_RegisterAgentLoader");
}

int IRA_Subnode_Register_nAff(const char* name, const char* product, const char* version, int count,
                              const char* affinity1, const char* affinity2, const char* affinity3,
                              const char* affinity4) {
  return Framework::get().call("IRA_Subnode_Register_nAff", name, product, version, count,
                               affinity1, affinity2, affinity3, affinity4);
}

int IRA_SetNodeInfo(const char* info, const char* name) {
  return Framework::get().call("IRA_SetNodeInfo", info, name);
}

int IRA_Subnode_Deregister(const char* name) {
  return Framework::get().call("IRA_Subnode_Deregister", name);
}

int IRA_Subnode_SendRequest() { return Framework::get().call("IRA_Subnode_SendRequest"); }

int IRA_Shutdown(int mode) { return Framework::get().call("IRA_Shutdown", mode); }

int kramain(int argc, char** argv) { return Framework::get().call("kramain", argc, argv[0]); }

int KDH1_New(KDH1_handle* service, const char* name, KDH1_service_t callback, void* context,
             int options, int reserved) {
  Framework::get().httpCallback = callback;
  const int rc = http("KDH1_New", name, context == static_cast<void*>(service), options, reserved);
  if (rc == 0) {
    *service = 42;
  }
  return rc;
}

int KDH1_PublishService(KDH1_handle service, int options, int reserved, const char* title,
                        std::uint32_t titleLength, const char* nodeName,
                        std::uint32_t nodeNameLength) {
  return http("KDH1_PublishService", service, options, reserved, std::string(title, titleLength),
              std::string(nodeName, nodeNameLength));
}

int KDH1_Listen(KDH1_handle service, int options) { return http("KDH1_Listen", service, options); }

int KDH1_Delete(KDH1_handle service) { return http("KDH1_Delete", service); }

int KDH1_ActivityOptions(KDH1_request_handle request, int kind, const std::uint32_t* newOptions,
                         std::uint32_t* currentOptions) {
  Framework& framework = Framework::get();
  if (currentOptions != nullptr) {
    *currentOptions = framework.activityOptions;
  }
  if (newOptions != nullptr) {
    framework.activityOptions = *newOptions;
    return http("KDH1_ActivityOptions", request, kind, *newOptions);
  }
  return http("KDH1_ActivityOptions", request, kind, "read");
}

int KDH1_OpenEntity(KDH1_request_handle request, std::uint32_t* value, std::uint32_t* length) {
  *value = 0;
  *length = static_cast<std::uint32_t>(Framework::get().content.size());
  return http("KDH1_OpenEntity", request);
}

int KDH1_Get(KDH1_request_handle request, char* buffer, std::uint32_t length) {
  std::memcpy(buffer, Framework::get().content.data(), length);
  return http("KDH1_Get", request, length);
}

int KDH1_Response(KDH1_request_handle request, int status, int options, int reserved) {
  return http("KDH1_Response", request, status, options, reserved);
}

int KDH1_CreateEntity(KDH1_request_handle request, int media, std::uint32_t length) {
  return http("KDH1_CreateEntity", request, media, length);
}

int KDH1_Put(KDH1_request_handle request, const char* data, std::uint32_t length) {
  Framework::get().response.assign(data, length);
  return http("KDH1_Put", request, length);
}
