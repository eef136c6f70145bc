#include "agentfw/kdh1.h"

#include <new>

#include "agentfw/ras1.h"
#include "http/services/kdh1_codes.h"
#include "http/services/service_call.h"
#include "http/services/service_registry.h"

RAS1_UNIT("KDH1");

using namespace fw::http;

namespace {

/// Runs an operation of a request that is alive.
template <typename Operation>
int onCall(KDH1_request_handle request, Operation operation) {
  const std::shared_ptr<ServiceCall> call = ServiceCall::live().find(request);
  if (call == nullptr) {
    return kKdh1DeadHandle;
  }
  try {
    return operation(*call);
  } catch (const std::bad_alloc&) {
    return kKdh1OutOfMemory;
  }
}

}  // namespace

int KDH1_New(KDH1_handle* service, const char* name, KDH1_service_t callback, void* context,
             int /*options*/, int /*reserved*/) {
  RAS1_FLOW();
  if (service == nullptr) {
    return ras1Flow.result(kKdh1BadArgument);
  }
  *service = 0;
  if (name == nullptr || callback == nullptr) {
    return ras1Flow.result(kKdh1BadArgument);
  }
  const int rc = ServiceRegistry::instance().add(name, callback, context, *service);
  RAS1_PRINT_IF(kRas1State, "Service %s: rc %i", name, rc);
  return ras1Flow.result(rc);
}

int KDH1_PublishService(KDH1_handle service, int /*options*/, int /*reserved*/, const char* title,
                        std::uint32_t titleLength, const char* nodeName,
                        std::uint32_t nodeNameLength) {
  RAS1_FLOW();
  if (title == nullptr || nodeName == nullptr) {
    return ras1Flow.result(kKdh1BadArgument);
  }
  return ras1Flow.result(ServiceRegistry::instance().publish(service, {title, titleLength},
                                                             {nodeName, nodeNameLength}));
}

int KDH1_Listen(KDH1_handle service, int /*options*/) {
  RAS1_FLOW();
  return ras1Flow.result(ServiceRegistry::instance().listen(service));
}

int KDH1_Delete(KDH1_handle service) {
  RAS1_FLOW();
  return ras1Flow.result(ServiceRegistry::instance().remove(service));
}

int KDH1_ActivityOptions(KDH1_request_handle request, int kind, const std::uint32_t* newOptions,
                         std::uint32_t* currentOptions) {
  RAS1_FLOW();
  // The new options may be where the current ones are put.
  const std::uint32_t wanted = newOptions == nullptr ? 0 : *newOptions;
  const std::uint32_t* const change = newOptions == nullptr ? nullptr : &wanted;
  if (currentOptions != nullptr) {
    *currentOptions = 0;
  }
  return ras1Flow.result(onCall(
      request, [&](ServiceCall& call) { return call.options(kind, change, currentOptions); }));
}

int KDH1_OpenEntity(KDH1_request_handle request, std::uint32_t* value, std::uint32_t* length) {
  RAS1_FLOW();
  if (value != nullptr) {
    *value = 0;
  }
  if (length == nullptr) {
    return ras1Flow.result(kKdh1BadArgument);
  }
  *length = 0;
  return ras1Flow.result(
      onCall(request, [&](ServiceCall& call) { return call.openContent(*length); }));
}

int KDH1_Get(KDH1_request_handle request, char* buffer, std::uint32_t length) {
  RAS1_FLOW();
  if (buffer == nullptr && length != 0) {
    return ras1Flow.result(kKdh1BadArgument);
  }
  return ras1Flow.result(
      onCall(request, [&](ServiceCall& call) { return call.get(buffer, length); }));
}

int KDH1_Response(KDH1_request_handle request, int status, int /*options*/, int /*reserved*/) {
  RAS1_FLOW();
  return ras1Flow.result(onCall(request, [&](ServiceCall& call) { return call.respond(status); }));
}

int KDH1_CreateEntity(KDH1_request_handle request, int media, std::uint32_t length) {
  RAS1_FLOW();
  return ras1Flow.result(
      onCall(request, [&](ServiceCall& call) { return call.createContent(media, length); }));
}

int KDH1_Put(KDH1_request_handle request, const char* data, std::uint32_t length) {
  RAS1_FLOW();
  if (data == nullptr && length != 0) {
    return ras1Flow.result(kKdh1BadArgument);
  }
  return ras1Flow.result(
      onCall(request, [&](ServiceCall& call) { return call.put(data, length); }));
}
