#include "zelreqwebservice.h"

#include <memory>

#include "agentfw/ras1.h"
#include "bridge/zelbuild.h"
#include "bridge/zelkeys.h"
#include "zelhttp.h"

RAS1_UNIT("ZELREQWEBSERVICE");

ZelReqWebService::ZelReqWebService(const KDH1_request_struct* request)
    : ZelRequest(false), path(request->path, request->pathLength) {
  RAS1_FLOW();
  language = getHeaderValue(request, KDH1_HDR_LANGUAGE);
  if (getHeaderValue(request, KDH1_HDR_METHOD) != "POST") {
    RAS1_DETAIL("Processing GET request");
    query = getHeaderValue(request, KDH1_HDR_QUERY);
    return;
  }
  RAS1_DETAIL("Processing POST request");
  char* content = nullptr;
  unsigned int length = 0;
  status = zelGetHttpData(request->handle, &content, &length);
  const std::unique_ptr<char[]> owner(content);
  if (status == 0) {
    query.assign(content, length);
  }
}

ZelReqWebService::~ZelReqWebService() = default;

ZelMsg* ZelReqWebService::createRegMsg() {
  RAS1_FLOW();
  RAS1_DETAIL("Path: %s", path.c_str());
  RAS1_DETAIL("Query: %s", query.c_str());
  RAS1_DETAIL("Lang: %s", language.c_str());
  auto body = std::make_unique<ZelMap>();
  zelPut<std::string>(*body, ZelKey::Web::kPath, path);
  zelPut<std::string>(*body, ZelKey::Web::kContent, query);
  zelPut<std::string>(*body, ZelKey::Web::kLanguage, language);
  return ras1Flow.result(new ZelMsg(ZelRequestCode::kWebService, ZelMsg::Request, body.release()));
}

void ZelReqWebService::onReply(const ZelMap& reply) {
  RAS1_FLOW();
  status = reply.get(ZelKey::WebReply::kCode).toInt();
  RAS1_DETAIL("HTTP Code: %i", status);
  media = reply.get(ZelKey::WebReply::kMedia).toInt();
  RAS1_DETAIL("HTTP Media: %i", media);
  data = reply.get(ZelKey::WebReply::kContent).toByteArray();
  RAS1_DUMP_IF(kRas1Detail, "HTTP Data", data.data(), data.size());
}

std::string ZelReqWebService::getHeaderValue(const KDH1_request_struct* request,
                                             KDH1_hdr_t header) {
  RAS1_FUNCTION();
  std::string value;
  for (unsigned int i = 0; i < request->headerCount; ++i) {
    if (request->headers[i].id == header) {
      value.assign(request->headers[i].text, request->headers[i].length);
      break;
    }
  }
  RAS1_DETAIL("HTTP header %i: %s", static_cast<int>(header), value.c_str());
  return value;
}
