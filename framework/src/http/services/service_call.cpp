#include "http/services/service_call.h"

#include <cstring>
#include <iterator>
#include <utility>

#include "basic/utf8.h"
#include "http/server/problem.h"
#include "http/services/kdh1_codes.h"

namespace fw::http {

namespace {

// Far from the handles of services, so that one is never mistaken for the other.
constexpr KDH1_request_handle kFirstHandle = 1ULL << 40U;

std::string_view contentType(int media) {
  return media >= 0 && media < static_cast<int>(std::size(kKdh1ContentTypes))
             ? kKdh1ContentTypes[media]
             : kKdh1ContentTypes[KDH1_MEDIA_BINARY];
}

Problem failed(int status) {
  if (status == kKdh1ContentTooLarge) {
    return {413,
            "content-too-large",
            "The content is too large",
            "The service does not accept content of this length.",
            {}};
  }
  return {502,
          "service-failed",
          "The service failed",
          "The agent's service could not answer; its trace says why.",
          {}};
}

// The agent hands texts on to Java as they are.
Request forAgent(Request request) {
  request.body = toModifiedUtf8(request.body);
  request.target.query = toModifiedUtf8(request.target.query);
  // A header that is no text is as good as none.
  request.acceptLanguage =
      isValidUtf8(request.acceptLanguage) ? toModifiedUtf8(request.acceptLanguage) : "";
  return request;
}

}  // namespace

ServiceCall::ServiceCall(Request request, const std::string& path, std::size_t contentLimit)
    : request_(forAgent(std::move(request))),
      path_(toModifiedUtf8(path)),
      contentLimit_(contentLimit) {
  addHeader(KDH1_HDR_LANGUAGE, request_.acceptLanguage);
  addHeader(KDH1_HDR_QUERY, request_.target.query);
  addHeader(KDH1_HDR_METHOD, request_.method);
}

LiveHandles<ServiceCall>& ServiceCall::live() {
  static auto& calls = *new LiveHandles<ServiceCall>(kFirstHandle);
  return calls;
}

void ServiceCall::addHeader(KDH1_hdr_t id, const std::string& text) {
  if (!text.empty()) {
    headers_.push_back({id, text.data(), static_cast<std::uint32_t>(text.size())});
  }
}

KDH1_request_struct ServiceCall::describe(KDH1_request_handle handle) const {
  return {handle, path_.data(), static_cast<std::uint32_t>(path_.size()), headers_.data(),
          static_cast<std::uint32_t>(headers_.size())};
}

int ServiceCall::options(int kind, const std::uint32_t* newOptions, std::uint32_t* currentOptions) {
  const MutexLock lock(mutex_);
  if (currentOptions != nullptr) {
    *currentOptions = 0;
  }
  if (kind != kKdh1ActivityAccounting) {
    return kKdh1BadArgument;
  }
  const std::uint32_t before = accounting_;
  if (newOptions != nullptr) {
    accounting_ = *newOptions;
  }
  if (currentOptions != nullptr) {
    *currentOptions = before;
  }
  return kKdh1Ok;
}

int ServiceCall::openContent(std::uint32_t& length) {
  const MutexLock lock(mutex_);
  if (std::exchange(opened_, true)) {
    return kKdh1OutOfOrder;
  }
  length = static_cast<std::uint32_t>(request_.body.size());
  return kKdh1Ok;
}

int ServiceCall::get(char* buffer, std::uint32_t length) {
  const MutexLock lock(mutex_);
  if (!opened_) {
    return kKdh1OutOfOrder;
  }
  if (length > request_.body.size() - read_) {
    return kKdh1PastEnd;
  }
  if (length != 0) {
    std::memcpy(buffer, request_.body.data() + read_, length);
    read_ += length;
  }
  return kKdh1Ok;
}

int ServiceCall::respond(int status) {
  const MutexLock lock(mutex_);
  if (std::exchange(responded_, true)) {
    return kKdh1OutOfOrder;
  }
  status_ = status;
  return kKdh1Ok;
}

int ServiceCall::createContent(int media, std::uint32_t length) {
  const MutexLock lock(mutex_);
  if (!responded_ || status_ != 0 || created_) {
    return kKdh1OutOfOrder;
  }
  if (length > contentLimit_) {
    return kKdh1ResponseTooLarge;
  }
  content_.reserve(length);
  created_ = true;
  media_ = media;
  announced_ = length;
  return kKdh1Ok;
}

int ServiceCall::put(const char* data, std::uint32_t length) {
  const MutexLock lock(mutex_);
  if (!created_) {
    return kKdh1OutOfOrder;
  }
  if (length > announced_ - content_.size()) {
    return kKdh1PastEnd;
  }
  if (length != 0) {
    content_.append(data, length);
  }
  return kKdh1Ok;
}

Response ServiceCall::finish(int result) {
  const MutexLock lock(mutex_);
  if (!responded_ || status_ != 0 || result != 0 || content_.size() != announced_) {
    const int status = responded_ ? status_ : result;
    return problemResponse(failed(status), request_.target.path);
  }
  Response response;
  response.contentType = contentType(media_);
  response.content = std::move(content_);
  response.policy = ContentPolicy::Application;
  return response;
}

}  // namespace fw::http
