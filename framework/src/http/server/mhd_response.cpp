#include "http/server/mhd_response.h"

#include <microhttpd.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <exception>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include "agentfw/ras1.h"
#include "http/server/live_body.h"

RAS1_UNIT("HTTPREPLY");

namespace fw::http {

namespace {

constexpr std::size_t kBlockSize = 32 * 1024;

struct Destroy {
  void operator()(MHD_Response* response) const { MHD_destroy_response(response); }
};
using ResponsePtr = std::unique_ptr<MHD_Response, Destroy>;

/// Feeds the library from a source.
struct Stream {
  std::unique_ptr<BodySource> source;
  std::string piece;
  std::size_t taken = 0;

  ssize_t read(char* out, std::size_t size) {
    if (taken == piece.size()) {
      piece.clear();
      taken = 0;
      if (!source->next(piece)) {
        return MHD_CONTENT_READER_END_OF_STREAM;
      }
    }
    const std::size_t count = std::min(size, piece.size() - taken);
    std::memcpy(out, piece.data() + taken, count);
    taken += count;
    return static_cast<ssize_t>(count);
  }
};

ssize_t readStream(void* stream, std::uint64_t /*position*/, char* out, std::size_t size) {
  RAS1_FUNCTION();
  try {
    return static_cast<Stream*>(stream)->read(out, size);
  } catch (const std::exception& error) {
    RAS1_PRINT("ERROR: answer cut: %s", error.what());
    return MHD_CONTENT_READER_END_WITH_ERROR;
  }
}

void freeStream(void* stream) { delete static_cast<Stream*>(stream); }

ssize_t readLive(void* live, std::uint64_t /*position*/, char* out, std::size_t size) {
  RAS1_FUNCTION();
  try {
    return (*static_cast<std::shared_ptr<LiveBody>*>(live))->read(out, size);
  } catch (const std::exception& error) {
    RAS1_PRINT("ERROR: stream cut: %s", error.what());
    return MHD_CONTENT_READER_END_WITH_ERROR;
  }
}

void freeLive(void* live) { delete static_cast<std::shared_ptr<LiveBody>*>(live); }

/// Makes the library's answer of a content.
struct Create {
  ResponsePtr operator()(std::string& text) const {
    return fromBuffer(text, MHD_RESPMEM_MUST_COPY);
  }

  ResponsePtr operator()(StaticText& content) const {
    return fromBuffer(content.text, MHD_RESPMEM_PERSISTENT);
  }

  ResponsePtr operator()(std::unique_ptr<BodySource>& source) const {
    if (source->isSmall()) {
      std::string text;
      while (source->next(text)) {
      }
      return (*this)(text);
    }
    auto stream = std::make_unique<Stream>();
    stream->source = std::move(source);
    return fromCallback(std::move(stream), readStream, freeStream);
  }

  ResponsePtr operator()(std::shared_ptr<LiveBody>& body) const {
    return fromCallback(std::make_unique<std::shared_ptr<LiveBody>>(std::move(body)), readLive,
                        freeLive);
  }

 private:
  static ResponsePtr fromBuffer(std::string_view text, MHD_ResponseMemoryMode mode) {
    return ResponsePtr(
        MHD_create_response_from_buffer(text.size(), const_cast<char*>(text.data()), mode));
  }

  template <typename Context>
  static ResponsePtr fromCallback(std::unique_ptr<Context> context, MHD_ContentReaderCallback read,
                                  MHD_ContentReaderFreeCallback free) {
    ResponsePtr created(
        MHD_create_response_from_callback(MHD_SIZE_UNKNOWN, kBlockSize, read, context.get(), free));
    if (created != nullptr) {
      static_cast<void>(context.release());  // `free` deletes it
    }
    return created;
  }
};

void addHeaders(MHD_Response* to, const std::vector<Header>& headers) {
  for (const Header& header : headers) {
    MHD_add_response_header(to, header.name.c_str(), header.value.c_str());
  }
}

}  // namespace

bool queueResponse(MHD_Connection* connection, Response&& response) {
  RAS1_FUNCTION();
  try {
    const bool isLive = std::holds_alternative<std::shared_ptr<LiveBody>>(response.content);
    const ResponsePtr created = std::visit(Create(), response.content);
    if (created == nullptr) {
      return false;
    }
    MHD_add_response_header(created.get(), "Content-Type",
                            std::string(response.contentType).c_str());
    addHeaders(created.get(), securityHeaders(response.policy));
    addHeaders(created.get(), response.headers);
    if (isLive) {
      // The library's time-out takes a client for idle that has nothing to take.
      MHD_set_connection_option(connection, MHD_CONNECTION_OPTION_TIMEOUT, 0U);
    }
    if (response.close) {
      MHD_add_response_header(created.get(), "Connection", "close");
    }
    return MHD_queue_response(connection, static_cast<unsigned>(response.status), created.get()) ==
           MHD_YES;
  } catch (const std::exception& error) {
    RAS1_PRINT("ERROR: answer not sent: %s", error.what());
    return false;
  }
}

}  // namespace fw::http
