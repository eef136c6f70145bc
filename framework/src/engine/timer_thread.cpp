#include "engine/timer_thread.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <thread>

#include "engine/timer_queue.h"

namespace fw {

class TimerThread::Loop {
 public:
  explicit Loop(TimerQueue& queue)
      : queue_(queue), timer_(context_), work_(context_.get_executor()) {
    queue_.onNewNext([this] { boost::asio::post(context_, [this] { arm(); }); });
    thread_ = std::thread([this] { context_.run(); });
    boost::asio::post(context_, [this] { arm(); });
  }

  ~Loop() {
    queue_.onNewNext({});
    context_.stop();
    thread_.join();
  }

 private:
  /// Runs on the thread only.
  void arm() {
    const auto next = queue_.next();
    if (!next) {
      return;
    }
    timer_.expires_at(*next);  // cancels the wait before
    timer_.async_wait([this](const boost::system::error_code& error) {
      if (!error) {
        queue_.fireDue();
        arm();
      }
    });
  }

  TimerQueue& queue_;
  boost::asio::io_context context_;
  boost::asio::steady_timer timer_;
  boost::asio::executor_work_guard<boost::asio::io_context::executor_type> work_;
  std::thread thread_;
};

TimerThread::TimerThread(TimerQueue& queue) : loop_(std::make_unique<Loop>(queue)) {}

TimerThread::~TimerThread() = default;

}  // namespace fw
