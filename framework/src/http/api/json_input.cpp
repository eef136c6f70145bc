#include "http/api/json_input.h"

#include <algorithm>
#include <variant>

#include "basic/nearest.h"
#include "http/json/json_parser.h"

namespace fw::http {

namespace {

constexpr std::string_view kWhitespace = " \t";

/// "application/json", with parameters or without.
bool isJsonType(std::string_view type) {
  type = type.substr(0, type.find(';'));
  type = type.substr(0, type.find_last_not_of(kWhitespace) + 1);
  return std::equal(type.begin(), type.end(), kJsonType.begin(), kJsonType.end(),
                    [](char a, char b) { return (a >= 'A' && a <= 'Z' ? a + 32 : a) == b; });
}

Problem wrongType(const std::string& type) {
  return {415,
          "unsupported-media-type",
          "The content is of a type that is not taken here",
          (type.empty() ? std::string("The content has no type")
                        : "The content is of type \"" + type + "\"") +
              "; send it as Content-Type: application/json.",
          {}};
}

Problem badJson(const JsonError& error, std::string_view text) {
  const std::string_view before = text.substr(0, error.position);
  const auto line = std::count(before.begin(), before.end(), '\n') + 1;
  const std::size_t lineBegin = before.rfind('\n') + 1;  // 0 when there is none
  return {400,
          "bad-json",
          "The content is not well-formed JSON",
          error.message,
          {{"position", static_cast<std::int64_t>(error.position)},
           {"line", static_cast<std::int64_t>(line)},
           {"column", static_cast<std::int64_t>(error.position - lineBegin + 1)}}};
}

/// Checks an object and the objects in it.
class ObjectReader {
 public:
  ObjectReader(const Json& object, const std::vector<JsonMember>& members, std::string path)
      : object_(object), members_(members), path_(std::move(path)) {}

  std::optional<Problem> read() const {
    for (const auto& [name, value] : object_.items()) {
      if (std::none_of(members_.begin(), members_.end(),
                       [&key = name](const JsonMember& each) { return each.name == key; })) {
        return unknown(name);
      }
    }
    for (const JsonMember& member : members_) {
      if (auto problem = read(member)) {
        return problem;
      }
    }
    return std::nullopt;
  }

 private:
  std::optional<Problem> read(const JsonMember& member) const {
    const std::string path = path_ + std::string(member.name);
    const auto found = object_.find(std::string(member.name));
    if (found == object_.end() || found->is_null()) {
      return member.required ? std::optional(missing(member, path)) : std::nullopt;
    }
    if (!member.take(*found)) {
      return Problem{
          400,
          "bad-member",
          "A member of the content can't be used",
          "Member " + path + " is " + describe(*found) + "; it takes " + member.expected + '.',
          {{"member", path}}};
    }
    return found->is_object() ? ObjectReader(*found, member.members, path + '.').read()
                              : std::nullopt;
  }

  static Problem missing(const JsonMember& member, const std::string& path) {
    return {400,
            "missing-member",
            "A member of the content is missing",
            "Member " + path + " is missing; give " + member.expected + '.',
            {{"member", path}}};
  }

  Problem unknown(const std::string& name) const {
    std::vector<std::string> known;
    std::string list;
    for (const JsonMember& member : members_) {
      known.emplace_back(member.name);
      list += (list.empty() ? " " : &member == &members_.back() ? " and " : ", ") + known.back();
    }
    Problem problem{400,
                    "unknown-member",
                    "A member of the content is not known",
                    "There is no member \"" + path_ + name + "\"; there are" + list + '.',
                    {{"member", path_ + name}}};
    if (std::string nearest = nearestOf(name, known); !nearest.empty()) {
      problem.extras.emplace_back("nearest", path_ + nearest);
    }
    return problem;
  }

  static std::string describe(const Json& value) {
    constexpr std::size_t kShown = 60;
    if (value.is_object() || value.is_array()) {
      return value.is_object() ? "an object" : "a list";
    }
    std::string text = value.dump();
    return text.size() <= kShown ? text : "a text of " + std::to_string(text.size()) + " bytes";
  }

  const Json& object_;
  const std::vector<JsonMember>& members_;
  const std::string path_;
};

/// A text that may go on into the agent, where a NUL would end it.
bool isUsableText(const Json& value) {
  return value.is_string() && value.get_ref<const std::string&>().find('\0') == std::string::npos;
}

}  // namespace

JsonMember textMember(std::string_view name, bool required, std::string& to) {
  return {name, required, "a text without U+0000", [&to](const Json& value) {
            if (!isUsableText(value)) {
              return false;
            }
            to = value.get<std::string>();
            return true;
          }};
}

JsonMember textMember(std::string_view name, bool required, std::optional<std::string>& to) {
  return {name, required, "a text without U+0000", [&to](const Json& value) {
            if (!isUsableText(value)) {
              return false;
            }
            to = value.get<std::string>();
            return true;
          }};
}

JsonMember textsMember(std::string_view name, bool required, std::vector<std::string>& to) {
  return {name, required, "a list of texts", [&to](const Json& value) {
            if (!value.is_array() || !std::all_of(value.begin(), value.end(), isUsableText)) {
              return false;
            }
            to = value.get<std::vector<std::string>>();
            return true;
          }};
}

JsonMember numberMember(std::string_view name, bool required, std::int64_t min, std::int64_t max,
                        std::int64_t& to) {
  return {name, required,
          "a whole number from " + std::to_string(min) + " to " + std::to_string(max),
          [&to, min, max](const Json& value) {
            if (!value.is_number_integer()) {
              return false;
            }
            to = value.get<std::int64_t>();
            return to >= min && to <= max;
          }};
}

JsonMember choiceMember(std::string_view name, bool required, std::vector<std::string> choices,
                        std::size_t& to) {
  std::string expected;
  for (const std::string& choice : choices) {
    expected += (expected.empty() ? "\"" : " or \"") + choice + '"';
  }
  return {name, required, std::move(expected),
          [&to, choices = std::move(choices)](const Json& value) {
            const auto found = std::find(choices.begin(), choices.end(), value);
            to = static_cast<std::size_t>(found - choices.begin());
            return found != choices.end();
          }};
}

JsonMember objectMember(std::string_view name, bool required, bool& given,
                        std::vector<JsonMember> members) {
  return {name, required, "an object",
          [&given](const Json& value) { return given = value.is_object(); }, std::move(members)};
}

std::optional<Problem> readJson(const Request& request, const std::vector<JsonMember>& members) {
  if (!isJsonType(request.contentType)) {
    return wrongType(request.contentType);
  }
  const auto parsed = parseJson(request.body);
  if (const auto* error = std::get_if<JsonError>(&parsed)) {
    return badJson(*error, request.body);
  }
  const auto& json = std::get<Json>(parsed);
  if (!json.is_object()) {
    return badJson({0, "The document is no object; expected \"{\"."}, request.body);
  }
  return ObjectReader(json, members, "").read();
}

}  // namespace fw::http
