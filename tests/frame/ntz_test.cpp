#include "vimo_util/frame/ntz.h"

#include <gtest/gtest.h>

namespace {

// Counted while the program's own static objects come into being.
const int countedAtStart = ntz_hash64(0x8000000000000000);

int naive(std::uint64_t x) {
  for (int i = 0; i < 64; ++i) {
    if (x >> i & 1) return i;
  }
  return 64;
}

TEST(Ntz, TableIsFilledBeforeStaticObjects) { EXPECT_EQ(63, countedAtStart); }

TEST(Ntz, AgreesWithACountBitByBit) {
  const std::uint64_t patterns[] = {0, 1, 12, 0x80000000, 0xFFFFFFFF, 0x5555555555555555, ~0ull};
  for (const std::uint64_t pattern : patterns) {
    for (int shift = 0; shift < 64; ++shift) {
      const std::uint64_t x = pattern << shift;
      EXPECT_EQ(naive(x), ntz_hash64(x)) << std::hex << x;
      const std::uint32_t low = static_cast<std::uint32_t>(x);
      EXPECT_EQ(naive(low), ntz_hash32(low)) << std::hex << low;
    }
  }
}

TEST(Ntz, AnotherInitChangesNothing) {
  init_vimo_util();
  for (int i = 0; i < 64; ++i) EXPECT_EQ(i, ntz_hash64(1ull << i));
}

}  // namespace
