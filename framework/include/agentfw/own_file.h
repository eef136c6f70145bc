#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

/// @file
/// Opening a file that the process writes for itself: a log, the pid file.

namespace agentfw {

/// An open file, or why there is none.
struct OwnFile {
  int fd = -1;        ///< the caller closes it; -1 when there is none
  std::string error;  ///< what is wrong with the file and the remedy, for people; without its path
};

inline OwnFile refuseOwnFile(int fd, const std::string& error) {
  close(fd);
  return {-1, error + "; remove it, or move it away"};
}

/// Opens a file that belongs to the user of this process, or creates it. `flags` are those of
/// open(), without O_TRUNC; `mode` is the most that a file opened for writing may allow: anything
/// beyond that is taken away.
///
/// Whoever may write to the folder could have put something else under the name, and a process that
/// runs as root would then write wherever that leads: so a link, a second name of a file, and
/// somebody else's file are refused. A named pipe, which would keep the process waiting, is refused
/// as well, as is everything else that is not a regular file.
inline OwnFile openOwnFile(const std::string& path, int flags, mode_t mode) {
  const int fd = open(path.c_str(), flags | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, mode);
  if (fd < 0) {
    switch (errno) {
      case ELOOP:
        return {-1, "it is a link; remove it, or move it away"};
      case ENXIO:  // a pipe without a reader, or a socket
        return {-1, "it is not a regular file; remove it, or move it away"};
      default:
        return {-1, std::strerror(errno)};
    }
  }
  struct stat status {};
  if (fstat(fd, &status) != 0) {
    const int error = errno;
    close(fd);
    return {-1, std::strerror(error)};
  }
  if (!S_ISREG(status.st_mode)) {
    return refuseOwnFile(fd, "it is not a regular file");
  }
  if (status.st_uid != geteuid()) {
    return refuseOwnFile(fd, "it belongs to another user (id " + std::to_string(status.st_uid) +
                                 "), not to the agent's (id " + std::to_string(geteuid()) + ")");
  }
  if (status.st_nlink > 1) {
    return refuseOwnFile(fd, "it has a second name (a hard link)");
  }
  const bool isWritten = (flags & O_ACCMODE) != O_RDONLY;
  if (isWritten && (status.st_mode & ALLPERMS & ~mode) != 0 &&
      fchmod(fd, status.st_mode & mode) != 0) {
    const int error = errno;
    close(fd);
    return {-1, std::strerror(error)};
  }
  return {fd, {}};
}

/// What the log files of an agent allow: its group may read them, but nobody else, since they
/// record what people have done through the agent.
inline constexpr mode_t kLogMode = 0640;

}  // namespace agentfw
