// Clients of an HTTP server on this machine: each sends its next request when it has the whole
// answer to the one before, on one connection. They share a thread, so that they cost little.

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

[[noreturn]] void fail(const std::string& what) { throw std::runtime_error(what); }

int connectTo(std::uint16_t port) {
  const int client = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(port);
  if (client < 0 || connect(client, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
    fail("can't connect");
  }
  const int on = 1;
  setsockopt(client, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  return client;
}

/// Bytes of the answer at the beginning of `text`; 0 while they are not known.
std::size_t answerSize(std::string_view text) {
  constexpr std::string_view kLength = "Content-Length: ";
  const std::size_t end = text.find("\r\n\r\n");
  if (end == std::string_view::npos) {
    return 0;
  }
  if (!text.starts_with("HTTP/1.1 200 ")) {
    fail("an answer is " + std::string(text.substr(0, text.find('\r'))));
  }
  const std::size_t at = text.substr(0, end).find(kLength);
  std::size_t content = 0;
  if (at == std::string_view::npos ||
      std::from_chars(text.data() + at + kLength.size(), text.data() + end, content).ec !=
          std::errc()) {
    fail("an answer has no length");
  }
  return end + 4 + content;
}

struct Client {
  int socket = -1;
  std::string received;
  std::size_t expected = 0;  ///< bytes of the answer; 0 while they are not known
  Clock::time_point sent;
};

class Load {
 public:
  Load(std::uint16_t port, const std::string& path, unsigned clients)
      : request_("GET " + path + " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(port) +
                 "\r\n\r\n"),
        clients_(clients),
        epoll_(epoll_create1(EPOLL_CLOEXEC)) {
    for (Client& client : clients_) {
      client.socket = connectTo(port);
      epoll_event event{};
      event.events = EPOLLIN;
      event.data.ptr = &client;
      epoll_ctl(epoll_, EPOLL_CTL_ADD, client.socket, &event);
    }
  }
  Load(const Load&) = delete;
  Load& operator=(const Load&) = delete;
  ~Load() {
    for (const Client& client : clients_) {
      close(client.socket);
    }
    close(epoll_);
  }

  void run(std::chrono::milliseconds duration) {
    const Clock::time_point began = Clock::now();
    for (Client& client : clients_) {
      send(client);
    }
    std::array<epoll_event, 64> events;
    Clock::time_point now = began;
    while (now - began < duration) {
      const int count = epoll_wait(epoll_, events.data(), events.size(), 10'000);
      now = Clock::now();
      if (count <= 0) {
        fail("no answer for ten seconds");
      }
      for (int i = 0; i < count; ++i) {
        receive(*static_cast<Client*>(events[static_cast<std::size_t>(i)].data.ptr), now);
      }
    }
    seconds_ = std::chrono::duration<double>(now - began).count();
  }

  void print() {
    if (micros_.empty()) {
      fail("no answer in time");
    }
    std::sort(micros_.begin(), micros_.end());
    const auto part = [&](double share) {
      return micros_[static_cast<std::size_t>(share * static_cast<double>(micros_.size() - 1))];
    };
    std::printf("{\"answers\": %zu, \"per_second\": %.1f, \"p50_us\": %u, \"p99_us\": %u}\n",
                micros_.size(), static_cast<double>(micros_.size()) / seconds_, part(0.5),
                part(0.99));
  }

 private:
  void send(Client& client) {
    client.received.clear();
    client.expected = 0;
    client.sent = Clock::now();
    if (::send(client.socket, request_.data(), request_.size(), MSG_NOSIGNAL) !=
        static_cast<ssize_t>(request_.size())) {
      fail("a request could not be sent");
    }
  }

  void receive(Client& client, Clock::time_point now) {
    const ssize_t count = recv(client.socket, buffer_.data(), buffer_.size(), 0);
    if (count <= 0) {
      fail("the server has closed a connection");
    }
    client.received.append(buffer_.data(), static_cast<std::size_t>(count));
    if (client.expected == 0) {
      client.expected = answerSize(client.received);
    }
    if (client.expected == 0 || client.received.size() < client.expected) {
      return;
    }
    if (client.received.size() > client.expected) {
      fail("an answer is longer than it says");
    }
    const auto took = std::chrono::duration_cast<std::chrono::microseconds>(now - client.sent);
    micros_.push_back(static_cast<std::uint32_t>(took.count()));
    send(client);
  }

  const std::string request_;
  std::vector<Client> clients_;
  const int epoll_;
  std::array<char, 64 * 1024> buffer_;
  std::vector<std::uint32_t> micros_;
  double seconds_ = 0;
};

}  // namespace

/// http_load PORT PATH CLIENTS MILLISECONDS: prints how many answers came, and how fast.
int main(int argc, char** argv) {
  try {
    if (argc != 5) {
      fail("usage: http_load PORT PATH CLIENTS MILLISECONDS");
    }
    Load load(static_cast<std::uint16_t>(std::atoi(argv[1])), argv[2],
              static_cast<unsigned>(std::atoi(argv[3])));
    load.run(std::chrono::milliseconds(std::atoi(argv[4])));
    load.print();
    return 0;
  } catch (const std::exception& e) {
    std::fprintf(stderr, "http_load: %s\n", e.what());
    return 1;
  }
}
