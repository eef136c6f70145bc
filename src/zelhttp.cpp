#include "zelhttp.h"

#include <algorithm>
#include <exception>
#include <memory>
#include <string>

#include "agentfw/ira.h"
#include "agentfw/pfm1.h"
#include "agentfw/ras1.h"
#include "bridge/zelclient.h"
#include "zelguard.h"
#include "zelreqwebservice.h"

RAS1_UNIT("ZELHTTP");

pthread_t s_httpServerThread;

namespace {

constexpr std::uint32_t kOwnActivity = 3;

// Call from the handler of an agentfw::Exception.
void reportFrameworkException(const RAS1_Entry& ras1Entry) {
  const PFM1_ThreadRecord& record = *PFM1_Thread();
  RAS1_PRINT("ERROR: caught PXM exception. Error %i. Signal %i", record.error, record.signal);
}

std::string serviceCategory(const std::string& product) {
  if (product == "QD") {
    return "Lumenray";
  }
  if (product == "QF") {
    return "J2EE";
  }
  if (product == "QM") {
    return "Web Servers";
  }
  return product;
}

// Whether the service ran, well or not, until it ended.
bool serve() {
  RAS1_FUNCTION();
  const std::string nodeName = IRA_GetOriginnode();
  std::string serviceName = nodeName;
  std::replace(serviceName.begin(), serviceName.end(), ':', '_');
  KDH1_handle service = 0;
  int rc = KDH1_New(&service, serviceName.c_str(), zelDefaultHttpService, &service, 0, 0);
  if (rc != 0) {
    RAS1_PRINT("ERROR: KDH1_New failed (rc=%i)", rc);
    return false;
  }
  const std::string title =
      "Qrv Norvel Monitoring Agent for " + serviceCategory(IRA_GetProductName());
  rc = KDH1_PublishService(service, 0, 0, title.c_str(), static_cast<unsigned>(title.size()),
                           nodeName.c_str(), static_cast<unsigned>(nodeName.size()));
  if (rc != 0) {
    RAS1_PRINT("ERROR: KDH1_PublishService failed (rc=%i)", rc);
    return false;
  }
  rc = KDH1_Listen(service, 1);
  if (rc != 0) {
    RAS1_PRINT("ERROR: KDH1_Listen failed (rc=%i)", rc);
  }
  KDH1_Delete(service);
  return true;
}

void claimActivity(KDH1_request_handle request) {
  std::uint32_t options = 0;
  KDH1_ActivityOptions(request, kKdh1ActivityAccounting, nullptr, &options);
  options |= kOwnActivity;
  KDH1_ActivityOptions(request, kKdh1ActivityAccounting, &options, nullptr);
}

// The status to answer with.
int askApplication(ZelReqWebService& request) {
  if (request.getStatus() != 0) {
    return request.getStatus();
  }
  ZelClient::run(request, false);
  return request.isAppExc() ? kZelHttpNoAnswer : 0;
}

int readContent(KDH1_request_handle request, std::unique_ptr<char[]>& buffer,
                unsigned int& length) {
  RAS1_FUNCTION();
  std::uint32_t value = 0;
  int rc = KDH1_OpenEntity(request, &value, &length);
  if (rc != 0) {
    RAS1_PRINT("ERROR: KDH1_OpenEntity failed (rc=%i)", rc);
    return rc;
  }
  if (length != 0) {
    buffer.reset(new char[length]);
    rc = KDH1_Get(request, buffer.get(), length);
    if (rc != 0) {
      RAS1_PRINT("ERROR: KDH1_Get failed (rc=%i)", rc);
    }
  }
  return rc;
}

int sendContent(KDH1_request_handle request, int media, const char* data, unsigned int length) {
  RAS1_FUNCTION();
  int rc = KDH1_CreateEntity(request, media, length);
  if (rc != 0) {
    RAS1_PRINT("ERROR: KDH1_CreateEntity failed (rc=%i)", rc);
    return rc;
  }
  rc = KDH1_Put(request, data, length);
  if (rc != 0) {
    RAS1_PRINT("ERROR: KDH1_Put failed (rc=%i)", rc);
  }
  return rc;
}

}  // namespace

int zelStartHttpServer() {
  RAS1_FLOW();
  return ras1Flow.result(
      pthread_create(&s_httpServerThread, nullptr, zelHttpServerThreadFunc, nullptr));
}

void* zelHttpServerThreadFunc(void* /*unused*/) {
  RAS1_FLOW();
  RAS1_PRINT("Web Service started");
  bool ended = false;
  zelGuarded(ras1Entry, [&] {
    try {
      ended = serve();
    } catch (const agentfw::Exception&) {
      reportFrameworkException(ras1Entry);
      ended = true;
    }
  });
  if (ended) {
    RAS1_PRINT("Web Service stopped");
  }
  return nullptr;
}

// This ladder has texts of its own, and an unknown exception does not end the process: one broken
// HTTP request is no reason to stop monitoring.
int zelDefaultHttpService(KDH1_request_struct* request, void* /*context*/) {
  RAS1_FLOW();
  int status = kZelHttpNoAnswer;
  std::unique_ptr<ZelReqWebService> webRequest;
  try {
    claimActivity(request->handle);
    webRequest = std::make_unique<ZelReqWebService>(request);
    status = askApplication(*webRequest);
  } catch (const ZelAppException& e) {
    RAS1_PRINT("ERROR: request processing failed ...\n%s", e.message.c_str());
  } catch (const ZelException& e) {
    RAS1_PRINT("ERROR: internal exception in %s at line %i", e.file.c_str(),
               static_cast<int>(e.line));
  } catch (const std::exception& e) {
    RAS1_PRINT("ERROR: STD C++ library exception [%s]", e.what());
  } catch (const agentfw::Exception&) {
    reportFrameworkException(ras1Entry);
  } catch (...) {
    RAS1_PRINT("ERROR: unknown exception");
    return ras1Flow.result(kZelHttpNoAnswer);
  }
  if (webRequest == nullptr) {
    return ras1Flow.result(zelSendHttpResponse(request->handle, status, 0, nullptr, 0));
  }
  const std::string& data = webRequest->getData();
  return ras1Flow.result(zelSendHttpResponse(request->handle, status, webRequest->getMedia(),
                                             data.data(), static_cast<unsigned>(data.size())));
}

int zelGetHttpData(KDH1_request_handle request, char** data, unsigned int* length) {
  RAS1_FLOW();
  *data = nullptr;
  *length = 0;
  std::unique_ptr<char[]> buffer;
  unsigned int size = 0;
  int rc = kZelHttpNoAnswer;
  try {
    rc = readContent(request, buffer, size);
  } catch (const agentfw::Exception&) {
    reportFrameworkException(ras1Entry);
  }
  if (rc == 0) {
    *data = buffer.release();
    *length = size;
  }
  return ras1Flow.result(rc);
}

int zelSendHttpResponse(KDH1_request_handle request, int status, int media, const char* data,
                        unsigned int length) {
  RAS1_FLOW();
  try {
    const int rc = KDH1_Response(request, status, 0, 0);
    if (rc != 0) {
      RAS1_PRINT("ERROR: KDH1_Response failed (rc=%i)", rc);
      return ras1Flow.result(rc);
    }
    return ras1Flow.result(status != 0 ? status : sendContent(request, media, data, length));
  } catch (const agentfw::Exception&) {
    reportFrameworkException(ras1Entry);
    return ras1Flow.result(kZelHttpNoAnswer);
  }
}
