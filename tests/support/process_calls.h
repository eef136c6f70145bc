#pragma once

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <string>
#include <vector>

/// @file
/// Watches the calls that make a process, and lets some fail. They come here first, because the
/// program defines them. Include it in one source file of a program.

namespace fake {

/// One per process; a child has a copy, except for the notes, which it shares with its parents.
class ProcessCalls {
 public:
  static ProcessCalls& get() {
    static ProcessCalls& instance = *new ProcessCalls;
    return instance;
  }

  void reset() {
    forkFails = false;
    setsidFails = false;
    dup2FailsFor = -1;
    isNoting = false;
    reapedStatus = -1;
    openMax = 0;
    closeRangeFails = false;
    notes_->count.store(0);
    notes_->closes.store(0);
  }

  void note(const char* call, const char* argument) {
    if (isNoting) {
      const int index = notes_->count.fetch_add(1);
      if (index < Notes::kMost) {
        std::snprintf(notes_->texts[index], sizeof(notes_->texts[index]), "%s %s", call, argument);
      }
    }
  }

  /// "open FILE" and "dup2 DESCRIPTOR" of this process and its children, in order.
  std::vector<std::string> notes() const {
    return {notes_->texts, notes_->texts + std::min<int>(notes_->count.load(), Notes::kMost)};
  }

  /// Calls of close() in this process and its children.
  int closes() const { return notes_->closes.load(); }
  void countClose() { ++notes_->closes; }

  bool forkFails = false;    ///< with EAGAIN
  bool setsidFails = false;  ///< with EPERM
  int dup2FailsFor = -1;     ///< the target that fails, with EBUSY
  bool isNoting = false;
  long openMax = 0;              ///< what sysconf() tells of the descriptors, unless it is 0
  bool closeRangeFails = false;  ///< with ENOSYS, as on an old kernel
  int reapedStatus = -1;         ///< of the child that waitpid() gave last

 private:
  struct Notes {
    static constexpr int kMost = 64;
    std::atomic<int> count;
    std::atomic<int> closes;
    char texts[kMost][512];
  };

  ProcessCalls()
      : notes_(static_cast<Notes*>(mmap(nullptr, sizeof(Notes), PROT_READ | PROT_WRITE,
                                        MAP_SHARED | MAP_ANONYMOUS, -1, 0))) {}

  Notes* notes_;
};

template <typename Function>
Function* realCall(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace fake

extern "C" {

pid_t fork() {
  if (fake::ProcessCalls::get().forkFails) {
    errno = EAGAIN;
    return -1;
  }
  return fake::realCall<pid_t()>("fork")();
}

pid_t setsid() {
  if (fake::ProcessCalls::get().setsidFails) {
    errno = EPERM;
    return -1;
  }
  return fake::realCall<pid_t()>("setsid")();
}

int dup2(int from, int to) {
  fake::ProcessCalls::get().note("dup2", std::to_string(to).c_str());
  if (to == fake::ProcessCalls::get().dup2FailsFor) {
    errno = EBUSY;
    return -1;
  }
  return fake::realCall<int(int, int)>("dup2")(from, to);
}

int open(const char* file, int flags, ...) {
  fake::ProcessCalls::get().note("open", file);
  std::va_list args;
  va_start(args, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(args, mode_t) : 0;
  va_end(args);
  return fake::realCall<int(const char*, int, ...)>("open")(file, flags, mode);
}

long sysconf(int name) {
  const long openMax = fake::ProcessCalls::get().openMax;
  return name == _SC_OPEN_MAX && openMax != 0 ? openMax
                                              : fake::realCall<long(int)>("sysconf")(name);
}

int close(int descriptor) {
  fake::ProcessCalls::get().countClose();
  return fake::realCall<int(int)>("close")(descriptor);
}

int close_range(unsigned first, unsigned last, int flags) noexcept {
  if (fake::ProcessCalls::get().closeRangeFails) {
    errno = ENOSYS;
    return -1;
  }
  return fake::realCall<int(unsigned, unsigned, int)>("close_range")(first, last, flags);
}

pid_t waitpid(pid_t id, int* status, int options) {
  int own = -1;
  const pid_t reaped = fake::realCall<pid_t(pid_t, int*, int)>("waitpid")(id, &own, options);
  if (reaped > 0) {
    fake::ProcessCalls::get().reapedStatus = own;
  }
  if (status != nullptr) {
    *status = own;
  }
  return reaped;
}
}
