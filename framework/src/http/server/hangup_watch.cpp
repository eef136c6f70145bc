#include "http/server/hangup_watch.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <ctime>
#include <system_error>
#include <utility>

namespace fw::http {

namespace {

constexpr int kSoonMs = 10;

bool addTo(int epoll, int descriptor, std::uint32_t events, void* data) {
  epoll_event event{};
  event.events = events;
  event.data.ptr = data;
  return epoll_ctl(epoll, EPOLL_CTL_ADD, descriptor, &event) == 0;
}

bool startTimer(int timer, std::chrono::milliseconds period) {
  const auto seconds = std::chrono::floor<std::chrono::seconds>(period);
  const timespec each{seconds.count(),
                      static_cast<long>(std::chrono::nanoseconds(period - seconds).count())};
  const itimerspec times{each, each};
  return timerfd_settime(timer, 0, &times, nullptr) == 0;
}

}  // namespace

HangupWatch::HangupWatch(std::chrono::milliseconds period, Duties duties)
    : duties_(std::move(duties)),
      epoll_(epoll_create1(EPOLL_CLOEXEC)),
      timer_(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)),
      end_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (!startTimer(timer_, period) || !addTo(epoll_, timer_, EPOLLIN, &timer_) ||
      !addTo(epoll_, end_, EPOLLIN, &end_)) {
    const int error = errno;
    closeAll();
    throw std::system_error(error, std::generic_category(), "can't watch connections");
  }
  thread_ = std::thread([this] { run(); });
}

HangupWatch::~HangupWatch() {
  eventfd_write(end_, 1);
  thread_.join();
  closeAll();
}

void HangupWatch::closeAll() {
  for (const int descriptor : {epoll_, timer_, end_}) {
    close(descriptor);
  }
}

void HangupWatch::add(int socket, void* connection) {
  // What can't be watched is found by the deadlines.
  static_cast<void>(addTo(epoll_, socket, EPOLLRDHUP | EPOLLET, connection));
}

void HangupWatch::run() {
  bool isSoon = false;
  while (true) {
    std::array<epoll_event, 64> events{};
    const int count =
        epoll_wait(epoll_, events.data(), static_cast<int>(events.size()), isSoon ? kSoonMs : -1);
    bool isDue = count == 0;
    for (int i = 0; i < count; ++i) {
      void* const source = events[static_cast<std::size_t>(i)].data.ptr;
      if (source == &end_) {
        return;
      }
      if (source == &timer_) {
        std::uint64_t times = 0;
        static_cast<void>(!read(timer_, &times, sizeof(times)));
        isDue = true;
      } else {
        duties_.hungUp(source);
        isSoon = true;
      }
    }
    if (isDue) {
      isSoon = duties_.sweep();
    }
  }
}

}  // namespace fw::http
