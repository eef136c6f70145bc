#include "config/load.h"

#include <gtest/gtest.h>

#include <string>

#include "support/temp_dir.h"

namespace fw {
namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;

const std::string kIdentity = "product: {code: ZJX, name: JVM monitoring}\ninstance: jmx\n";

std::string errorsOf(const std::string& text) { return parseConfig(kIdentity + text, "f").errors; }

AgentConfig configOf(const std::string& text) {
  const LoadedConfig loaded = parseConfig(kIdentity + text, "f");
  EXPECT_EQ(loaded.errors, "");
  return loaded.config;
}

TEST(LoadTest, WhatTheFileDoesNotSayHasItsDefault) {
  const AgentConfig config = configOf("");

  EXPECT_EQ(config.product.code, "ZJX");
  EXPECT_EQ(config.product.name, "JVM monitoring");
  EXPECT_EQ(config.instance, "jmx");
  EXPECT_EQ(config.http.port, 8790);
  EXPECT_EQ(config.engine.stuckAfter, 10s);
  EXPECT_EQ(config.trace.file, "") << "the home's name makes it";
  EXPECT_EQ(config.trace.defaultMask, kRas1State | kRas1Error);
}

TEST(LoadTest, EachKindOfValueIsRead) {
  const AgentConfig config = configOf(
      "host: node-1.example.org\n"
      "environment:\n"
      "  ZEL_REPLY_TIMEOUT: 120\n"
      "  PATH_TO_X: \"/a b\"\n"
      "http:\n"
      "  port: 0\n"
      "  body_limit: 64KiB\n"
      "engine:\n"
      "  report_deadline: 500ms\n"
      "trace:\n"
      "  default: [error]\n"
      "  units:\n"
      "    ZELIRA: [detail, flow]\n"
      "    file:zel*.cpp: [all]\n"
      "    ZELJVM: []\n"
      "  file: trace.log\n"
      "  max_size: 1MiB\n"
      "  files: 2\n"
      "  stderr: true\n");

  EXPECT_EQ(config.host, "node-1.example.org");
  const std::map<std::string, std::string> variables{{"ZEL_REPLY_TIMEOUT", "120"},
                                                     {"PATH_TO_X", "/a b"}};
  EXPECT_EQ(config.environment, variables);
  EXPECT_EQ(config.http.port, 0);
  EXPECT_EQ(config.http.bodyLimit, 65536U);
  EXPECT_EQ(config.engine.reportDeadline, 500ms);
  EXPECT_EQ(config.trace.defaultMask, std::uint32_t{kRas1Error});
  const std::vector<trace::MaskRule> rules{
      {"ZELIRA", kRas1Detail | kRas1Flow}, {"file:zel*.cpp", trace::kAllClasses}, {"ZELJVM", 0}};
  EXPECT_EQ(config.trace.units, rules);
  EXPECT_EQ(config.trace.file, "trace.log");
  EXPECT_EQ(config.trace.maxSize, 1U << 20U);
  EXPECT_EQ(config.trace.files, 2U);
  EXPECT_TRUE(config.trace.toStderr);
}

TEST(LoadTest, ASectionMayBeEmpty) { EXPECT_EQ(errorsOf("http:\ntrace: {}\nenvironment:\n"), ""); }

TEST(LoadTest, AnUnknownKeyNamesTheNearestKnownOne) {
  EXPECT_EQ(errorsOf("http:\n  prot: 1\n"),
            "f:4:3: unknown key \"http.prot\"; did you mean \"http.port\"?");
  EXPECT_EQ(errorsOf("htpp: {port: 1}\n"), "f:3:1: unknown key \"htpp\"; did you mean \"http\"?");
}

TEST(LoadTest, AKnownKeyInTheWrongPlaceIsSentToItsPlace) {
  EXPECT_EQ(errorsOf("port: 1\n"), "f:3:1: unknown key \"port\"; did you mean \"http.port\"?");
  EXPECT_EQ(errorsOf("http: {files: 1}\n"),
            "f:3:8: unknown key \"http.files\"; did you mean \"trace.files\"?");
}

TEST(LoadTest, AKeyThatResemblesNothingListsTheKeysOfItsSection) {
  EXPECT_EQ(errorsOf("colour: red\n"),
            "f:3:1: unknown key \"colour\"; the keys here are product, instance, host, "
            "environment, http, engine, actions, events, situations, services, trace");
}

TEST(LoadTest, AValueThatDoesNotFitIsAnErrorThatSaysWhatWasExpected) {
  const struct {
    const char* text;
    const char* error;
  } cases[] = {
      {"http: {port: 65536}",
       "f:3:14: \"http.port\": expected an integer from 0 to 65535, found \"65536\""},
      {"http: {port: -1}",
       "f:3:14: \"http.port\": expected an integer from 0 to 65535, found \"-1\""},
      {"http: {port: \"80\"}",
       "f:3:14: \"http.port\": expected an integer from 0 to 65535, found \"80\""},
      {"http: {port: 0x50}",
       "f:3:14: \"http.port\": expected an integer from 0 to 65535, found \"0x50\""},
      {"http: {port: [80]}",
       "f:3:14: \"http.port\": expected an integer from 0 to 65535, found a list"},
      {"http:\n  port:\n",
       "f:4:3: \"http.port\": expected an integer from 0 to 65535, found nothing"},
      {"http: 80", "f:3:7: \"http\": expected a section with keys such as \"port\", found \"80\""},
      {"engine: {stuck_after: 20}",
       "f:3:23: \"engine.stuck_after\": expected a duration from 10ms to 1h with its unit (ms, s, "
       "m, h), found \"20\""},
      {"trace: {max_size: 10MB}",
       "f:3:19: \"trace.max_size\": expected a size from 64KiB to 4GiB with its unit (B, KiB, MiB, "
       "GiB), found \"10MB\""},
      {"trace: {stderr: yes}", "f:3:17: \"trace.stderr\": expected true or false, found \"yes\""},
      {"trace: {default: error}",
       "f:3:18: \"trace.default\": expected a list of trace classes as in [state, error], found "
       "\"error\""},
      {"trace: {units: {ZELIRA: [detial]}}",
       "f:3:26: \"trace.units.ZELIRA\": expected a trace class (detail, state, summary, flow, "
       "error, "
       "all), found \"detial\"; did you mean \"detail\"?"},
      {"trace: {units: [ZELIRA]}",
       "f:3:16: \"trace.units\": expected a section of trace units, each with a list of trace "
       "classes, found a list"},
      {"host: \"a b\"",
       "f:3:7: \"host\": expected a host name of at most 64 characters, found \"a b\""},
      {"environment: {A B: x}",
       "f:3:15: \"environment\": expected the name of a variable (letters, digits and \"_\"), "
       "found "
       "\"A B\""},
      {"environment: {ZEL_PROD: ZXX}",
       "f:3:15: \"environment\": ZEL_PROD can't be set here; it follows from \"product.code\""},
      {"? [a]\n: b", "f:3:3: expected a key, found a list"},
  };

  for (const auto& [text, error] : cases) {
    EXPECT_EQ(errorsOf(text), error) << text;
  }
}

TEST(LoadTest, TheTextOfAVariableIsNotShown) {
  EXPECT_EQ(errorsOf("environment: {PASSWORD: [secret]}"),
            "f:3:25: \"environment.PASSWORD\": expected text");
}

TEST(LoadTest, AKeyThatIsSetTwiceIsAnError) {
  EXPECT_EQ(errorsOf("http:\n  port: 1\n  port: 2\n"), "f:5:3: \"http.port\" is set twice");
  EXPECT_EQ(errorsOf("environment: {A: 1, A: 2}"), "f:3:21: \"environment.A\" is set twice");
}

TEST(LoadTest, KeysThatMustBeSetAreMissed) {
  EXPECT_EQ(
      parseConfig("instance: jmx\nproduct: {name: x}\n", "f").errors,
      "f:1:1: \"product.code\" is missing: expected three capital letters or digits, as in ZJX");
  EXPECT_NE(parseConfig("", "f").errors.find("\"product.name\" is missing"), std::string::npos);
}

TEST(LoadTest, AllErrorsAreReportedInTheOrderOfTheFile) {
  EXPECT_EQ(errorsOf("trace: {files: 0}\nhttp: {port: x}\nengin: {}\n"),
            "f:3:16: \"trace.files\": expected an integer from 1 to 1000, found \"0\"\n"
            "f:4:14: \"http.port\": expected an integer from 0 to 65535, found \"x\"\n"
            "f:5:1: unknown key \"engin\"; did you mean \"engine\"?");
}

TEST(LoadTest, SettingsThatContradictEachOtherAreAnError) {
  EXPECT_EQ(
      errorsOf("engine: {stuck_after: 1s}\n"),
      "f:3:10: \"engine.stuck_after\" (1s) must be longer than \"engine.report_deadline\" (2s)");
}

TEST(LoadTest, TextThatIsNoYamlIsAnErrorWithItsPlace) {
  const std::string errors = errorsOf("http: {port: 1\n");

  EXPECT_EQ(errors.find("f:4:1: not valid YAML: "), 0U) << errors;
  EXPECT_EQ(parseConfig("just text", "f").errors.find("f:1:1: expected keys with values"), 0U);
}

TEST(LoadTest, ASecondDocumentIsAnError) {
  EXPECT_EQ(errorsOf("---\na: 1\n"), "f:3:1: expected one document, found another after it");
}

TEST(LoadTest, AStrayCommaIsAnErrorAndNoEndlessRowOfDocuments) {
  EXPECT_NE(parseConfig("#\n,", "f").errors.find("f:2:1: expected one document"),
            std::string::npos);
}

TEST(LoadTest, GarbageIsAnErrorAndNothingWorse) {
  for (const std::string& text :
       {"\0\0"s, "\xFF\xFE"s, "{{{{"s, "&a [*a"s, "- - -"s, "a: *b"s, "!!binary x"s,
        std::string(20'000, '['), std::string(100'000, 'x'), "a: &x [*x]"s}) {
    EXPECT_NE(parseConfig(text, "f").errors, "") << text.substr(0, 20);
  }
}

TEST(LoadTest, AFileIsReadFromItsHomeAndPathsBeginThere) {
  TempDir home;
  home.write("config/agent.yaml", kIdentity + "trace: {file: ../../logs/agent.log}\n");

  const LoadedConfig loaded = loadConfig(home.path().string() + "/config/..");

  EXPECT_EQ(loaded.errors, "");
  EXPECT_EQ(loaded.config.home, std::filesystem::canonical(home.path()).string());
  EXPECT_EQ(loaded.config.trace.file,
            (std::filesystem::canonical(home.path()).parent_path().parent_path() / "logs/agent.log")
                .lexically_normal()
                .string());
}

TEST(LoadTest, AnAbsolutePathStays) {
  TempDir home;
  home.write("config/agent.yaml", kIdentity + "trace: {file: /var/log/agent.log}\n");

  EXPECT_EQ(loadConfig(home.path().string()).config.trace.file, "/var/log/agent.log");
}

TEST(LoadTest, AMissingFileOrHomeIsAnErrorThatNamesIt) {
  TempDir home;
  const std::string file = std::filesystem::canonical(home.path()).string() + "/config/agent.yaml";

  EXPECT_EQ(loadConfig(home.path().string()).errors,
            file + ":1:1: the configuration can't be read. No such file or directory");
  EXPECT_EQ(loadConfig(home / "absent").errors,
            (home / "absent") + ": the home can't be used. No such file or directory");
}

}  // namespace
}  // namespace fw
