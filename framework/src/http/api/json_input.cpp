#include "http/api/json_input.h"

#include <algorithm>
#include <variant>

#include "basic/nearest.h"
#include "http/json/json_reader.h"
#include "http/server/gate.h"

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
          "The content type is not accepted here",
          (type.empty() ? std::string("The content has no type")
                        : "The content has type \"" + type + "\"") +
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
    for (const auto& [name, value] : *object_.object()) {
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
    const Json* const found = object_.find(member.name);
    if (found == nullptr || found->isNull()) {
      return member.required ? std::optional(missing(member, path)) : std::nullopt;
    }
    if (!member.take(*found)) {
      return badMember(path, "Member " + path + " is " + describe(*found) + "; it takes " +
                                 member.expected + '.');
    }
    return found->object() != nullptr ? ObjectReader(*found, member.members, path + '.').read()
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
                    "A member of the content is unknown",
                    "There is no member \"" + path_ + name + "\"; there are" + list + '.',
                    {{"member", path_ + name}}};
    if (std::string nearest = nearestOf(name, known); !nearest.empty()) {
      problem.extras.emplace_back("nearest", path_ + nearest);
    }
    return problem;
  }

  static std::string describe(const Json& value) {
    constexpr std::size_t kShown = 60;
    if (value.object() != nullptr || value.list() != nullptr) {
      return value.object() != nullptr ? "an object" : "a list";
    }
    std::string text = value.dump();
    return text.size() <= kShown ? text : "a string of " + std::to_string(text.size()) + " bytes";
  }

  const Json& object_;
  const std::vector<JsonMember>& members_;
  const std::string path_;
};

/// A text that may be passed on to the agent, where a NUL would end it; else null.
const std::string* usableText(const Json& value) {
  const std::string* const text = value.text();
  return text != nullptr && text->find('\0') == std::string::npos ? text : nullptr;
}

template <typename Text>
JsonMember anyTextMember(std::string_view name, bool required, Text& to) {
  return {name, required, "a string without U+0000", [&to](const Json& value) {
            const std::string* const text = usableText(value);
            if (text != nullptr) {
              to = *text;
            }
            return text != nullptr;
          }};
}

}  // namespace

Problem badMember(const std::string& path, std::string detail) {
  return {400,
          "bad-member",
          "A member of the content can't be used",
          std::move(detail),
          {{"member", path}}};
}

JsonMember textMember(std::string_view name, bool required, std::string& to) {
  return anyTextMember(name, required, to);
}

JsonMember textMember(std::string_view name, bool required, std::optional<std::string>& to) {
  return anyTextMember(name, required, to);
}

JsonMember textsMember(std::string_view name, bool required, std::vector<std::string>& to) {
  return {name, required, "a list of strings", [&to](const Json& value) {
            if (value.list() == nullptr) {
              return false;
            }
            for (const Json& item : *value.list()) {
              const std::string* const text = usableText(item);
              if (text == nullptr) {
                return false;
              }
              to.push_back(*text);
            }
            return true;
          }};
}

JsonMember numberMember(std::string_view name, bool required, std::int64_t min, std::int64_t max,
                        std::int64_t& to) {
  return {name, required,
          "a whole number from " + std::to_string(min) + " to " + std::to_string(max),
          [&to, min, max](const Json& value) {
            const std::int64_t* const number = value.whole();
            if (number == nullptr || *number < min || *number > max) {
              return false;
            }
            to = *number;
            return true;
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
            const std::string* const text = value.text();
            const auto found =
                text == nullptr ? choices.end() : std::find(choices.begin(), choices.end(), *text);
            to = static_cast<std::size_t>(found - choices.begin());
            return found != choices.end();
          }};
}

JsonMember objectMember(std::string_view name, bool required, bool& given,
                        std::vector<JsonMember> members) {
  return {name, required, "an object",
          [&given](const Json& value) { return given = value.object() != nullptr; },
          std::move(members)};
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
  if (json.object() == nullptr) {
    return badJson({0, "The document is not an object; expected \"{\"."}, request.body);
  }
  return ObjectReader(json, members, "").read();
}

}  // namespace fw::http
