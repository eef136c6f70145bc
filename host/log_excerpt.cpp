#include "log_excerpt.h"

#include <fcntl.h>
#include <fmt/core.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <deque>
#include <filesystem>
#include <sstream>
#include <vector>

#include "agentfw/own_file.h"

namespace host {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kTail = 64 * 1024;
constexpr std::size_t kMaxErrorLines = 12;
constexpr std::size_t kMaxMoreLines = 2;  // of one record, beyond its first
constexpr std::size_t kMaxJvmLines = 15;
constexpr char kJvmLogSuffix[] = ".JVM.log";

using Texts = std::deque<std::string>;

void keepLast(Texts& texts, std::size_t most) {
  while (texts.size() > most) {
    texts.pop_front();
  }
}

/// A file's last kTail bytes, if it has been written to since `since` and is the agent's own.
std::string tailOf(const fs::path& path, std::time_t since) {
  const agentfw::OwnFile file = agentfw::openOwnFile(path.string(), O_RDONLY, agentfw::kLogMode);
  if (file.fd < 0) {
    return {};
  }
  std::string text(kTail, '\0');
  struct stat status {};
  ssize_t size = 0;
  if (fstat(file.fd, &status) == 0 && status.st_mtime >= since) {
    size = pread(file.fd, text.data(), text.size(),
                 std::max<off_t>(0, status.st_size - static_cast<off_t>(kTail)));
  }
  close(file.fd);
  text.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
  return text;
}

Texts linesOf(const std::string& text) {
  std::istringstream in(text);
  Texts lines;
  for (std::string line; std::getline(in, line);) {
    if (!line.empty()) {
      lines.push_back(line);
    }
  }
  return lines;
}

/// A trace record begins with time, process and thread.
bool isErrorOf(const std::string& line, const std::string& process) {
  std::istringstream words(line);
  std::string time;
  std::string id;
  return words >> time >> id && id == process &&
         (line.find("ERROR") != std::string::npos || line.find("FATAL") != std::string::npos ||
          line.find("WARN:") != std::string::npos);
}

/// The errors of a process in a trace file. Further lines of a record are indented; of a Java
/// exception they give the cause first and then the place, which is left to the file.
Texts errorsOf(const Texts& lines, const std::string& process, const std::string& told) {
  Texts errors;
  std::size_t more = 0;  // lines of the present record still to be taken
  for (const std::string& line : lines) {
    if (line.front() != ' ') {
      const bool isTold = !told.empty() && line.find(told) != std::string::npos;
      more = !isTold && isErrorOf(line, process) ? kMaxMoreLines : 0;
      if (more > 0) {
        errors.push_back(line);
      }
    } else if (more > 0 && line.find("\tat ") == std::string::npos) {
      errors.push_back(line);
      --more;
    }
  }
  return errors;
}

void append(std::string& text, const fs::path& path, const Texts& lines) {
  if (lines.empty()) {
    return;
  }
  text += fmt::format("From {}:\n", path.string());
  for (const std::string& line : lines) {
    text += "  " + line + "\n";
  }
}

}  // namespace

std::string logExcerpt(const std::string& logsFolder, const JvmLogs& jvmLogs, pid_t process,
                       std::time_t since, const std::string& told) {
  std::vector<fs::path> files;
  std::error_code error;
  for (fs::directory_iterator entry(logsFolder, error), end; !error && entry != end;
       entry.increment(error)) {
    if (entry->path().extension() == ".log") {
      files.push_back(entry->path());
    }
  }
  std::sort(files.begin(), files.end());
  std::string text;
  const std::string id = std::to_string(process);
  for (const fs::path& file : files) {
    const bool isJvmLog = file.string().ends_with(kJvmLogSuffix);
    if (isJvmLog && jvmLogs.startOf(file.filename().string()).value_or(-1) < since) {
      continue;
    }
    Texts lines = linesOf(tailOf(file, since));
    if (!isJvmLog) {
      lines = errorsOf(lines, id, told);
    }
    keepLast(lines, isJvmLog ? kMaxJvmLines : kMaxErrorLines);
    append(text, file, lines);
  }
  return text;
}

}  // namespace host
