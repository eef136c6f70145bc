#pragma once

#include <optional>
#include <string>
#include <vector>

namespace host {

/// The oldest Java that runs the agent's Java code.
inline constexpr int kOldestJava = 17;

struct Jvm {
  std::string library;  ///< path of libjvm.so
  int version = 0;      ///< major version, 0 when the installation does not state it
};

/// Where to look.
struct JvmPlaces {
  std::optional<std::string> javaHome;         ///< JAVA_HOME
  std::string path;                            ///< PATH
  std::string installations = "/usr/lib/jvm";  ///< folder with one installation per entry

  /// The places of this process.
  static JvmPlaces ofEnvironment();
};

struct JvmSearch {
  std::optional<Jvm> found;
  std::vector<std::string> notes;  ///< one line per place passed over, and why
};

/// Looks for a Java virtual machine of version kOldestJava or later: in JAVA_HOME, then around the
/// `java` on PATH, then the newest among the installations.
JvmSearch findJvm(const JvmPlaces& places);

/// What to tell the user when a search rejected JAVA_HOME and took another virtual machine;
/// empty when it did not.
std::string javaHomeWarning(const JvmPlaces& places, const JvmSearch& search);

/// What to tell the user when a search found nothing: where it looked, and what to do.
std::string noJvmText(const JvmSearch& search);

/// Every Java virtual machine in a folder of installations, newest first, each once.
std::vector<Jvm> installedJvms(const std::string& folder);

}  // namespace host
