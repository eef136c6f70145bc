#pragma once

#include <cstdint>

#include "agentfw/export.h"

/// @file
/// HTTP facility: publishes a service of the agent and lets its callback answer requests.
///
/// Every operation returns 0 on success and an error code otherwise, and may throw
/// agentfw::Exception when the facility itself breaks. A dead handle gives an error code.

using KDH1_handle = std::uint64_t;          ///< a service; 0 is none
using KDH1_request_handle = std::uint64_t;  ///< a request, alive during its callback only

/// Identifiers of what KDH1_request_struct::headers holds.
enum KDH1_hdr_t : std::int32_t {
  KDH1_HDR_LANGUAGE = 22,  ///< Accept-Language
  KDH1_HDR_QUERY = 48,     ///< the query text, without "?"
  KDH1_HDR_METHOD = 50,    ///< "GET", "POST", ...
};

/// Media types of a response.
enum KDH1_media_t : std::int32_t {
  KDH1_MEDIA_BINARY = 0,  ///< application/octet-stream
  KDH1_MEDIA_TEXT = 1,    ///< text/plain; charset=utf-8
  KDH1_MEDIA_HTML = 2,    ///< text/html; charset=utf-8
  KDH1_MEDIA_XML = 3,     ///< application/xml
  KDH1_MEDIA_JSON = 4,    ///< application/json
  KDH1_MEDIA_CSS = 5,     ///< text/css; charset=utf-8
  KDH1_MEDIA_SCRIPT = 6,  ///< text/javascript; charset=utf-8
  KDH1_MEDIA_CSV = 7,     ///< text/csv; charset=utf-8
  KDH1_MEDIA_PNG = 8,     ///< image/png
  KDH1_MEDIA_SVG = 9,     ///< image/svg+xml
};

/// The content types of the media types, in the order of their numbers.
inline constexpr const char* kKdh1ContentTypes[] = {
    "application/octet-stream",
    "text/plain; charset=utf-8",
    "text/html; charset=utf-8",
    "application/xml",
    "application/json",
    "text/css; charset=utf-8",
    "text/javascript; charset=utf-8",
    "text/csv; charset=utf-8",
    "image/png",
    "image/svg+xml",
};

struct KDH1_header {
  KDH1_hdr_t id;
  const char* text;      ///< not zero-terminated
  std::uint32_t length;  ///< bytes of text
};

/// A request as its callback sees it. Belongs to the facility; lives during the callback.
struct KDH1_request_struct {
  KDH1_request_handle handle;
  const char* path;  ///< below the service, beginning with "/"; not zero-terminated
  std::uint32_t pathLength;
  const KDH1_header* headers;
  std::uint32_t headerCount;
};

/// Answers one request; returns the status of the response that it sent (0 for success).
using KDH1_service_t = int (*)(KDH1_request_struct* request, void* context);

/// Option kind of KDH1_ActivityOptions: how the request's activity is accounted.
inline constexpr int kKdh1ActivityAccounting = 4;

/// Status of a response to a request with more content than the service takes.
inline constexpr int kKdh1ContentTooLarge = 0x7C4C0010;

extern "C" {

AGENTFW_API int KDH1_New(KDH1_handle* service, const char* name, KDH1_service_t callback,
                         void* context, int options, int reserved);
AGENTFW_API int KDH1_PublishService(KDH1_handle service, int options, int reserved,
                                    const char* title, std::uint32_t titleLength,
                                    const char* nodeName, std::uint32_t nodeNameLength);

/// Serves requests on threads of the framework until the service ends, then returns.
AGENTFW_API int KDH1_Listen(KDH1_handle service, int options);

AGENTFW_API int KDH1_Delete(KDH1_handle service);

/// Sets the options of a kind to `*newOptions` unless that is null, and stores the options before
/// the call in `*currentOptions` unless that is null.
AGENTFW_API int KDH1_ActivityOptions(KDH1_request_handle request, int kind,
                                     const std::uint32_t* newOptions,
                                     std::uint32_t* currentOptions);

/// Opens the request's content and gives its length in bytes. `value` is reserved.
AGENTFW_API int KDH1_OpenEntity(KDH1_request_handle request, std::uint32_t* value,
                                std::uint32_t* length);

/// Reads the next `length` bytes of the content; it must have been opened and have that many left.
AGENTFW_API int KDH1_Get(KDH1_request_handle request, char* buffer, std::uint32_t length);

/// Starts the response; status 0 is success, anything else a failure without content.
AGENTFW_API int KDH1_Response(KDH1_request_handle request, int status, int options, int reserved);

/// Starts the response's content: its media type (KDH1_media_t) and length.
AGENTFW_API int KDH1_CreateEntity(KDH1_request_handle request, int media, std::uint32_t length);

/// Appends to the response's content, which must not become longer than announced.
AGENTFW_API int KDH1_Put(KDH1_request_handle request, const char* data, std::uint32_t length);
}
