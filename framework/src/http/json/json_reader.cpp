#include "http/json/json_reader.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <limits>
#include <nlohmann/json.hpp>
#include <utility>

#include "basic/utf8.h"

namespace fw::http {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kBlanks = " \t\n\r";
constexpr std::string_view kEscapes =
    "; expected one of \\\" \\\\ \\/ \\b \\f \\n \\r \\t \\uXXXX.";

/// How far the library has read. It reads one character ahead after a number, and only there.
struct Progress {
  std::string_view text;
  std::size_t read = 0;
  bool ended = false;  ///< the library knows that nothing follows
};

/// Hands the text to the library.
class Cursor {
 public:
  using iterator_category = std::input_iterator_tag;
  using value_type = char;
  using difference_type = std::ptrdiff_t;
  using pointer = const char*;
  using reference = char;

  explicit Cursor(Progress* progress) : progress_(progress) {}  // null: the text's end

  char operator*() const { return progress_->text[progress_->read]; }
  Cursor& operator++() {
    ++progress_->read;
    return *this;
  }
  bool operator!=(const Cursor& /*end*/) const {
    progress_->ended = progress_->read == progress_->text.size();
    return !progress_->ended;
  }

 private:
  Progress* progress_;
};

/// Makes a value of what the library finds, within the limits. Each operation returns false once
/// error() is set.
class Builder {
 public:
  explicit Builder(std::string_view text) : progress_{text} {}

  Cursor begin() { return Cursor(&progress_); }
  static Cursor end() { return Cursor(nullptr); }

  Json takeValue() { return std::move(root_); }
  const JsonError& error() const { return error_; }

  /// Tells what there is where the next piece should begin, and what was expected instead.
  bool failUnexpected() {
    const std::size_t at = nextPiece();
    std::string found = "the content's end";
    if (at < progress_.text.size()) {
      const std::string_view rest = progress_.text.substr(at);
      found =
          '"' + std::string(rest.substr(0, std::max<std::size_t>(utf8CharLength(rest), 1))) + '"';
    }
    return fail(at, "Found " + found + " and expected " + expected(at) + '.');
  }

  // What the library calls.
  bool null() { return add(nullptr); }
  bool boolean(bool flag) { return add(flag); }
  bool number_integer(std::int64_t number) { return add(number, kIsNumber); }
  bool number_unsigned(std::uint64_t number) {
    return std::in_range<std::int64_t>(number) ? add(number, kIsNumber)
                                               : failRange(std::to_string(number));
  }
  bool number_float(double number, const std::string& text) {
    // A whole number that does not fit comes as one with a fraction.
    return text.find_first_of(".eE") != std::string::npos ? add(number, kIsNumber)
                                                          : failRange(text);
  }
  bool string(std::string& text) { return add(std::move(text)); }
  bool binary(std::vector<std::uint8_t>& /*bytes*/) { return failUnexpected(); }

  bool start_object(std::size_t /*size*/) { return enter(Json::Object()); }
  bool key(std::string& name) {
    Json::Object& members = *open_.back()->object();
    if (open_.back()->find(name) != nullptr) {
      return fail(nextPiece(),
                  "The name \"" + name + "\" appears here a second time; give it once.");
    }
    if (members.size() >= kMaxJsonMembers) {
      return fail(nextPiece(), "The object has more than " + std::to_string(kMaxJsonMembers) +
                                   " members; no more are accepted.");
    }
    members.push_back({std::move(name), {}});
    return passed(Last::Name);
  }
  bool end_object() { return leave(); }
  bool start_array(std::size_t /*size*/) { return enter(Json::List()); }
  bool end_array() { return leave(); }

  bool parse_error(std::size_t /*position*/, const std::string& token,
                   const nlohmann::detail::exception& error) {
    const std::string_view what = error.what();
    if (error.id == kOverflow) {
      return failRange(token);
    }
    if (!failBroken(what, " - invalid string: ", "The text can't be read: ") &&
        !failBroken(what, " - invalid number; ", "The number can't be read: ")) {
      failUnexpected();
    }
    return false;
  }

 private:
  static constexpr int kOverflow = 406;  ///< the library's number of that error
  static constexpr bool kIsNumber = true;

  /// What was read last.
  enum class Last { Nothing, Begin, Name, Value };

  bool add(Json value, bool isNumber = false) {
    return place(std::move(value)) != nullptr && passed(Last::Value, isNumber);
  }

  bool enter(Json container) {
    if (open_.size() >= kMaxJsonDepth) {
      return fail(nextPiece(), "Objects and arrays are nested too deeply; at most " +
                                   std::to_string(kMaxJsonDepth) + " levels are accepted.");
    }
    Json* const placed = place(std::move(container));
    if (placed == nullptr) {
      return false;
    }
    // The container that it lies in does not grow before this one is left.
    open_.push_back(placed);
    return passed(Last::Begin);
  }

  bool leave() {
    open_.pop_back();
    return passed(Last::Value);
  }

  /// Puts a value where it belongs; null when there are too many.
  Json* place(Json value) {
    if (++values_ > kMaxJsonValues) {
      fail(nextPiece(), "The document has more than " + std::to_string(kMaxJsonValues) +
                            " values; no more are accepted.");
      return nullptr;
    }
    if (open_.empty()) {
      return &(root_ = std::move(value));
    }
    if (Json::List* const list = open_.back()->list()) {
      return &list->emplace_back(std::move(value));
    }
    return &(open_.back()->object()->back().value = std::move(value));
  }

  bool passed(Last last, bool isNumber = false) {
    last_ = last;
    lastEnd_ = progress_.read - (isNumber && !progress_.ended ? 1 : 0);
    return true;
  }

  /// Where the piece begins that was read last, or could not be: behind what was taken before it.
  std::size_t nextPiece() const {
    std::size_t at = skipBlanks(lastEnd_);
    if (at < progress_.text.size() && progress_.text[at] == separator()) {
      at = skipBlanks(at + 1);
    }
    return at;
  }

  /// What parts the last piece from the next one; NUL for nothing.
  char separator() const {
    return last_ == Last::Name ? ':' : last_ == Last::Value && !open_.empty() ? ',' : '\0';
  }

  /// What is expected at nextPiece().
  std::string expected(std::size_t at) const {
    const bool isParted =
        separator() != '\0' &&
        progress_.text.substr(lastEnd_, at - lastEnd_).find(separator()) != std::string::npos;
    const bool inObject = !open_.empty() && open_.back()->object() != nullptr;
    switch (last_) {
      case Last::Nothing:
        break;
      case Last::Name:
        return isParted ? "a value" : "\":\"";
      case Last::Begin:
        return inObject ? "a name in quotes or \"}\"" : "a value";
      case Last::Value:
        return open_.empty() ? "nothing after the document's end"
               : isParted    ? (inObject ? "a name in quotes" : "a value")
               : inObject    ? "\",\" or \"}\""
                             : "\",\" or \"]\"";
    }
    return "a value";
  }

  std::size_t skipBlanks(std::size_t at) const {
    return std::min(progress_.text.find_first_not_of(kBlanks, at), progress_.text.size());
  }

  /// Tells why the library can't read a text or a number; false if its reason does not begin with
  /// `mark`. What the client sent stands after the reason.
  bool failBroken(std::string_view what, std::string_view mark, std::string_view message) {
    const std::size_t found = what.find(mark);
    if (found == std::string_view::npos) {
      return false;
    }
    std::string_view reason = what.substr(found + mark.size());
    reason = reason.substr(0, reason.find("; last read: "));
    const bool isEscape = reason.ends_with("after backslash");
    fail(progress_.ended ? nextPiece() : progress_.read - 1,
         std::string(message) + std::string(reason) + (isEscape ? std::string(kEscapes) : "."));
    return true;
  }

  bool failRange(const std::string& number) {
    return fail(nextPiece(), "The number " + number.substr(0, 40) + " is out of range.");
  }

  bool fail(std::size_t position, std::string message) {
    error_ = {position, std::move(message)};
    return false;
  }

  Progress progress_;
  Json root_;
  std::vector<Json*> open_;  // objects and arrays, outermost first
  std::size_t values_ = 0;
  Last last_ = Last::Nothing;
  std::size_t lastEnd_ = 0;  // of what was read last
  JsonError error_;
};

}  // namespace

std::variant<Json, JsonError> parseJson(std::string_view text) {
  if (!isValidUtf8(text)) {
    return JsonError{0, "The content is not UTF-8."};
  }
  Builder builder(text);
  // The library passes over a byte order mark, and takes U+0000 for the end.
  const bool isGood =
      !text.starts_with(kByteOrderMark)
          ? nlohmann::json::sax_parse(builder.begin(), Builder::end(), &builder) &&
                (text.find('\0') == std::string_view::npos || builder.failUnexpected())
          : builder.failUnexpected();
  if (isGood) {
    return builder.takeValue();
  }
  return builder.error();
}

}  // namespace fw::http
