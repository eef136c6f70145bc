#include "jvm_finder.h"

#include <fmt/core.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string_view>

namespace host {
namespace {

namespace fs = std::filesystem;

/// Major version from the line JAVA_VERSION="17.0.15" of an installation's `release` file.
int versionOf(const fs::path& javaHome) {
  std::ifstream release(javaHome / "release");
  constexpr std::string_view kKey = "JAVA_VERSION=\"";
  for (std::string line; std::getline(release, line);) {
    if (line.rfind(kKey, 0) == 0) {
      std::string_view number = std::string_view(line).substr(kKey.size());
      if (number.rfind("1.", 0) == 0) {  // 1.8 is Java 8
        number.remove_prefix(2);
      }
      return std::atoi(std::string(number).c_str());
    }
  }
  return 0;
}

std::optional<Jvm> jvmIn(const fs::path& javaHome) {
  const fs::path library = javaHome / "lib" / "server" / "libjvm.so";
  std::error_code error;
  if (!fs::is_regular_file(library, error)) {
    return std::nullopt;
  }
  return Jvm{library.string(), versionOf(javaHome)};
}

/// Takes the virtual machine of `javaHome` if it will do, else notes why not. An installation that
/// does not state its version is taken: someone chose it.
bool take(JvmSearch& search, const std::string& place, const fs::path& javaHome) {
  const auto jvm = jvmIn(javaHome);
  if (!jvm) {
    search.notes.push_back(
        fmt::format("{}: no lib/server/libjvm.so in {}", place, javaHome.string()));
    return false;
  }
  if (jvm->version != 0 && jvm->version < kOldestJava) {
    search.notes.push_back(
        fmt::format("{}: {} is Java {}, too old", place, javaHome.string(), jvm->version));
    return false;
  }
  search.found = jvm;
  return true;
}

/// The installation that the `java` on PATH belongs to.
std::optional<fs::path> javaHomeOnPath(const std::string& path) {
  std::istringstream folders(path);
  for (std::string folder; std::getline(folders, folder, ':');) {
    const fs::path java = fs::path(folder) / "java";
    std::error_code error;
    if (folder.empty() || !fs::is_regular_file(java, error) || access(java.c_str(), X_OK) != 0) {
      continue;
    }
    const fs::path real = fs::canonical(java, error);
    if (!error) {
      return real.parent_path().parent_path();
    }
  }
  return std::nullopt;
}

}  // namespace

JvmPlaces JvmPlaces::ofEnvironment() {
  JvmPlaces places;
  if (const char* home = std::getenv("JAVA_HOME"); home != nullptr && *home != '\0') {
    places.javaHome = home;
  }
  if (const char* path = std::getenv("PATH")) {
    places.path = path;
  }
  return places;
}

std::vector<Jvm> installedJvms(const std::string& folder) {
  std::vector<Jvm> jvms;
  std::set<fs::path> seen;
  std::error_code error;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
       entry.increment(error)) {
    std::error_code unresolved;
    const fs::path real = fs::canonical(entry->path(), unresolved);
    if (unresolved || !seen.insert(real).second) {
      continue;
    }
    if (const auto jvm = jvmIn(real)) {
      jvms.push_back(*jvm);
    }
  }
  std::sort(jvms.begin(), jvms.end(), [](const Jvm& a, const Jvm& b) {
    return a.version != b.version ? a.version > b.version : a.library < b.library;
  });
  return jvms;
}

JvmSearch findJvm(const JvmPlaces& places) {
  JvmSearch search;
  if (!places.javaHome) {
    search.notes.emplace_back("JAVA_HOME: not set");
  } else if (take(search, "JAVA_HOME", *places.javaHome)) {
    return search;
  }

  if (const auto home = javaHomeOnPath(places.path); !home) {
    search.notes.emplace_back("PATH: no java");
  } else if (take(search, "java on PATH", *home)) {
    return search;
  }

  const auto installed = installedJvms(places.installations);
  if (!installed.empty() && installed.front().version >= kOldestJava) {
    search.found = installed.front();
  } else {
    search.notes.push_back(
        fmt::format("{}: no Java {} or later", places.installations, kOldestJava));
  }
  return search;
}

std::string javaHomeWarning(const JvmPlaces& places, const JvmSearch& search) {
  if (!places.javaHome || !search.found || search.notes.empty()) {
    return {};
  }
  return fmt::format(
      "{}; using {} instead\n  Set JAVA_HOME to the folder of a Java installation of version {} or "
      "later (the one that holds lib/server/libjvm.so), or unset it.",
      search.notes.front(), search.found->library, kOldestJava);
}

std::string noJvmText(const JvmSearch& search) {
  std::string text =
      fmt::format("no Java virtual machine of version {} or later found", kOldestJava);
  for (const std::string& note : search.notes) {
    text += "\n  " + note;
  }
  text +=
      "\n  Install one (on Debian: apt-get install default-jre-headless), or set JAVA_HOME to its "
      "folder,\n  or ZEL_LIBJVM to its libjvm.so.";
  return text;
}

}  // namespace host
