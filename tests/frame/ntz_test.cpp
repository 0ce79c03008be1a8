#include "vimo_util/frame/ntz.h"

#include <gtest/gtest.h>

namespace {

// Counted while the program's own static objects come into being.
const int countedAtStart = ntz_hash64(0x8000000000000000);

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

}  // namespace
