#include "home.h"

#include <fmt/core.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <utility>

#include "exit_codes.h"
#include "start_error.h"

namespace host {
namespace {

namespace fs = std::filesystem;

constexpr char kAgentFile[] = "config/agent.yaml";
constexpr char kOptionsSuffix[] = "wb.properties";

bool isFile(const fs::path& path) {
  std::error_code error;
  return fs::is_regular_file(path, error);
}

std::vector<std::string> optionsFilesIn(const fs::path& home) {
  std::vector<std::string> files;
  std::error_code error;
  for (fs::directory_iterator entry(home / "config", error), end; !error && entry != end;
       entry.increment(error)) {
    const std::string name = entry->path().filename().string();
    if (name.size() > std::strlen(kOptionsSuffix) && name.ends_with(kOptionsSuffix)) {
      files.push_back(entry->path().string());
    }
  }
  std::sort(files.begin(), files.end());
  return files;
}

void makeWritable(const std::string& folder, const char* what) {
  std::error_code error;
  fs::create_directories(folder, error);
  // The call says so of a link to a folder as well, and that one is fine.
  if (error && fs::is_directory(folder)) {
    error.clear();
  }
  int failure = error.value();
  if (failure == 0 && access(folder.c_str(), W_OK | X_OK) != 0) {
    failure = errno;
  }
  if (failure != 0) {
    throw StartError(kExitFailed,
                     fmt::format("can't write to {}: {}\n  The agent keeps {} there. Give user {} "
                                 "write access to it, or run the agent as another user.",
                                 folder, std::strerror(failure), what, geteuid()));
  }
}

/// The next line with its continuations, without blanks around each.
std::string nextEntry(std::istream& in) {
  std::string entry;
  for (std::string line; std::getline(in, line);) {
    line.erase(0, line.find_first_not_of(" \t"));
    line.erase(line.find_last_not_of(" \t\r") + 1);
    const bool continued = !line.empty() && line.back() == '\\';
    if (continued) {
      line.pop_back();
    }
    entry += line;
    if (!continued) {
      break;
    }
  }
  return entry;
}

}  // namespace

std::string defaultHome() {
  std::error_code error;
  const fs::path program = fs::read_symlink("/proc/self/exe", error);
  return (program.parent_path().parent_path() / "agents" / "jmx").string();
}

Home findHome(const std::string& folder) {
  std::error_code error;
  const fs::path root = fs::canonical(folder, error);
  if (error) {
    throw StartError(
        kExitUsage, fmt::format("home {}: {}\n  Name the agent's product home with --home.", folder,
                                error.message()));
  }
  std::vector<std::string> missing;
  if (!fs::is_directory(root, error)) {
    throw StartError(kExitUsage, fmt::format("home {} is not a folder", root.string()));
  }
  if (!isFile(root / kAgentFile)) {
    missing.emplace_back(kAgentFile);
  }
  if (optionsFilesIn(root).empty()) {
    missing.push_back(fmt::format("config/<product code>{} (options of the Java virtual machine)",
                                  kOptionsSuffix));
  }
  if (!missing.empty()) {
    std::string text = fmt::format("{} is not a complete product home. Missing:", root.string());
    for (const std::string& what : missing) {
      text += "\n  " + what;
    }
    throw StartError(kExitUsage, text);
  }
  return {root.string(), (root / "var").string(),
          (root / ".." / ".." / "logs").lexically_normal().string()};
}

void prepareHome(const Home& home) {
  makeWritable(home.var, "its state");
  makeWritable(home.logs, "its logs");
}

std::vector<std::string> openToOthers(const Home& home) {
  std::vector<std::string> paths{home.root, home.root + "/config", home.root + "/" + kAgentFile,
                                 home.var, home.logs};
  const std::vector<std::string> options = optionsFilesIn(home.root);
  paths.insert(paths.end(), options.begin(), options.end());
  std::vector<std::string> warnings;
  for (const std::string& path : paths) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) {
      continue;
    }
    if (status.st_uid != 0 && status.st_uid != geteuid()) {
      warnings.push_back(
          fmt::format("{} belongs to user {}, who can change what the agent does; "
                      "give it to root or to the agent's user (id {})",
                      path, status.st_uid, geteuid()));
    } else if ((status.st_mode & S_IWOTH) != 0) {
      warnings.push_back(
          fmt::format("{} can be changed by every user; prevent that with: "
                      "chmod o-w {}",
                      path, path));
    }
  }
  return warnings;
}

std::vector<std::string> optionsFiles(const Home& home) { return optionsFilesIn(home.root); }

std::string optionsFile(const Home& home, const std::string& productCode) {
  std::string name = productCode;
  std::transform(name.begin(), name.end(), name.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return home.root + "/config/" + name + kOptionsSuffix;
}

std::vector<std::string> optionsIn(const std::string& path) {
  std::ifstream in(path);
  std::vector<std::string> options;
  nextEntry(in);
  while (in) {
    std::string entry = nextEntry(in);
    if (!entry.empty() && entry.front() != '#') {
      options.push_back(std::move(entry));
    }
  }
  return options;
}

std::vector<std::string> checkOptionsFile(const Home& home, const std::string& path) {
  std::ifstream in(path);
  if (!in) {
    throw StartError(
        kExitUsage,
        fmt::format("can't read the options file of the Java virtual machine, {}: {}\n"
                    "  Its name is the product code (product.code in config/agent.yaml) in lower "
                    "case, then {}.",
                    path, std::strerror(errno), kOptionsSuffix));
  }
  const std::string classPath = nextEntry(in);
  if (classPath.empty() || classPath.front() == '#' || classPath.front() == '-') {
    throw StartError(kExitUsage,
                     fmt::format("{}: the first line must be the class path of the Java "
                                 "application, without a key; comments and options come after it",
                                 path));
  }
  std::vector<std::string> warnings;
  std::istringstream entries(classPath);
  for (std::string entry; std::getline(entries, entry, ':');) {
    if (entry.empty() || entry.back() == '*') {  // the working folder, and the jars of a folder
      continue;
    }
    std::error_code error;
    if (!fs::exists(fs::path(home.root) / entry, error)) {
      warnings.push_back(fmt::format("{}: class path entry {} does not exist", path, entry));
    }
  }
  return warnings;
}

}  // namespace host
