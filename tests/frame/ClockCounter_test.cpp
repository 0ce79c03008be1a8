#include "vimo_util/frame/ClockCounter.h"

#include <gtest/gtest.h>
#include <sys/time.h>

#include <limits>

namespace {

struct timeval fakeTime;

struct Unavailable : ClockCounter {
  Unavailable() { avail = false; }
};

}  // namespace

// Stands in for the system's clock, in the library too.
extern "C" int gettimeofday(struct timeval* now, void*) noexcept {
  *now = fakeTime;
  return 0;
}

namespace {

TEST(ClockCounter, IsExactForEveryTimeAndDistance) {
  const ClockCounter clock;
  EXPECT_TRUE(clock.isAvail());
  for (const std::int64_t seconds : {0ll, 1ll, -1ll, 0x7FFFFFFFll, 0x80000000ll, 253402300799ll}) {
    for (const std::int64_t microseconds : {0, 999999}) {
      fakeTime.tv_sec = seconds;
      fakeTime.tv_usec = microseconds;
      const std::int64_t now = seconds * 1000000 + microseconds;
      EXPECT_EQ(now, clock.getCounter());
      for (const std::int64_t ms : {0ll, 1ll, -1000ll, 0x7FFFFFFFll, -0x80000000ll}) {
        EXPECT_EQ(now + ms * 1000, clock.calcCounter(static_cast<int>(ms))) << now << ", " << ms;
      }
    }
  }
}

TEST(ClockCounter, GivesNoCountAheadWhenUnavailable) {
  const Unavailable clock;
  EXPECT_FALSE(clock.isAvail());
  EXPECT_EQ(-1, clock.calcCounter(1));
}

}  // namespace
