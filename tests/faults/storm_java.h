#pragma once

#include <string>

/// The Java side of a shutdown storm. Two programs are made of one storm: with the fake JVM, which
/// sanitizers can watch, and with a real one.
///
/// Both understand the commands of the tests' Java application: "notify" (a code, a body),
/// "exception" (a severity), "error".
namespace storm {

/// Prepares what the agent needs to start its JVM: writes the options file of the product home.
void setUpJava(const std::string& home);

}  // namespace storm
