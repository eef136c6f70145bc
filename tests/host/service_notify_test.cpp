#include "service_notify.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string>

#include "temp_root.h"

namespace host {
namespace {

/// The service manager's end. A name that starts with '@' is an abstract one.
class Manager {
 public:
  explicit Manager(const std::string& name) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, name.data(), name.size());
    if (name[0] == '@') {
      address.sun_path[0] = '\0';
    }
    fd_ = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    EXPECT_EQ(bind(fd_, reinterpret_cast<const sockaddr*>(&address),
                   static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size())),
              0);
    setenv("NOTIFY_SOCKET", name.c_str(), 1);
  }
  ~Manager() { close(fd_); }
  Manager(const Manager&) = delete;
  Manager& operator=(const Manager&) = delete;

  std::string next() const {
    char text[64];
    const ssize_t size = recv(fd_, text, sizeof text, MSG_DONTWAIT);
    return {text, size > 0 ? static_cast<std::size_t>(size) : 0};
  }

 private:
  int fd_ = -1;
};

TEST(ServiceNotifyTest, TellsTheSocketThatTheManagerNames) {
  TempRoot files;
  for (const std::string& name :
       {(files.root() / "socket").string(), "@zelhost-test-" + std::to_string(getpid())}) {
    const Manager manager(name);

    const ServiceNotify notify;
    notify.ready();
    notify.stopping();

    EXPECT_EQ(manager.next(), "READY=1") << name;
    EXPECT_EQ(manager.next(), "STOPPING=1") << name;
    EXPECT_EQ(std::getenv("NOTIFY_SOCKET"), nullptr) << "a child would report in our name";
  }
}

TEST(ServiceNotifyTest, DoesNothingWithoutAManager) {
  unsetenv("NOTIFY_SOCKET");
  const ServiceNotify notify;

  notify.ready();  // nothing to see but that it comes back
}

}  // namespace
}  // namespace host
