#include "actions/command_check.h"

#include <gtest/gtest.h>

#include <string>

namespace fw {
namespace {

using namespace std::string_literals;

ActionRequest requestOf(std::string command) {
  ActionRequest request;
  request.command = std::move(command);
  return request;
}

TEST(CommandCheckTest, ACommandIsAnyPlainText) {
  for (const std::string& command :
       {"x"s, "restart\tnow"s, "gr\xC3\xBC\xC3\x9F\x65 \xF0\x9F\x98\x80"s, "no-break\xC2\xA0space"s,
        std::string(kMaxCommand, 'c')}) {
    EXPECT_FALSE(checkCommand(requestOf(command))) << command;
  }
}

TEST(CommandCheckTest, WhatIsNoTextIsNoCommand) {
  for (const std::string& command : {""s, std::string(kMaxCommand + 1, 'c'), "a\0b"s, "a\nb"s,
                                     "a\x1B[0m"s, "a\x7F"s, "a\xC2\x85z"s, "a\xFF"s, "a\xC3"s}) {
    const auto error = checkCommand(requestOf(command));
    ASSERT_TRUE(error) << testing::PrintToString(command);
    EXPECT_EQ(error->kind, RequestError::Kind::BadCommand);
  }
}

TEST(CommandCheckTest, TheMessageNamesThePlaceButNotTheText) {
  const auto error = checkCommand(requestOf("secret\nword"));

  ASSERT_TRUE(error);
  EXPECT_NE(error->message.find("at byte 6"), std::string::npos) << error->message;
  EXPECT_EQ(error->message.find("secret"), std::string::npos);
}

TEST(CommandCheckTest, TheCodePageIsZeroOrOne) {
  ActionRequest request = requestOf("x");

  request.codePage = 1;
  EXPECT_FALSE(checkCommand(request));

  request.codePage = 2;
  EXPECT_EQ(checkCommand(request)->kind, RequestError::Kind::BadCommand);
}

TEST(CommandCheckTest, ACommandIsForANodeOrForARow) {
  ActionRequest request = requestOf("x");
  request.row.emplace();
  EXPECT_FALSE(checkCommand(request));

  request.node = "one";

  EXPECT_EQ(checkCommand(request)->kind, RequestError::Kind::BadCommand);
}

}  // namespace
}  // namespace fw
