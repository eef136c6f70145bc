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

namespace {

constexpr auto kDeadline = std::chrono::seconds(60);

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
  const auto end = now() + kDeadline;
  while (output_.find(text) == std::string::npos) {
    if (now() > end || !readSome()) {
      return output_.find(text) != std::string::npos;
    }
  }
  return true;
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
  constexpr int kPollMs = 50;
  if (poll(fds.data(), fds.size(), kPollMs) > 0) {
    if (fds[0].revents != 0) {
      readFrom(outputFd_, output_);
    }
    if (fds[1].revents != 0) {
      readFrom(errorsFd_, errors_);
    }
  }
  return outputFd_ >= 0 || errorsFd_ >= 0;
}
