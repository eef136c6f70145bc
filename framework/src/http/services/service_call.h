#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "agentfw/kdh1.h"
#include "agentfw/mutex.h"
#include "http/server/gate.h"
#include "http/server/response.h"
#include "http/services/live_handles.h"

namespace fw::http {

/// One request to a service of the agent and the response that its callback puts together: what is
/// behind a KDH1_request_handle. Any thread may call; the operations return a Kdh1Code.
///
/// Texts of the request, its content too, reach the agent as Java takes them: modified UTF-8.
///
/// A content is opened once, then read piece by piece. A response is started, then its content,
/// then the content is put piece by piece until it is as long as it was announced.
class ServiceCall {
 public:
  /// `path` is below the service; a response may have `contentLimit` bytes.
  ServiceCall(Request request, const std::string& path, std::size_t contentLimit);
  ServiceCall(const ServiceCall&) = delete;
  ServiceCall& operator=(const ServiceCall&) = delete;

  /// The calls whose callbacks run now; never destroyed.
  static LiveHandles<ServiceCall>& live();

  /// The request as its callback sees it; points into this object.
  KDH1_request_struct describe(KDH1_request_handle handle) const;

  int options(int kind, const std::uint32_t* newOptions, std::uint32_t* currentOptions);
  int openContent(std::uint32_t& length);
  int get(char* buffer, std::uint32_t length);
  int respond(int status);
  int createContent(int media, std::uint32_t length);
  int put(const char* data, std::uint32_t length);

  /// The answer, when the callback has returned `result`: the response if that was a success and
  /// is complete, else a problem that reveals nothing about what went wrong inside.
  Response finish(int result);

 private:
  void addHeader(KDH1_hdr_t id, const std::string& text);

  const Request request_;
  const std::string path_;
  const std::size_t contentLimit_;
  std::vector<KDH1_header> headers_;  // unchanged once made

  Mutex mutex_;
  std::uint32_t accounting_ GUARDED_BY(mutex_) = 0;
  bool opened_ GUARDED_BY(mutex_) = false;
  std::size_t read_ GUARDED_BY(mutex_) = 0;  // bytes of the request's content
  bool responded_ GUARDED_BY(mutex_) = false;
  int status_ GUARDED_BY(mutex_) = 0;
  bool created_ GUARDED_BY(mutex_) = false;
  int media_ GUARDED_BY(mutex_) = KDH1_MEDIA_BINARY;
  std::size_t announced_ GUARDED_BY(mutex_) = 0;
  std::string content_ GUARDED_BY(mutex_);
};

}  // namespace fw::http
