#pragma once

#include <optional>
#include <string>
#include <vector>

namespace host {

/// The folders of one agent. The product home holds config/ and var/, the logs are two levels up.
struct Home {
  std::string root;  ///< absolute, without links
  std::string var;
  std::string logs;
};

/// The home used when none is named: ../agents/jmx beside the folder of the running program.
std::string defaultHome();

/// Checks that `folder` is a product home: its configuration is in it. Changes nothing.
/// Throws StartError with a list of what is missing.
Home findHome(const std::string& folder);

/// Creates var/ and the logs folder where they are missing and checks that the agent may write
/// there. Throws StartError.
void prepareHome(const Home& home);

/// Which folders and files of the agent other users can change, one warning each: whoever can
/// decides what the agent runs, or what is found under the names that it writes to.
std::vector<std::string> openToOthers(const Home& home);

/// Paths of the options files in the home's config/, one per product code, sorted.
std::vector<std::string> optionsFiles(const Home& home);

/// Path of the options file of the Java virtual machine for a product code.
std::string optionsFile(const Home& home, const std::string& productCode);

/// The options in the options file, without the class path, which is its first line. A backslash at
/// the end of a line continues it in the next one.
std::vector<std::string> optionsIn(const std::string& path);

/// Reads the options file as far as a start can fail for it: it must be there, and its first line
/// must be the class path. Throws StartError; returns warnings, one text each.
std::vector<std::string> checkOptionsFile(const Home& home, const std::string& path);

}  // namespace host
