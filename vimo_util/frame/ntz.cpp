// SPDX-License-Identifier: MIT
#include "vimo_util/frame/ntz.h"

namespace {

// A de Bruijn sequence: shifted left by 0 to 63, its top six bits take every value from 0 to 63
// once.
constexpr std::uint64_t ntz_debruijn = 0x03F566ED27179461;

// Maps those six bits to the shift.
std::int32_t ntz_table[64];

// Runs before static objects of the program are made, in a static library too: 101 is the first
// priority that a program may use. On init_vimo_util itself GCC would ignore it, because the header
// declares that function without a priority.
__attribute__((constructor(101))) void fillTable() { init_vimo_util(); }

}  // namespace

void init_vimo_util() {
  std::uint64_t v = ntz_debruijn;
  for (std::int32_t i = 0; i < 64; ++i, v <<= 1) ntz_table[v >> 58] = i;
}

std::int32_t ntz_hash64(std::uint64_t x) {
  if (x == 0) return 64;
  const std::uint64_t lowest = x & (~x + 1);
  return ntz_table[(lowest * ntz_debruijn) >> 58];
}

std::int32_t ntz_hash32(std::uint32_t x) { return ntz_hash64(x); }
