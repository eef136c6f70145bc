#pragma once

#include <string>

#include "agentfw/kdh1.h"
#include "bridge/zelreq.h"

/// Hands an HTTP request to the Java application, whose reply is the response.
class ZelReqWebService : public ZelRequest {
 public:
  /// Reads the request, including the content of a POST. A failure of that becomes the status.
  explicit ZelReqWebService(const KDH1_request_struct* request);

  ZelMsg* createRegMsg() override;
  void onReply(const ZelMap& reply) override;
  ~ZelReqWebService() override;

  /// 0, or the failure code of reading the content; after the reply the application's HTTP code.
  int getStatus() const { return status; }
  int getMedia() const { return media; }
  const std::string& getData() const { return data; }

  /// The text of a header, empty when the request has no such header.
  static std::string getHeaderValue(const KDH1_request_struct* request, KDH1_hdr_t header);

 private:
  const std::string path;
  std::string query;  // of a GET the query text, of a POST the content
  std::string language;
  std::string data;
  int status = 0;
  int media = 0;
};
