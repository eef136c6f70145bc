#include "zelspawnu.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <string_view>
#include <utility>
#include <vector>

#include "agentfw/ras1.h"

RAS1_UNIT("ZELSPAWNU");

namespace {

constexpr std::size_t kArgvSize = 256;
constexpr std::size_t kEnvpSize = 1024;
constexpr char kNullDevice[] = "/dev/null";
constexpr mode_t kFileMode = 0600;

std::vector<std::string> splitWords(std::string_view command) {
  constexpr std::string_view kBlanks = " \t";
  std::vector<std::string> words;
  std::size_t begin = command.find_first_not_of(kBlanks);
  while (begin != std::string_view::npos) {
    const std::size_t end = std::min(command.find_first_of(kBlanks, begin), command.size());
    words.emplace_back(command.substr(begin, end - begin));
    begin = command.find_first_not_of(kBlanks, end);
  }
  return words;
}

std::set<std::string> newEntries(const std::map<std::string, std::string>& setEnv) {
  std::set<std::string> entries;
  for (const auto& [name, value] : setEnv) {
    std::string entry = name;
    entry.append("=").append(value);
    entries.insert(std::move(entry));
  }
  return entries;
}

bool isInherited(const char* entry, const std::map<std::string, std::string>& setEnv,
                 const std::set<std::string>& unsetEnv) {
  const char* separator = std::strchr(entry, '=');
  if (separator == nullptr) {
    return false;
  }
  const std::string name(entry, separator);
  return setEnv.count(name) == 0 && unsetEnv.count(name) == 0;
}

// Fills a null-terminated array; what has no room is dropped.
void fillEnvironment(const char* (&envp)[kEnvpSize], const std::set<std::string>& entries,
                     const std::map<std::string, std::string>& setEnv,
                     const std::set<std::string>& unsetEnv) {
  std::size_t count = 0;
  for (const std::string& entry : entries) {
    if (count < kEnvpSize - 1) {
      envp[count++] = entry.c_str();
    }
  }
  for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
    if (count < kEnvpSize - 1 && isInherited(*entry, setEnv, unsetEnv)) {
      envp[count++] = *entry;
    }
  }
}

// The calls below run between fork and exec, where another thread may hold any lock of the process:
// no allocation, no stdio, no locale, but for the trace of a failure, whose locks the framework
// takes around a fork. strerrordesc_np() has strerror()'s texts.

const char* describeError(int error) {
  const char* text = strerrordesc_np(error);
  return text == nullptr ? "Unknown error" : text;
}

void writeError(std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = write(STDERR_FILENO, text.data(), text.size());
    if (written <= 0) {
      return;
    }
    text.remove_prefix(static_cast<std::size_t>(written));
  }
}

// Writes "ERROR: <call>() failed (errno <error>)\n<text><end>" to the daemon's error file.
void reportDaemonError(std::string_view call, int error, std::string_view end) {
  char number[16];
  const auto converted = std::to_chars(number, number + sizeof(number), error);
  writeError("ERROR: ");
  writeError(call);
  writeError("() failed (errno ");
  writeError(std::string_view(number, static_cast<std::size_t>(converted.ptr - number)));
  writeError(")\n");
  writeError(describeError(error));
  writeError(end);
}

bool redirect(int descriptor, const char* file, int flags) {
  RAS1_FUNCTION();
  const int opened = open(file, flags, kFileMode);
  if (opened < 0) {
    const int error = errno;
    RAS1_PRINT("ERROR: open(%s) failed (errno %i)\n%s", file, error, describeError(error));
    return false;
  }
  if (dup2(opened, descriptor) < 0) {
    const int error = errno;
    RAS1_PRINT("ERROR: dup2() failed (errno %i)\n%s", error, describeError(error));
    return false;
  }
  return true;
}

// Closes every possible descriptor but the standard ones. The limit may be a million, and a call
// for each of them would take longer than all the rest of a daemon's start, so one call closes them
// all; kernels before 5.9 don't have it, and some sandboxes forbid it.
void closeDescriptors() {
  constexpr int kFirst = STDERR_FILENO + 1;
  const int last = static_cast<int>(sysconf(_SC_OPEN_MAX) - 1);
  if (last < kFirst ||
      close_range(unsigned{kFirst}, static_cast<unsigned>(last), /*flags=*/0) == 0) {
    return;
  }
  for (int descriptor = last; descriptor >= kFirst; --descriptor) {
    close(descriptor);
  }
}

[[noreturn]] void becomeDaemon(const char* path, const char** argv, const char** envp) {
  closeDescriptors();
  if (setsid() < 0) {
    reportDaemonError("setsid", errno, "");
    _exit(0);
  }
  execve(path == nullptr ? "" : path, const_cast<char**>(argv), const_cast<char**>(envp));
  reportDaemonError("execve", errno, "\n");
  _exit(0);
}

}  // namespace

void zelSpawnDaemon(const char* command, const char* dir, const char* stdoutFile,
                    const char* stderrFile, const std::map<std::string, std::string>& setEnv,
                    const std::set<std::string>& unsetEnv) {
  RAS1_FLOW();
  const std::vector<std::string> words = splitWords(command == nullptr ? "" : command);
  const char* argv[kArgvSize] = {};
  for (std::size_t i = 0; i < std::min(words.size(), kArgvSize - 1); ++i) {
    argv[i] = words[i].c_str();
  }
  const std::set<std::string> entries = newEntries(setEnv);
  const char* ownEnvp[kEnvpSize] = {};
  const char** envp = const_cast<const char**>(environ);
  if (!entries.empty() || !unsetEnv.empty()) {
    fillEnvironment(ownEnvp, entries, setEnv, unsetEnv);
    envp = ownEnvp;
  }

  const pid_t child = fork();
  if (child < 0) {
    const int error = errno;
    RAS1_PRINT("ERROR: fork() failed (rc %i)\n%s", error, std::strerror(error));
    return;
  }
  if (child == 0) {
    zelDaemonProc(argv[0], argv, envp, dir, stdoutFile, stderrFile);
    _exit(0);
  }
  while (waitpid(child, nullptr, WUNTRACED) < 0 && errno == EINTR) {
  }
}

int zelDaemonProc(const char* path, const char** argv, const char** envp, const char* dir,
                  const char* stdoutFile, const char* stderrFile) {
  RAS1_FUNCTION();
  umask(0);
  if (dir != nullptr && chdir(dir) != 0) {
    const int error = errno;
    RAS1_PRINT("ERROR: chdir(%s) failed (errno %i)\n%s", dir, error, describeError(error));
    return 0;
  }
  constexpr int kAppend = O_WRONLY | O_CREAT | O_APPEND;
  if (!redirect(STDIN_FILENO, kNullDevice, O_RDONLY) ||
      !redirect(STDOUT_FILENO, stdoutFile == nullptr ? kNullDevice : stdoutFile, kAppend) ||
      !redirect(STDERR_FILENO, stderrFile == nullptr ? kNullDevice : stderrFile, kAppend)) {
    return 0;
  }
  const pid_t daemon = fork();
  if (daemon < 0) {
    const int error = errno;
    RAS1_PRINT("ERROR: fork() failed (errno %i)\n%s", error, describeError(error));
    return 0;
  }
  if (daemon == 0) {
    becomeDaemon(path, argv, envp);
  }
  return daemon;
}

bool zelIsRunningProcess(unsigned long pid) {
  return kill(static_cast<pid_t>(pid), 0) == 0 || errno == EPERM;
}

void* zelProcInfoLogger(void* /*unused*/) { return nullptr; }
