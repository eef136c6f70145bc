#include "command_line.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "exit_codes.h"

namespace host {
namespace {

CommandResult parse(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), "zelagent");
  std::vector<char*> argv;
  for (std::string& argument : arguments) {
    argv.push_back(argument.data());
  }
  argv.push_back(nullptr);
  return parseCommandLine(static_cast<int>(arguments.size()), argv.data());
}

TEST(CommandLineTest, TakesHomeAndPort) {
  const auto line = std::get<CommandLine>(parse({"--home", "/srv/agent", "--port=8790"}));

  EXPECT_EQ(line.home, "/srv/agent");
  EXPECT_EQ(line.port, 8790);
  EXPECT_FALSE(line.checkConfig);
}

TEST(CommandLineTest, LeavesTheDefaultsToOthersWithoutArguments) {
  const auto line = std::get<CommandLine>(parse({}));

  EXPECT_EQ(line.home, "");
  EXPECT_EQ(line.port, std::nullopt);
}

TEST(CommandLineTest, RefusesWhatItDoesNotUnderstandAndSaysWhat) {
  const std::vector<std::pair<std::vector<std::string>, std::string>> cases{
      {{"--prot", "1"}, "unknown option '--prot'"},
      {{"-x"}, "unknown option '-x'"},
      {{"--home"}, "option '--home' needs a value"},
      {{"--home="}, "--home needs a folder"},
      {{"--port", "65536"}, "--port needs a number from 0 to 65535, not '65536'"},
      {{"--port", "-1"}, "--port needs a number from 0 to 65535, not '-1'"},
      {{"--port", "80a"}, "--port needs a number from 0 to 65535, not '80a'"},
      {{"--port="}, "--port needs a number from 0 to 65535, not ''"},
      {{"start"}, "unexpected argument 'start'"},
  };
  for (const auto& [arguments, text] : cases) {
    const auto message = std::get<CommandMessage>(parse(arguments));

    EXPECT_EQ(message.exitCode, kExitUsage);
    EXPECT_EQ(message.text, "zelagent: " + text + "\nTry 'zelagent --help'.\n");
  }
}

TEST(CommandLineTest, HelpNamesEveryOptionAndExitStatus) {
  const auto message = std::get<CommandMessage>(parse({"--help"}));

  EXPECT_EQ(message.exitCode, kExitOk);
  for (const char* text :
       {"--home", "--port", "--check-config", "--version", "ZEL_LIBJVM", "\n    0  ", "\n    1  ",
        "\n    2  ", "\n    3  ", "\n  130  ", "\n  255  "}) {
    EXPECT_NE(message.text.find(text), std::string::npos) << text;
  }
}

}  // namespace
}  // namespace host
