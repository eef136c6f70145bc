#include "zelthread.h"

#include <cerrno>
#include <ctime>

#include "agentfw/bss1.h"
#include "agentfw/ras1.h"
#include "zelending.h"

RAS1_UNIT("ZELTHREAD");

namespace {

constexpr unsigned long kMinWaitMs = 3;

}  // namespace

ZelMutex::ZelMutex() { pthread_mutex_init(&mutex, nullptr); }

ZelMutex::~ZelMutex() { pthread_mutex_destroy(&mutex); }

int ZelMutex::lock() { return pthread_mutex_lock(&mutex); }

int ZelMutex::unlock() { return pthread_mutex_unlock(&mutex); }

ZelEvent::ZelEvent() {
  pthread_mutex_init(&mutex, nullptr);
  pthread_cond_init(&cond, nullptr);
}

ZelEvent::~ZelEvent() {
  pthread_cond_destroy(&cond);
  pthread_mutex_destroy(&mutex);
}

void ZelEvent::signal(bool all) {
  pthread_mutex_lock(&mutex);
  if (all) {
    pthread_cond_broadcast(&cond);
  } else {
    pthread_cond_signal(&cond);
  }
  pthread_mutex_unlock(&mutex);
}

void ZelEvent::wait() {
  pthread_mutex_lock(&mutex);
  pthread_cond_wait(&cond, &mutex);
  pthread_mutex_unlock(&mutex);
}

bool ZelEvent::wait(unsigned long ms) {
  if (ms < kMinWaitMs) {
    ms = kMinWaitMs;
  }
  BSS1_Time now;
  BSS1_GetTime(&now);
  const unsigned long nanoseconds =
      static_cast<unsigned long>(now.nanoseconds) + ms % 1000 * 1'000'000;
  timespec deadline;
  deadline.tv_sec = static_cast<time_t>(now.seconds + static_cast<long>(ms / 1000) +
                                        static_cast<long>(nanoseconds / 1'000'000'000));
  deadline.tv_nsec = static_cast<long>(nanoseconds % 1'000'000'000);

  pthread_mutex_lock(&mutex);
  const int rc = pthread_cond_timedwait(&cond, &mutex, &deadline);
  pthread_mutex_unlock(&mutex);
  return rc != ETIMEDOUT;
}

void zelThreadStart(unsigned long* threadId, void* (*routine)(void*), void* arg) {
  RAS1_FLOW();
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  const int rc = pthread_create(threadId, &attributes, routine, arg);
  if (rc != 0) {
    RAS1_PRINT("ERROR: pthread_create() failed (rc %i)", rc);
    zelEndAgent();
    return;
  }
  pthread_detach(*threadId);
}
