#include "http/json/json_parser.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <utility>

#include "basic/utf8.h"

namespace fw::http {

namespace {

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
bool isDigit(char c) { return c >= '0' && c <= '9'; }

/// Recursive descent, one function per kind of value. Each returns false once error_ is set.
class Parser {
 public:
  explicit Parser(std::string_view text) : text_(text) {}

  std::variant<Json, JsonError> parse() {
    Json json;
    if (!isValidUtf8(text_)) {
      return JsonError{0, "The content is not UTF-8."};
    }
    skipBlanks();
    if (!takeValue(json)) {
      return error_;
    }
    skipBlanks();
    if (at_ != text_.size()) {
      expected("nothing after the document's end");
      return error_;
    }
    return json;
  }

 private:
  bool takeValue(Json& out) {
    switch (peek()) {
      case '{':
        return takeObject(out);
      case '[':
        return takeArray(out);
      case '"': {
        std::string text;
        const bool taken = takeString(text);
        out = std::move(text);
        return taken;
      }
      case 't':
        return takeWord("true", true, out);
      case 'f':
        return takeWord("false", false, out);
      case 'n':
        return takeWord("null", nullptr, out);
      default:
        return peek() == '-' || isDigit(peek()) ? takeNumber(out) : expected("a value");
    }
  }

  bool takeObject(Json& out) {
    if (!enter()) {
      return false;
    }
    out = Json::object();
    for (bool first = true; !takeEnd('}'); first = false) {
      if (!first && !takeComma("\"}\"")) {
        return false;
      }
      const std::size_t begin = at_;
      std::string name;
      if (peek() != '"') {
        return expected(first ? "a name in quotes or \"}\"" : "a name in quotes");
      }
      if (!takeString(name)) {
        return false;
      }
      if (out.contains(name)) {
        return fail(begin, "The name \"" + name + "\" stands here a second time; give it once.");
      }
      if (out.size() >= kMaxJsonMembers) {
        return fail(begin, "The object has more than " + std::to_string(kMaxJsonMembers) +
                               " members; no more are taken.");
      }
      skipBlanks();
      if (peek() != ':') {
        return expected("\":\"");
      }
      ++at_;
      skipBlanks();
      if (!takeValue(out[name])) {
        return false;
      }
      skipBlanks();
    }
    return true;
  }

  bool takeArray(Json& out) {
    if (!enter()) {
      return false;
    }
    out = Json::array();
    for (bool first = true; !takeEnd(']'); first = false) {
      if (!first && !takeComma("\"]\"")) {
        return false;
      }
      Json item;
      if (!takeValue(item)) {
        return false;
      }
      out.push_back(std::move(item));
      skipBlanks();
    }
    return true;
  }

  bool takeString(std::string& out) {
    const std::size_t begin = at_++;
    while (at_ < text_.size()) {
      const char c = text_[at_];
      if (c == '"') {
        ++at_;
        return true;
      }
      if (static_cast<unsigned char>(c) < 0x20) {
        return fail(at_, "A control character can't stand in a text; write it as \\u00XX.");
      }
      if (c != '\\') {
        out += c;
        ++at_;
      } else if (!takeEscape(out)) {
        return false;
      }
    }
    return fail(begin, "The text that begins here has no closing quote.");
  }

  bool takeEscape(std::string& out) {
    constexpr std::string_view kNames = "\"\\/bfnrt";
    constexpr std::string_view kMeanings = "\"\\/\b\f\n\r\t";
    const std::size_t begin = at_++;
    const char name = peek();
    if (const std::size_t found = kNames.find(name); found != std::string_view::npos && !atEnd()) {
      out += kMeanings[found];
      ++at_;
      return true;
    }
    std::uint32_t code = 0;
    if (!takeUnit(code)) {
      return fail(begin,
                  "This is no escape; expected one of \\\" \\\\ \\/ \\b \\f \\n \\r \\t \\uXXXX.");
    }
    if (code >= 0xD800 && code < 0xDC00) {
      std::uint32_t low = 0;
      if (peek() != '\\') {
        return fail(begin, "This is half a character; expected \\u and its other half behind it.");
      }
      ++at_;
      if (!takeUnit(low) || low < 0xDC00 || low > 0xDFFF) {
        return fail(begin, "This is half a character; expected \\u and its other half behind it.");
      }
      code = 0x10000 + ((code - 0xD800) << 10U) + (low - 0xDC00);
    } else if (code >= 0xDC00 && code <= 0xDFFF) {
      return fail(begin, "This is the second half of a character without the first.");
    }
    appendUtf8(out, code);
    return true;
  }

  /// Takes "uXXXX".
  bool takeUnit(std::uint32_t& code) {
    const std::string_view digits = text_.substr(std::min(at_ + 1, text_.size()), 4);
    if (peek() != 'u' || digits.size() != 4) {
      return false;
    }
    const auto [end, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), code, 16);
    at_ += 5;
    return error == std::errc() && end == digits.data() + digits.size();
  }

  static void appendUtf8(std::string& out, std::uint32_t code) {
    const auto tail = [&](unsigned shift) {
      out += static_cast<char>(0x80U | ((code >> shift) & 0x3FU));
    };
    if (code < 0x80) {
      out += static_cast<char>(code);
    } else if (code < 0x800) {
      out += static_cast<char>(0xC0U | (code >> 6U));
      tail(0);
    } else if (code < 0x10000) {
      out += static_cast<char>(0xE0U | (code >> 12U));
      tail(6);
      tail(0);
    } else {
      out += static_cast<char>(0xF0U | (code >> 18U));
      tail(12);
      tail(6);
      tail(0);
    }
  }

  bool takeNumber(Json& out) {
    const std::size_t begin = at_;
    at_ += peek() == '-' ? 1 : 0;
    const bool leadingZero = peek() == '0';
    const std::size_t digits = skipDigits();
    if (digits == 0 || (leadingZero && digits > 1)) {
      return fail(begin, "This is no number; expected digits, without a zero before others.");
    }
    bool isWhole = true;
    if (peek() == '.') {
      isWhole = false;
      ++at_;
      if (skipDigits() == 0) {
        return expected("a digit");
      }
    }
    if (peek() == 'e' || peek() == 'E') {
      isWhole = false;
      ++at_;
      at_ += peek() == '+' || peek() == '-' ? 1 : 0;
      if (skipDigits() == 0) {
        return expected("a digit");
      }
    }
    const std::string_view text = text_.substr(begin, at_ - begin);
    return isWhole ? store<std::int64_t>(text, begin, out) : store<double>(text, begin, out);
  }

  template <typename Number>
  bool store(std::string_view text, std::size_t begin, Json& out) {
    Number number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc()) {
      return fail(begin, "The number " + std::string(text.substr(0, 40)) + " is out of range.");
    }
    out = number;
    return true;
  }

  template <typename Value>
  bool takeWord(std::string_view word, Value value, Json& out) {
    if (text_.substr(at_, word.size()) != word) {
      return expected("a value");
    }
    at_ += word.size();
    out = value;
    return true;
  }

  bool enter() {
    if (++depth_ > kMaxJsonDepth) {
      return fail(at_, "Objects and arrays stand within each other too deep; at most " +
                           std::to_string(kMaxJsonDepth) + " levels are taken.");
    }
    ++at_;
    skipBlanks();
    return true;
  }

  /// Takes the end of an object or an array if it is here.
  bool takeEnd(char end) {
    if (peek() != end) {
      return false;
    }
    ++at_;
    --depth_;
    return true;
  }

  bool takeComma(const char* end) {
    if (peek() != ',') {
      return expected(std::string("\",\" or ") + end);
    }
    ++at_;
    skipBlanks();
    return true;
  }

  bool expected(const std::string& what) {
    std::string found = "the content's end";
    if (!atEnd()) {
      const std::size_t length = std::max<std::size_t>(utf8CharLength(text_.substr(at_)), 1);
      found = '"' + std::string(text_.substr(at_, length)) + '"';
    }
    return fail(at_, "Found " + found + " and expected " + what + '.');
  }

  bool fail(std::size_t position, std::string message) {
    error_ = {position, std::move(message)};
    return false;
  }

  bool atEnd() const { return at_ >= text_.size(); }
  char peek() const { return atEnd() ? '\0' : text_[at_]; }

  void skipBlanks() {
    while (!atEnd() && isBlank(text_[at_])) {
      ++at_;
    }
  }

  std::size_t skipDigits() {
    const std::size_t begin = at_;
    while (!atEnd() && isDigit(text_[at_])) {
      ++at_;
    }
    return at_ - begin;
  }

  const std::string_view text_;
  std::size_t at_ = 0;
  int depth_ = 0;
  JsonError error_;
};

}  // namespace

std::variant<Json, JsonError> parseJson(std::string_view text) { return Parser(text).parse(); }

}  // namespace fw::http
