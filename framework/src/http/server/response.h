#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace fw::http {

class LiveBody;

inline constexpr std::string_view kJsonType = "application/json";
inline constexpr std::string_view kProblemType = "application/problem+json";

/// A piece of a content ends with the row that passes so many bytes.
inline constexpr std::size_t kPieceSize = 32 * 1024;

/// A content of so many bytes of binary rows is small enough to be sent in one piece.
inline constexpr std::size_t kSmallContent = 128 * 1024;

/// A content that is written while it is sent, piece by piece. Used by one thread at a time.
class BodySource {
 public:
  virtual ~BodySource() = default;

  /// Appends the next piece, some ten KiB; false when nothing is left and nothing was appended.
  virtual bool next(std::string& out) = 0;

  /// Whether the whole content is small enough to be sent in one piece, with its length.
  virtual bool isSmall() const = 0;
};

struct Header {
  std::string name;
  std::string value;
};

/// What a browser may do with an answer that is a page.
enum class ContentPolicy {
  Console,      ///< use what the agent itself serves, and nothing within the page
  Application,  ///< use scripts and styles within the page, and nothing else but pictures
};

/// A content that lasts as long as the process.
struct StaticText {
  std::string_view text;
};

/// A text, or what writes the content while it is sent: until it is whole, or until somebody has
/// had enough.
using Content =
    std::variant<std::string, StaticText, std::unique_ptr<BodySource>, std::shared_ptr<LiveBody>>;

/// An answer.
struct Response {
  int status = 200;
  std::string_view contentType = kJsonType;  ///< static storage
  Content content;
  std::vector<Header> headers;
  ContentPolicy policy = ContentPolicy::Console;
  bool close = false;  ///< the connection ends after this answer
};

/// A JSON document as an answer.
Response jsonResponse(std::string document, int status = 200);

/// The headers that every answer carries, chosen so that a browser takes nothing from elsewhere,
/// guesses no type, keeps no copy, and shows the answer in no frame.
const std::vector<Header>& securityHeaders(ContentPolicy policy);

}  // namespace fw::http
