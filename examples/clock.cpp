// SPDX-License-Identifier: MIT
#include <cstdint>
#include <cstdio>

#include "vimo_util/frame/ClockCounter.h"
#include "vimo_util/frame/ntz.h"

int main() {
  ClockCounter clock;
  const std::int64_t began = clock.getCounter();
  const std::int64_t deadline = clock.calcCounter(50);
  while (clock.getCounter() < deadline) {
  }
  std::printf("waited 50 ms: %s\n", clock.getCounter() - began >= 50000 ? "yes" : "no");

  std::uint64_t free = 0x7;  // three slots, all free
  for (int i = 0; i < 4; ++i) {
    const int slot = ntz_hash64(free);
    if (slot == 64) {
      std::printf("no slot is free\n");
      break;
    }
    free &= free - 1;  // takes the lowest
    std::printf("slot %d\n", slot);
  }
  free |= std::uint64_t{1} << 1;
  std::printf("slot %d again\n", ntz_hash64(free));
}
