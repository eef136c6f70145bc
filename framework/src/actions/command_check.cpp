#include "actions/command_check.h"

#include <fmt/format.h>

#include <string>
#include <string_view>
#include <utility>

#include "basic/utf8.h"

namespace fw {

namespace {

/// Bytes before the first control character; a tab does not count.
std::size_t beforeControl(std::string_view text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    const bool isC0 = byte < 0x20 && byte != '\t';
    const bool isC1 = byte == 0xC2 && i + 1 < text.size() &&
                      static_cast<unsigned char>(text[i + 1]) < 0xA0;  // U+0080 to U+009F
    if (isC0 || isC1 || byte == 0x7F) {
      return i;
    }
  }
  return text.size();
}

}  // namespace

std::optional<RequestError> checkCommand(const ActionRequest& request) {
  const auto bad = [](std::string message) {
    return RequestError{RequestError::Kind::BadCommand, std::move(message), std::nullopt, {}};
  };
  const std::string& command = request.command;
  if (command.empty() || command.size() > kMaxCommand) {
    return bad(
        fmt::format("A command has 1 to {} bytes; this one has {}.", kMaxCommand, command.size()));
  }
  if (!isValidUtf8(command)) {
    return bad("The command is not valid UTF-8.");
  }
  if (const std::size_t at = beforeControl(command); at < command.size()) {
    return bad(
        fmt::format("The command has a control character at byte {}; the only one allowed "
                    "in a command is the tab.",
                    at));
  }
  if (request.codePage != 0 && request.codePage != 1) {
    return bad(fmt::format("The code page of a command is 0 or 1, not {}.", request.codePage));
  }
  if (request.row && !request.node.empty()) {
    return bad("A command is for a node or for a row of a table, not both.");
  }
  return std::nullopt;
}

}  // namespace fw
