// SPDX-License-Identifier: MIT
#ifndef VIMO_UTIL_PRIQ_MUTEXGUARD_H
#define VIMO_UTIL_PRIQ_MUTEXGUARD_H

#include <pthread.h>

namespace vimo {
namespace util {
namespace priq {

/// Holds a mutex while it lives, also while a cancelled thread unwinds.
class MutexGuard {
 public:
  explicit MutexGuard(pthread_mutex_t& lock) : mutex(lock) { pthread_mutex_lock(&mutex); }
  ~MutexGuard() { pthread_mutex_unlock(&mutex); }
  MutexGuard(const MutexGuard&) = delete;
  MutexGuard& operator=(const MutexGuard&) = delete;

 private:
  pthread_mutex_t& mutex;
};

}  // namespace priq
}  // namespace util
}  // namespace vimo

#endif
