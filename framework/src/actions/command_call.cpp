#include "actions/command_call.h"

#include <fmt/format.h>

#include <exception>
#include <utility>

#include "basic/utf8.h"
#include "tables/capsule_state.h"

namespace fw {

namespace {

constexpr std::int32_t kNativeCodePage = 0;

CommandOutcome failed(std::string message) { return {false, 0, std::move(message)}; }

CommandOutcome outcomeOf(int code, CapsuleState& state) {
  if (code != 0) {
    return failed(
        fmt::format("The agent did not run the command (code {}); its trace says why.", code));
  }
  if (!state.completion) {
    return failed("The agent took the command but has not reported a result.");
  }
  return {true, state.completion->returnCode, std::move(state.completion->message)};
}

CommandOutcome callAgent(CommandCallback callback, VuiraAutomationCapsule& capsule) {
  CapsuleState& state = CapsuleState::of(capsule);
  state.onItsWay = true;
  try {
    const int code = callback(&capsule);
    state.onItsWay = false;
    return outcomeOf(code, state);
  } catch (const std::exception& error) {
    const std::string what = fromModifiedUtf8(error.what());
    return failed(fmt::format("The agent ended the command with an exception: {}.",
                              cutUtf8(what, CapsuleState::kMaxMessage)));
  } catch (...) {
    return failed("The agent ended the command with an unknown exception.");
  }
}

}  // namespace

std::optional<CommandOutcome> callCommand(CommandCallback callback, CallbackGate& gate,
                                          vuira& owner, const std::string& command,
                                          std::int32_t codePage) {
  const std::string text = toModifiedUtf8(command);
  VuiraAutomationCapsule capsule;
  capsule.owner = &owner;
  capsule.command = text.c_str();
  // The agent's converter takes modified UTF-8 for malformed. It hands native text on to Java as it
  // is, which is what such a text needs.
  capsule.codePage = text == command ? codePage : kNativeCodePage;
  capsule.rowOrReturnCode = 0;  // the only row that the owner has
  std::optional<CommandOutcome> outcome;
  gate.run([&] { outcome = callAgent(callback, capsule); });
  return outcome;
}

}  // namespace fw
