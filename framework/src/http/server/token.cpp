#include "http/server/token.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

namespace fw::http {

namespace {

constexpr std::size_t kRandomBytes = 32;
constexpr std::size_t kMinLength = 32;    ///< characters, of a token that somebody else made
constexpr std::size_t kMaxLength = 1024;  ///< characters
constexpr mode_t kMode = S_IRUSR | S_IWUSR;

class File {
 public:
  explicit File(int fd) : fd_(fd) {}
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  ~File() {
    if (fd_ >= 0) {
      close(fd_);
    }
  }
  int fd() const { return fd_; }

 private:
  int fd_;
};

Token failed(const std::string& what, const std::string& path, int error) {
  return {{}, fmt::format("Can't {} the token {}: {}.", what, path, std::strerror(error))};
}

Token refused(const std::string& path, std::string_view why, std::string_view remedy) {
  return {{}, fmt::format("The token {} {}. {}", path, why, remedy)};
}

constexpr std::string_view kRemove = "Remove the file; the agent makes a new token when it starts.";

/// The characters of a bearer token.
bool isTokenChar(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
         std::string_view("-._~+/=").find(c) != std::string_view::npos;
}

Token read(int fd, const std::string& path) {
  struct stat info {};
  if (fstat(fd, &info) != 0) {
    return failed("read", path, errno);
  }
  if (!S_ISREG(info.st_mode)) {
    return refused(path, "is not a plain file", kRemove);
  }
  if (info.st_uid != geteuid()) {
    return refused(path, fmt::format("belongs to another user (id {})", info.st_uid), kRemove);
  }
  if (info.st_nlink > 1) {
    return refused(path, "has a second name (a hard link)", kRemove);
  }
  if ((info.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
    return refused(path, fmt::format("is open to other users (mode {:o})", info.st_mode & ALLPERMS),
                   fmt::format("Remove the file, and the agent makes a new token when it starts; "
                               "or, if nobody can have read it, keep it with: chmod 600 {}",
                               path));
  }
  std::array<char, kMaxLength + 2> bytes{};
  const ssize_t got = ::read(fd, bytes.data(), bytes.size());
  if (got < 0) {
    return failed("read", path, errno);
  }
  std::string_view text(bytes.data(), static_cast<std::size_t>(got));
  if (!text.empty() && text.back() == '\n') {
    text.remove_suffix(1);
  }
  if (text.size() < kMinLength || text.size() > kMaxLength ||
      !std::all_of(text.begin(), text.end(), isTokenChar)) {
    return refused(path,
                   fmt::format("holds no token; a token is one line of {} to {} letters, digits or "
                               "characters of \"-._~+/=\"",
                               kMinLength, kMaxLength),
                   kRemove);
  }
  return {std::string(text), {}};
}

bool writeAll(int fd, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = write(fd, text.data(), text.size());
    if (written < 0 && errno != EINTR) {
      return false;
    }
    text.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(written, 0)));
  }
  return true;
}

/// Makes the file whole or not at all: another process that reads it never sees half a token.
Token create(const std::string& path) {
  std::array<unsigned char, kRandomBytes> random{};
  if (getrandom(random.data(), random.size(), 0) != static_cast<ssize_t>(random.size())) {
    return failed("make", path, errno);
  }
  const std::string text = fmt::format("{:02x}", fmt::join(random, ""));
  const std::string draft = path + ".new";
  unlink(draft.c_str());  // left by an agent that ended in the middle of this
  const File file(open(draft.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kMode));
  if (file.fd() < 0 || fchmod(file.fd(), kMode) != 0 || !writeAll(file.fd(), text + '\n') ||
      fsync(file.fd()) != 0 || rename(draft.c_str(), path.c_str()) != 0) {
    const int error = errno;
    unlink(draft.c_str());
    return failed("write", path, error);
  }
  return {text, {}};
}

}  // namespace

Token loadToken(const std::string& home) {
  const std::string path = fmt::format("{}/{}", home, kTokenPath);
  const File file(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (file.fd() >= 0) {
    return read(file.fd(), path);
  }
  if (errno == ELOOP) {
    return refused(path, "is a link", kRemove);
  }
  return errno == ENOENT ? create(path) : failed("read", path, errno);
}

bool isSameSecret(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) {
    return false;
  }
  unsigned difference = 0;
  for (std::size_t i = 0; i < a.size(); ++i) {
    difference |= static_cast<unsigned char>(a[i]) ^ static_cast<unsigned char>(b[i]);
  }
  return difference == 0;
}

}  // namespace fw::http
