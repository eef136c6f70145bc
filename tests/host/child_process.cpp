#include "child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <thread>

namespace {

constexpr auto kDeadline = std::chrono::seconds(60);
constexpr std::chrono::milliseconds kPoll(50);

auto now() { return std::chrono::steady_clock::now(); }

void readFrom(int& fd, std::string& text) {
  std::array<char, 4096> buffer{};
  const ssize_t size = read(fd, buffer.data(), buffer.size());
  if (size > 0) {
    text.append(buffer.data(), static_cast<std::size_t>(size));
  } else if (size == 0 || errno != EINTR) {
    close(fd);
    fd = -1;
  }
}

}  // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& arguments, const Options& options) {
  int out[2];
  int err[2];
  if (pipe2(out, O_CLOEXEC) != 0 || pipe2(err, O_CLOEXEC) != 0) {
    throw std::runtime_error("pipe");
  }
  id_ = fork();
  if (id_ == 0) {
    dup2(out[1], STDOUT_FILENO);
    dup2(err[1], STDERR_FILENO);
    for (const auto& [name, value] : options.setEnv) {
      setenv(name.c_str(), value.c_str(), 1);
    }
    for (const std::string& name : options.unsetEnv) {
      unsetenv(name.c_str());
    }
    if (options.beforeExec) {
      options.beforeExec();
    }
    std::vector<char*> argv;
    for (const std::string& argument : arguments) {
      argv.push_back(const_cast<char*>(argument.c_str()));
    }
    argv.push_back(nullptr);
    execv(argv[0], argv.data());
    _exit(127);
  }
  close(out[1]);
  close(err[1]);
  outputFd_ = out[0];
  errorsFd_ = err[0];
}

ChildProcess::~ChildProcess() {
  if (id_ > 0) {
    kill(id_, SIGKILL);
    waitpid(id_, nullptr, 0);
  }
  for (const int fd : {outputFd_, errorsFd_}) {
    if (fd >= 0) {
      close(fd);
    }
  }
}

void ChildProcess::signal(int sig) const {
  if (id_ > 0) {
    kill(id_, sig);
  }
}

bool ChildProcess::waitForOutput(const std::string& text) {
  return waitFor([&] { return output_.find(text) != std::string::npos; });
}

bool ChildProcess::waitForErrors(const std::string& text) {
  return waitFor([&] { return errors_.find(text) != std::string::npos; });
}

bool ChildProcess::waitFor(const std::function<bool()>& condition) {
  const auto end = now() + kDeadline;
  while (!condition()) {
    if (!readSome()) {  // it has closed its streams, and may run on
      std::this_thread::sleep_for(kPoll);
    }
    if (now() > end || !isRunning()) {
      return condition();
    }
  }
  return true;
}

bool ChildProcess::isRunning() const {
  siginfo_t info{};
  return id_ > 0 &&
         waitid(P_PID, static_cast<id_t>(id_), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
         info.si_pid == 0;
}

int ChildProcess::wait() {
  const auto end = now() + kDeadline;
  for (;;) {
    const bool open = readSome();
    int status = 0;
    if (waitpid(id_, &status, open ? WNOHANG : 0) == id_) {
      while (readSome()) {  // what it wrote last
        if (now() > end) {  // a grandchild holds the pipe
          break;
        }
      }
      id_ = -1;
      return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    if (now() > end) {
      return -1;
    }
  }
}

bool ChildProcess::readSome() {
  std::array<pollfd, 2> fds{pollfd{outputFd_, POLLIN, 0}, pollfd{errorsFd_, POLLIN, 0}};
  if (outputFd_ < 0 && errorsFd_ < 0) {
    return false;
  }
  if (poll(fds.data(), fds.size(), static_cast<int>(kPoll.count())) > 0) {
    if (fds[0].revents != 0) {
      readFrom(outputFd_, output_);
    }
    if (fds[1].revents != 0) {
      readFrom(errorsFd_, errors_);
    }
  }
  return outputFd_ >= 0 || errorsFd_ >= 0;
}
