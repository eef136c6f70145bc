#include "agentfw/kdh1.h"

#include "agentfw/ras1.h"
#include "http/kdh1_codes.h"

RAS1_UNIT("KDH1");

// No service can be made, so no handle is ever alive: an agent that asks for a service is told so
// by a code, and goes on without one.

using namespace fw::http;

int KDH1_New(KDH1_handle* service, const char* name, KDH1_service_t callback, void* /*context*/,
             int /*options*/, int /*reserved*/) {
  RAS1_FLOW();
  if (service == nullptr) {
    return ras1Flow.result(kKdh1BadArgument);
  }
  *service = 0;
  if (name == nullptr || callback == nullptr) {
    return ras1Flow.result(kKdh1BadArgument);
  }
  RAS1_PRINT_IF(kRas1State, "Service %s is not published: there is no service facility", name);
  return ras1Flow.result(kKdh1NotAvailable);
}

int KDH1_PublishService(KDH1_handle /*service*/, int /*options*/, int /*reserved*/,
                        const char* /*title*/, std::uint32_t /*titleLength*/,
                        const char* /*nodeName*/, std::uint32_t /*nodeNameLength*/) {
  RAS1_FLOW();
  return ras1Flow.result(kKdh1DeadHandle);
}

int KDH1_Listen(KDH1_handle /*service*/, int /*options*/) {
  RAS1_FLOW();
  return ras1Flow.result(kKdh1DeadHandle);
}

int KDH1_Delete(KDH1_handle /*service*/) {
  RAS1_FLOW();
  return ras1Flow.result(kKdh1DeadHandle);
}

int KDH1_ActivityOptions(KDH1_request_handle /*request*/, int /*kind*/,
                         const std::uint32_t* /*newOptions*/, std::uint32_t* currentOptions) {
  RAS1_FLOW();
  if (currentOptions != nullptr) {
    *currentOptions = 0;
  }
  return ras1Flow.result(kKdh1DeadHandle);
}

int KDH1_OpenEntity(KDH1_request_handle /*request*/, std::uint32_t* value, std::uint32_t* length) {
  RAS1_FLOW();
  if (value != nullptr) {
    *value = 0;
  }
  if (length != nullptr) {
    *length = 0;
  }
  return ras1Flow.result(kKdh1DeadHandle);
}

int KDH1_Get(KDH1_request_handle /*request*/, char* /*buffer*/, std::uint32_t /*length*/) {
  RAS1_FLOW();
  return ras1Flow.result(kKdh1DeadHandle);
}

int KDH1_Response(KDH1_request_handle /*request*/, int /*status*/, int /*options*/,
                  int /*reserved*/) {
  RAS1_FLOW();
  return ras1Flow.result(kKdh1DeadHandle);
}

int KDH1_CreateEntity(KDH1_request_handle /*request*/, int /*media*/, std::uint32_t /*length*/) {
  RAS1_FLOW();
  return ras1Flow.result(kKdh1DeadHandle);
}

int KDH1_Put(KDH1_request_handle /*request*/, const char* /*data*/, std::uint32_t /*length*/) {
  RAS1_FLOW();
  return ras1Flow.result(kKdh1DeadHandle);
}
