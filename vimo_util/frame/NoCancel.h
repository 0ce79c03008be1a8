// SPDX-License-Identifier: MIT
#ifndef VIMO_UTIL_FRAME_NOCANCEL_H
#define VIMO_UTIL_FRAME_NOCANCEL_H

#include <pthread.h>

namespace vimo {
namespace util {

/// While it lives, its thread is not cancelled. It guards calls that must not unwind.
class NoCancel {
 public:
  NoCancel() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before); }
  ~NoCancel() { pthread_setcancelstate(before, &before); }
  NoCancel(const NoCancel&) = delete;
  NoCancel& operator=(const NoCancel&) = delete;

 private:
  int before;
};

}  // namespace util
}  // namespace vimo

#endif
