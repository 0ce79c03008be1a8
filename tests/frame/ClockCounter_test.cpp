#include "vimo_util/frame/ClockCounter.h"

#include <gtest/gtest.h>
#include <sys/time.h>

namespace {
timeval fakeTime;
}

// Stands in for the system's clock, in the library too.
extern "C" int gettimeofday(struct timeval* now, void*) noexcept {
  *now = fakeTime;
  return 0;
}

TEST(ClockCounter, IsExactForEveryTimeAndDistance) {
  struct : ClockCounter {
    using ClockCounter::avail;
    using ClockCounter::ticksPerSecond;
  } clock;
  for (const std::int64_t seconds : {0ll, -1ll, 0x7FFFFFFFll, 0x80000000ll, 253402300799ll}) {
    fakeTime.tv_sec = seconds;
    fakeTime.tv_usec = 999999;
    const std::int64_t now = seconds * 1000000 + 999999;
    EXPECT_EQ(now, clock.getCounter());
    for (const std::int64_t ms : {0ll, 1ll, -1000ll, 0x7FFFFFFFll, -0x80000000ll}) {
      EXPECT_EQ(now + ms * 1000, clock.calcCounter(static_cast<int>(ms))) << now << ", " << ms;
    }
  }
  EXPECT_TRUE(clock.isAvail());
  EXPECT_EQ(1000000.0, clock.ticksPerSecond);
  clock.avail = false;
  EXPECT_EQ(-1, clock.calcCounter(1));
}
