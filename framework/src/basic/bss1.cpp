#include "agentfw/bss1.h"

#include <cerrno>
#include <ctime>
#include <exception>

#include "basic/environment.h"

const char* BSS1_GetEnv(const char* name, const char* defaultValue) {
  if (name == nullptr) {
    return defaultValue;
  }
  try {
    const char* value = fw::Environment::instance().find(name);
    return value == nullptr ? defaultValue : value;
  } catch (const std::exception&) {
    return defaultValue;  // no memory to keep the text in
  }
}

int BSS1_GetLock(BSS1_Lock* lock) {
  return lock == nullptr ? EINVAL : pthread_mutex_lock(&lock->mutex);
}

int BSS1_ReleaseLock(BSS1_Lock* lock) {
  return lock == nullptr ? EINVAL : pthread_mutex_unlock(&lock->mutex);
}

// Not through a Clock: waits end at this time, on a condition variable that knows only the
// machine's clock.
void BSS1_GetTime(BSS1_Time* now) {
  timespec time{};
  clock_gettime(CLOCK_REALTIME, &time);
  now->seconds = time.tv_sec;
  now->nanoseconds = static_cast<std::int32_t>(time.tv_nsec);
}
