// A program that writes what it finds about itself to its standard output, one fact a line, the
// last of which is "done"; and one line to its standard error.

#include <dirent.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

extern char** environ;

namespace {

void printDescriptors() {
  for (int descriptor = 0; descriptor < 256; ++descriptor) {
    struct stat status;
    if (fstat(descriptor, &status) == 0) {
      std::printf("descriptor %d\n", descriptor);
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  std::printf("pid %d\n", static_cast<int>(getpid()));
  for (int i = 0; i < argc; ++i) {
    std::printf("argument %s\n", argv[i]);
  }
  for (char** entry = environ; *entry != nullptr; ++entry) {
    std::printf("environment %s\n", *entry);
  }
  char directory[4096];
  std::printf("directory %s\n", getcwd(directory, sizeof(directory)));
  std::printf("own session %s\n", getsid(0) == getpid() ? "yes" : "no");
  std::printf("umask %o\n", static_cast<unsigned>(umask(0)));
  printDescriptors();
  std::fputs("probe's error\n", stderr);
  std::puts("done");
  return 0;
}
