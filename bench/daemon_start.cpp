// How long a daemon takes to start, from the call to the first byte that it writes: by the limit of
// descriptors, by how they are closed, and by the memory of the process that forks.

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "support/temp_dir.h"
#include "zelspawnu.h"

namespace {

using Clock = std::chrono::steady_clock;

long limit = 0;  // what the library is told; the system's own can't be raised everywhere
bool hasCloseRange = false;  // else the descriptors are closed one by one

struct Times {
  double call = 0;   ///< ms until the call returned: both forks, and the first child's work
  double start = 0;  ///< ms until the daemon wrote
};

double since(Clock::time_point begin) {
  return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
}

/// Starts a daemon whose output is a pipe with a name, and waits for it.
Times startOne(const std::string& pipeName) {
  const int pipe = open(pipeName.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  Times times;
  const Clock::time_point begin = Clock::now();
  zelSpawnDaemon("/bin/echo started", nullptr, pipeName.c_str(), nullptr, {}, {});
  times.call = since(begin);
  char text[16];
  for (ssize_t size = -1; size <= 0; size = read(pipe, text, sizeof(text))) {
    pollfd waiting{pipe, POLLIN, 0};
    if (poll(&waiting, 1, 20'000) != 1 || (waiting.revents & POLLIN) == 0) {
      std::fprintf(stderr, "the daemon did not start\n");
      std::exit(EXIT_FAILURE);
    }
  }
  times.start = since(begin);
  close(pipe);
  return times;
}

void measure(int runs, std::size_t megabytes) {
  const TempDir folder;
  const std::string pipeName = folder / "out";
  if (mkfifo(pipeName.c_str(), S_IRUSR | S_IWUSR) != 0) {
    std::perror("mkfifo");
    std::exit(EXIT_FAILURE);
  }
  std::vector<double> calls;
  std::vector<double> starts;
  for (int i = 0; i < runs; ++i) {
    const Times times = startOne(pipeName);
    calls.push_back(times.call);
    starts.push_back(times.start);
  }
  std::sort(calls.begin(), calls.end());
  std::sort(starts.begin(), starts.end());
  std::printf("%9ld  %-11s  %6zu  %8.2f  %8.2f  %8.2f  %8.2f\n", limit,
              hasCloseRange ? "at once" : "one by one", megabytes, calls[calls.size() / 2],
              starts.front(), starts[starts.size() / 2], starts.back());
}

template <typename Function>
Function* realCall(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

// The library calls these, because the program defines them.
extern "C" {

long sysconf(int name) {
  return name == _SC_OPEN_MAX ? limit : realCall<long(int)>("sysconf")(name);
}

int close_range(unsigned first, unsigned last, int flags) noexcept {
  if (!hasCloseRange) {
    errno = ENOSYS;
    return -1;
  }
  return realCall<int(unsigned, unsigned, int)>("close_range")(first, last, flags);
}
}

int main(int argc, char** argv) {
  const int runs = argc > 1 ? std::max(std::atoi(argv[1]), 1) : 40;
  std::printf(
      "    limit  closed           MB   call ms  start ms    median     worst   (%d runs)\n", runs);
  std::vector<char> memory;
  for (const std::size_t megabytes : {0, 64, 512}) {
    memory.assign(megabytes << 20, 1);
    for (const bool atOnce : {true, false}) {
      for (const long most : {4'096L, 20'000L, 1'000'000L}) {
        hasCloseRange = atOnce;
        limit = most;
        measure(runs, megabytes);
      }
    }
  }
}
