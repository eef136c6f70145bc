#include "http/server/mhd_request.h"

#include <microhttpd.h>
#include <strings.h>

#include <algorithm>
#include <cstring>
#include <string_view>

namespace fw::http {

namespace {

bool isTokenChar(char c) {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
         (c != '\0' && std::strchr("!#$%&'*+-.^_`|~", c) != nullptr);
}

/// Whether a character may not be part of a header's value.
bool isControl(char c) { return (static_cast<unsigned char>(c) < 0x20 && c != '\t') || c == 0x7F; }

bool isBlank(char c) { return c == ' ' || c == '\t'; }

std::string_view withoutBlanksAtEnd(std::string_view text) {
  while (!text.empty() && isBlank(text.back())) {
    text.remove_suffix(1);
  }
  return text;
}

/// Goes through the header lines in the order in which they came.
///
/// The library works in the buffer that it has read into: it ends names, values and lines there
/// with zeros. So behind a well-formed line, with its one or two characters for the line end, the
/// next one begins. A line that is continued on the next is put together elsewhere, and a line
/// that holds a zero looks shorter than it is: both leave a gap.
class HeaderWalk {
 public:
  HeaderWalk(RawRequest& raw, const char* lineEnd) : raw_(raw), lineEnd_(lineEnd) {}

  void take(std::string_view name, std::string_view value) {
    if (name.empty() || !std::all_of(name.begin(), name.end(), isTokenChar)) {
      complain(
          "A header's name is empty or holds a blank or another character that it can't have.");
    } else if (std::any_of(value.begin(), value.end(), isControl)) {
      complain("The value of header " + std::string(name) + " holds a control character.");
    } else if (!isNextLine(name.data()) || !isBehind(name, value)) {
      complain("A header line is continued on the next line, or holds a zero byte.");
    }
    lineEnd_ = value.data() + value.size();
    keep(name, withoutBlanksAtEnd(value));
  }

  /// Behind the last line, and the empty one after it.
  void end(const char* headerEnd) {
    if (headerEnd - lineEnd_ < 2 || headerEnd - lineEnd_ > 4) {
      complain("A header line is continued on the next line, or holds a zero byte.");
    }
  }

 private:
  bool isNextLine(const char* begin) const {
    return begin - lineEnd_ == 1 || begin - lineEnd_ == 2;
  }

  static bool isBehind(std::string_view name, std::string_view value) {
    const char* at = name.data() + name.size() + 1;
    while (isBlank(*at)) {
      ++at;
    }
    return at == value.data();
  }

  void complain(std::string what) {
    if (raw_.malformed.empty()) {
      raw_.malformed = std::move(what);
    }
  }

  void keep(std::string_view name, std::string_view value) {
    const auto is = [name](std::string_view known) {
      return name.size() == known.size() &&
             strncasecmp(name.data(), known.data(), known.size()) == 0;
    };
    if (is("Host")) {
      raw_.hosts.emplace_back(value);
    } else if (is("Origin")) {
      raw_.origins.emplace_back(value);
    } else if (is("Authorization")) {
      raw_.authorizations.emplace_back(value);
    } else if (is("Content-Length")) {
      raw_.contentLengths.emplace_back(value);
    } else if (is("Transfer-Encoding")) {
      raw_.transferEncodings.emplace_back(value);
    } else if (is("Content-Type")) {
      raw_.contentType = value;
    } else if (is("Accept-Language")) {
      raw_.acceptLanguage = value;
    } else if (is("Last-Event-ID")) {
      raw_.lastEventId = value;
    } else if (is("Sec-Fetch-Site")) {
      raw_.fetchSite = value;
    } else if (is("Sec-Fetch-Mode")) {
      raw_.fetchMode = value;
    } else if (is("Sec-Fetch-Dest")) {
      raw_.fetchDestination = value;
    }
  }

  RawRequest& raw_;
  const char* lineEnd_;  // the first zero behind the line before
};

MHD_Result take(void* walk, MHD_ValueKind /*kind*/, const char* name, std::size_t nameSize,
                const char* value, std::size_t valueSize) {
  static_cast<HeaderWalk*>(walk)->take({name, nameSize}, {value, valueSize});
  return MHD_YES;
}

}  // namespace

RawRequest readRequest(MHD_Connection* connection, const char* method, const char* target,
                       const char* version) {
  RawRequest raw;
  raw.method = method;
  raw.target = target;
  raw.version = version;
  const auto* info = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_REQUEST_HEADER_SIZE);
  raw.headerBytes = info != nullptr ? info->header_size : 0;
  // The parts of the line lie behind one another, too, each ended by a zero.
  if (version != method + raw.method.size() + raw.target.size() + 2) {
    raw.malformed = "The request line has more than two blanks, or holds a zero byte.";
  }
  HeaderWalk walk(raw, version + raw.version.size());
  MHD_get_connection_values_n(connection, MHD_HEADER_KIND, take, &walk);
  walk.end(method + raw.headerBytes);  // the library counts from there, too
  return raw;
}

}  // namespace fw::http
