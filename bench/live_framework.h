#pragma once

#include <string>

/// What the library finds behind it in a measurement: the recording fake, whose calls can be
/// counted, or the agent's own framework.
namespace live {

void setVariable(const std::string& name, const std::string& value);

/// Returns when the library's threads trace nothing more about their start.
void awaitStart();

/// Writes to stderr what has been traced, as far as the framework keeps that.
void showTrace();

}  // namespace live
