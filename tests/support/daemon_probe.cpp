// A program that writes what it finds about itself to its standard output, one fact a line, the
// last of which is "done"; and one line to its standard error. After "--report FILE", the first two
// arguments, the facts go to that file.

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

extern char** environ;

namespace {

std::FILE* facts = stdout;

void printDescriptors() {
  for (int descriptor = 0; descriptor < 256; ++descriptor) {
    struct stat status;
    const bool isReport = facts != stdout && descriptor == fileno(facts);
    if (!isReport && fstat(descriptor, &status) == 0) {
      std::fprintf(facts, "descriptor %d\n", descriptor);
    }
  }
}

const char* describeAccess(int flags) {
  switch (flags & O_ACCMODE) {
    case O_RDONLY:
      return "read";
    case O_WRONLY:
      return (flags & O_APPEND) != 0 ? "append" : "write";
    default:
      return "both";
  }
}

// What the standard streams are: "stream 1 /dev/null append".
void printStreams() {
  for (int descriptor = 0; descriptor < 3; ++descriptor) {
    char link[64];
    std::snprintf(link, sizeof(link), "/proc/self/fd/%d", descriptor);
    char target[4096] = {};
    if (readlink(link, target, sizeof(target) - 1) >= 0) {
      std::fprintf(facts, "stream %d %s %s\n", descriptor, target,
                   describeAccess(fcntl(descriptor, F_GETFL)));
    }
  }
}

// The masks of blocked, ignored and caught signals: "SigCgt 0000000000000000".
void printSignals() {
  std::FILE* file = std::fopen("/proc/self/status", "r");
  char line[256];
  while (file != nullptr && std::fgets(line, sizeof(line), file) != nullptr) {
    char name[256];
    char mask[256];
    if (std::sscanf(line, "%255[^:]: %255s", name, mask) == 2 &&
        (std::strcmp(name, "SigBlk") == 0 || std::strcmp(name, "SigIgn") == 0 ||
         std::strcmp(name, "SigCgt") == 0)) {
      std::fprintf(facts, "%s %s\n", name, mask);
    }
  }
  if (file != nullptr) {
    std::fclose(file);
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 2 && std::strcmp(argv[1], "--report") == 0) {
    facts = std::fopen(argv[2], "w");
    if (facts == nullptr) {
      return 1;
    }
  }
  std::fprintf(facts, "pid %d\n", static_cast<int>(getpid()));
  for (int i = 0; i < argc; ++i) {
    std::fprintf(facts, "argument %s\n", argv[i]);
  }
  for (char** entry = environ; *entry != nullptr; ++entry) {
    std::fprintf(facts, "environment %s\n", *entry);
  }
  char directory[4096];
  std::fprintf(facts, "directory %s\n", getcwd(directory, sizeof(directory)));
  std::fprintf(facts, "own session %s\n", getsid(0) == getpid() ? "yes" : "no");
  std::fprintf(facts, "umask %o\n", static_cast<unsigned>(umask(0)));
  printDescriptors();
  printStreams();
  printSignals();
  std::fputs("probe's error\n", stderr);
  std::fputs("done\n", facts);
  std::fclose(facts);
  return 0;
}
