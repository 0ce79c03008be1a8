#include <gtest/gtest.h>
#include <sys/time.h>

#include "vimo_util/frame/ClockCounter.h"
#include "vimo_util/frame/ntz.h"

namespace {

timeval fakeTime;

// Counted while the program's own static objects come into being.
const int countedAtStart = ntz_hash64(0x8000000000000000);

}  // namespace

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

TEST(Ntz, TableIsFilledBeforeStaticObjects) { EXPECT_EQ(63, countedAtStart); }

TEST(Ntz, CountsZerosBelowAnyOtherBits) {
  EXPECT_EQ(64, ntz_hash64(0));
  init_vimo_util();  // which changes nothing
  for (int zeros = 0; zeros < 64; ++zeros) {
    for (const std::uint64_t odd : {1ull, 0x5555555555555555ull, ~0ull}) {
      const std::uint64_t x = odd << zeros;
      EXPECT_EQ(zeros, ntz_hash64(x)) << std::hex << x;
      EXPECT_EQ(zeros < 32 ? zeros : 64, ntz_hash32(static_cast<std::uint32_t>(x))) << zeros;
    }
  }
}
