#include "http/server/exchange.h"

#include <microhttpd.h>

#include <utility>

#include "http/server/problem.h"

namespace fw::http {

bool Exchange::respond(Response&& response) {
  const MutexLock lock(mutex_);
  if (answered_ || connection_ == nullptr) {
    return false;
  }
  answered_ = true;
  response_ = std::move(response);
  if (std::exchange(suspended_, false)) {
    // Under the lock, so that end() can't come between and leave a dead connection here.
    MHD_resume_connection(connection_);
  }
  return true;
}

std::optional<Response> Exchange::takeOrSuspend() {
  const MutexLock lock(mutex_);
  if (!answered_) {
    suspended_ = true;
    MHD_suspend_connection(connection_);
  }
  return std::exchange(response_, std::nullopt);
}

void Exchange::end() {
  const MutexLock lock(mutex_);
  connection_ = nullptr;
  response_.reset();
}

Responder::~Responder() {
  if (answered_) {
    return;
  }
  exchange_->respond(problemResponse({500,
                                      "no-answer",
                                      "The agent has no answer",
                                      "The request was dropped inside the agent.",
                                      {}},
                                     exchange_->target));
}

}  // namespace fw::http
