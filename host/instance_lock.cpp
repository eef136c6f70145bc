#include "instance_lock.h"

#include <fcntl.h>
#include <fmt/core.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "agentfw/own_file.h"
#include "exit_codes.h"
#include "start_error.h"

namespace host {
namespace {

std::string readProcessId(int fd) {
  char text[32] = {};
  const ssize_t size = pread(fd, text, sizeof text - 1, 0);
  std::string id(text, size > 0 ? static_cast<std::size_t>(size) : 0);
  id.erase(id.find_last_not_of(" \n") + 1);
  return id.empty() ? "of unknown id" : id;
}

}  // namespace

InstanceLock::InstanceLock(const std::string& varFolder, const std::string& home) {
  const std::string path = varFolder + "/zelagent.pid";
  const agentfw::OwnFile file = agentfw::openOwnFile(path, O_RDWR | O_CREAT, S_IRUSR | S_IWUSR);
  if (file.fd < 0) {
    throw StartError(kExitFailed, fmt::format("can't write {}: {}", path, file.error));
  }
  fd_ = file.fd;
  if (flock(fd_, LOCK_EX | LOCK_NB) != 0) {
    const int failure = errno;
    const std::string text =
        failure == EWOULDBLOCK
            ? fmt::format(
                  "an agent is already running on {} (process {})\n  Stop it first, or "
                  "give this one its own home.",
                  home, readProcessId(fd_))
            : fmt::format("can't lock {}: {}", path, std::strerror(failure));
    close(fd_);
    throw StartError(kExitFailed, text);
  }
  const std::string id = fmt::format("{}\n", getpid());
  if (ftruncate(fd_, 0) != 0 ||
      pwrite(fd_, id.data(), id.size(), 0) != static_cast<ssize_t>(id.size())) {
    const int failure = errno;
    close(fd_);
    throw StartError(kExitFailed, fmt::format("can't write {}: {}", path, std::strerror(failure)));
  }
}

InstanceLock::~InstanceLock() {
  clear();
  close(fd_);
}

void InstanceLock::clear() noexcept {
  [[maybe_unused]] const int result = ftruncate(fd_, 0);  // an old id is harmless
}

}  // namespace host
