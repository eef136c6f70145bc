#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "basic/clock.h"

namespace fw::http {

/// A member of an object. A template, so that it may hold what is declared only after it.
template <typename Value>
struct NamedValue {
  std::string name;
  Value value;

  bool operator==(const NamedValue&) const = default;
};

/// A JSON value: what a request contains, or an answer. An object keeps its members in the
/// order in which they were given; braces around members make one:
///
///     Json{{"name", "HEAP"}, {"samples", 3}, {"problem", nullptr}}
class Json {
 public:
  using Member = NamedValue<Json>;
  using List = std::vector<Json>;
  using Object = std::vector<Member>;

  Json() = default;  ///< null
  Json(std::nullptr_t) {}
  template <std::same_as<bool> Flag>  // no pointer becomes a flag
  Json(Flag flag) : value_(flag) {}
  template <std::integral Number>
  requires(!std::same_as<Number, bool>) Json(Number number) {
    if (std::in_range<std::int64_t>(number)) {
      value_ = static_cast<std::int64_t>(number);
    } else {
      value_ = static_cast<std::uint64_t>(number);
    }
  }
  Json(double number) : value_(number) {}
  Json(const char* text) : value_(std::string(text)) {}
  Json(std::string_view text) : value_(std::string(text)) {}
  Json(std::string text) : value_(std::move(text)) {}
  Json(List list) : value_(std::move(list)) {}
  Json(const std::vector<std::string>& texts) : value_(List(texts.begin(), texts.end())) {}
  Json(Object members);
  Json(std::initializer_list<Member> members);

  // What it is: null unless it is of this kind.
  const std::int64_t* whole() const { return std::get_if<std::int64_t>(&value_); }
  const std::string* text() const { return std::get_if<std::string>(&value_); }
  const List* list() const { return std::get_if<List>(&value_); }
  const Object* object() const { return std::get_if<Object>(&value_); }
  List* list() { return std::get_if<List>(&value_); }
  Object* object() { return std::get_if<Object>(&value_); }
  bool isNull() const { return std::holds_alternative<std::monostate>(value_); }

  /// The member of an object; null when there is none, or this is not an object.
  const Json* find(std::string_view name) const;

  /// The text of the value: in one line, or in indented lines, for people. Text that is not
  /// UTF-8 is shown with replacement characters.
  enum class Layout { Line, Indented };
  std::string dump(Layout layout = Layout::Line) const;

  /// Calls `visitor` with the value as it is held: std::monostate for null.
  template <typename Visitor>
  void visit(Visitor& visitor) const {
    std::visit(visitor, value_);
  }

  friend bool operator==(const Json& a, const Json& b);

 private:
  /// Only whole numbers above the greatest std::int64_t are held without a sign.
  std::variant<std::monostate, bool, std::int64_t, std::uint64_t, double, std::string, List, Object>
      value_;
};

/// A list of what `toJson` makes of each item.
template <typename Items, typename ToJson>
Json listOf(const Items& items, ToJson toJson) {
  Json::List list;
  for (const auto& item : items) {
    list.push_back(toJson(item));
  }
  return list;
}

/// A text that is null when it is empty.
inline Json orNull(const std::string& text) { return text.empty() ? Json() : Json(text); }

/// The text of a document, for programs and people.
std::string toDocument(const Json& json);

/// The object in one line, with `time` as its first member.
std::string toLine(Json object, Clock::WallTime time);

}  // namespace fw::http
