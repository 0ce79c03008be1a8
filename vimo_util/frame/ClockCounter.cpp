// SPDX-License-Identifier: MIT
#include "vimo_util/frame/ClockCounter.h"

#include <sys/time.h>

static_assert(sizeof(time_t) == 8,
              "dates after January 2038 need 64-bit time: glibc 2.34 or later");

ClockCounter::ClockCounter() : avail(true), ticksPerSecond(1000000.0) {}

ClockCounter::~ClockCounter() {}

bool ClockCounter::isAvail() const { return avail; }

std::int64_t ClockCounter::getCounter() const {
  struct timeval now;
  gettimeofday(&now, nullptr);
  return std::int64_t{now.tv_sec} * 1000000 + now.tv_usec;
}

std::int64_t ClockCounter::calcCounter(int ms) const {
  if (!avail) return -1;
  return getCounter() + std::int64_t{ms} * 1000;
}
