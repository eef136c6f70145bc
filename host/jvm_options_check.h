#pragma once

#include <string>
#include <vector>

namespace host {

/// The options that a Java virtual machine does not know, in its own words, one text each.
///
/// The library has the virtual machine silently ignore such options, so somebody who misspells one
/// would never notice. A child process that lives for a few milliseconds offers the options to the
/// virtual machine `library`, strictly; the last of them is one that it can't know, so that it
/// never gets beyond reading them. Options that have an effect while they are read (log files,
/// agents) are left out. Empty when `library` is not one, or does not answer.
///
/// Call before any thread exists.
std::vector<std::string> unknownJvmOptions(const std::string& library,
                                           std::vector<std::string> options);

}  // namespace host
