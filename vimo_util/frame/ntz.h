// SPDX-License-Identifier: MIT
#ifndef VIMO_UTIL_FRAME_NTZ_H
#define VIMO_UTIL_FRAME_NTZ_H

#include <cstdint>

#include "vimo_util/frame/export.h"

/// @file
/// The start-up of the library, and the count of trailing zero bits.
///
/// The counts take the same few steps for every argument, without a loop over bits. Any thread
/// may call them at any time. They allocate nothing and never fail.

/// Fills the table that the counts read. The loader calls it before the program's static objects
/// are made. Calling it again is harmless.
VIMO_UTIL_API void init_vimo_util();

extern "C" {

/// The number of trailing zero bits of `x`: 0 to 31, and 64 (not 32) for 0.
VIMO_UTIL_API std::int32_t ntz_hash32(std::uint32_t x);

/// The number of trailing zero bits of `x`: 0 to 63, and 64 for 0.
VIMO_UTIL_API std::int32_t ntz_hash64(std::uint64_t x);

}  // extern "C"

#endif
