#include "http/json/json_document.h"

#include <algorithm>
#include <charconv>
#include <type_traits>

#include "http/json/json_text.h"

namespace fw::http {

namespace {

/// As short as it can be read back, and never like a whole number.
void appendDouble(std::string& out, double number) {
  char digits[32];
  const auto end = std::to_chars(digits, digits + sizeof(digits), number).ptr;
  const std::string_view text(digits, static_cast<std::size_t>(end - digits));
  out += text;
  if (text.find_first_of(".e") == std::string_view::npos) {
    out += ".0";
  }
}

class Writer {
 public:
  Writer(std::string& out, Json::Layout layout) : out_(out), layout_(layout) {}

  void operator()(std::monostate /*null*/) { out_ += "null"; }
  void operator()(double number) { appendDouble(out_, number); }

  void operator()(const Json::List& list) {
    enclose('[', ']', list, [this](const Json& item) { item.visit(*this); });
  }
  void operator()(const Json::Object& object) {
    enclose('{', '}', object, [this](const Json::Member& member) {
      appendJsonText(out_, member.name);
      out_ += layout_ == Json::Layout::Indented ? ": " : ":";
      member.value.visit(*this);
    });
  }
  void operator()(const auto& plain) { appendJsonValue(out_, plain); }

 private:
  template <typename Items, typename Append>
  void enclose(char begin, char end, const Items& items, Append append) {
    out_ += begin;
    ++level_;
    for (const auto& item : items) {
      if (&item != &items.front()) {
        out_ += ',';
      }
      breakLine();
      append(item);
    }
    --level_;
    if (!items.empty()) {
      breakLine();
    }
    out_ += end;
  }

  void breakLine() {
    if (layout_ == Json::Layout::Indented) {
      out_ += '\n';
      out_.append(level_ * 2, ' ');
    }
  }

  std::string& out_;
  const Json::Layout layout_;
  std::size_t level_ = 0;
};

}  // namespace

Json::Json(Object members) : value_(std::move(members)) {}

Json::Json(std::initializer_list<Member> members) : value_(Object(members)) {}

const Json* Json::find(std::string_view name) const {
  if (const Object* const members = object()) {
    const auto found = std::find_if(members->begin(), members->end(),
                                    [&](const Member& each) { return each.name == name; });
    return found == members->end() ? nullptr : &found->value;
  }
  return nullptr;
}

std::string Json::dump(Layout layout) const {
  std::string out;
  Writer writer(out, layout);
  visit(writer);
  return out;
}

bool operator==(const Json& a, const Json& b) { return a.value_ == b.value_; }

std::string toDocument(const Json& json) { return json.dump(Json::Layout::Indented) + '\n'; }

std::string toLine(Json object, Clock::WallTime time) {
  Json::Object& members = *object.object();
  members.insert(members.begin(), {"time", toRfc3339(time)});
  return object.dump();
}

}  // namespace fw::http
