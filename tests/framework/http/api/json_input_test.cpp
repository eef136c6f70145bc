#include "http/api/json_input.h"

#include <gtest/gtest.h>

#include "http/server/gate.h"

namespace fw::http {
namespace {

struct Input {
  std::string name;
  std::optional<std::string> note;
  std::vector<std::string> list;
  std::int64_t count = 0;
  std::size_t choice = 7;
  bool hasPart = false;
  std::string partName;
};

std::optional<Problem> read(const std::string& body, Input& input,
                            const std::string& type = "application/json") {
  Request request;
  request.contentType = type;
  request.body = body;
  return readJson(request, {textMember("name", kRequired, input.name),
                            textMember("note", kOptional, input.note),
                            textsMember("list", kOptional, input.list),
                            numberMember("count", kOptional, 1, 9, input.count),
                            choiceMember("choice", kOptional, {"one", "two"}, input.choice),
                            objectMember("part", kOptional, input.hasPart,
                                         {textMember("name", kRequired, input.partName)})});
}

/// The problem with a body, as "kind member: detail".
std::string problemOf(const std::string& body) {
  Input input;
  const auto problem = read(body, input);
  if (!problem) {
    return "none";
  }
  std::string text(problem->kind);
  for (const auto& [name, extra] : problem->extras) {
    if (name == "member") {
      text += ' ' + std::get<std::string>(extra);
    }
    if (name == "nearest") {
      text += " (" + std::get<std::string>(extra) + ')';
    }
  }
  return text + ": " + problem->detail;
}

TEST(JsonInputTest, TakesEveryKindOfMember) {
  Input input;

  const auto problem = read(
      "{\"name\": \"a\", \"note\": \"b\", \"list\": [\"x\", \"y\"], \"count\": 9, "
      "\"choice\": \"two\", \"part\": {\"name\": \"c\"}}",
      input);

  ASSERT_FALSE(problem) << problem->detail;
  EXPECT_EQ(input.name, "a");
  EXPECT_EQ(input.note, "b");
  EXPECT_EQ(input.list, (std::vector<std::string>{"x", "y"}));
  EXPECT_EQ(input.count, 9);
  EXPECT_EQ(input.choice, 1u);
  EXPECT_TRUE(input.hasPart);
  EXPECT_EQ(input.partName, "c");
}

TEST(JsonInputTest, TakesNullForNotGiven) {
  Input input;

  EXPECT_FALSE(read("{\"name\": \"a\", \"note\": null, \"part\": null}", input));

  EXPECT_EQ(input.note, std::nullopt);
  EXPECT_FALSE(input.hasPart);
}

TEST(JsonInputTest, NamesWhatIsWrongAndWhatHelps) {
  const struct {
    const char* body;
    const char* problem;
  } cases[] = {
      {"{}", "missing-member name: Member name is missing; give a string without U+0000."},
      {"{\"name\": null}",
       "missing-member name: Member name is missing; give a string without "
       "U+0000."},
      {"{\"name\": 1}", "bad-member name: Member name is 1; it takes a string without U+0000."},
      {"{\"name\": \"a\\u0000\"}",
       "bad-member name: Member name is \"a\\u0000\"; it takes a string without U+0000."},
      {"{\"name\": \"a\", \"count\": 10}",
       "bad-member count: Member count is 10; it takes a whole number from 1 to 9."},
      {"{\"name\": \"a\", \"count\": 1.5}",
       "bad-member count: Member count is 1.5; it takes a whole number from 1 to 9."},
      {"{\"name\": \"a\", \"list\": [1]}",
       "bad-member list: Member list is a list; it takes a list of strings."},
      {"{\"name\": \"a\", \"choice\": \"three\"}",
       "bad-member choice: Member choice is \"three\"; it takes \"one\" or \"two\"."},
      {"{\"name\": \"a\", \"part\": 1}", "bad-member part: Member part is 1; it takes an object."},
      {"{\"name\": \"a\", \"part\": {}}",
       "missing-member part.name: Member part.name is missing; give a string without U+0000."},
      {"{\"nam\": \"a\"}",
       "unknown-member nam (name): There is no member \"nam\"; there are name, note, list, count, "
       "choice and part."},
      {"{\"name\": \"a\", \"part\": {\"nane\": 1}}",
       "unknown-member part.nane (part.name): There is no member \"part.nane\"; there are name."},
      {"[]", "bad-json: The document is not an object; expected \"{\"."},
  };
  for (const auto& each : cases) {
    EXPECT_EQ(problemOf(each.body), each.problem) << each.body;
  }
}

TEST(JsonInputTest, TellsWhereTheTextBreaks) {
  Input input;

  const auto problem = read("{\n  \"name\" \"a\"}", input);

  ASSERT_TRUE(problem);
  EXPECT_EQ(problem->kind, "bad-json");
  EXPECT_EQ(problem->detail, "Found \"\"\" and expected \":\".");
  EXPECT_EQ(problem->extras, (decltype(problem->extras){{"position", std::int64_t{11}},
                                                        {"line", std::int64_t{2}},
                                                        {"column", std::int64_t{10}}}));
}

TEST(JsonInputTest, WantsTheTypeOfJson) {
  Input input;
  const std::string body = "{\"name\": \"a\"}";

  EXPECT_FALSE(read(body, input, "Application/JSON ; charset=utf-8"));
  for (const char* type : {"", "text/plain", "application/json5", "application/jso"}) {
    const auto problem = read(body, input, type);
    ASSERT_TRUE(problem) << type;
    EXPECT_EQ(problem->status, 415) << type;
  }
}

}  // namespace
}  // namespace fw::http
