// SPDX-License-Identifier: MIT
#ifndef VIMO_UTIL_FRAME_CLOCKCOUNTER_H
#define VIMO_UTIL_FRAME_CLOCKCOUNTER_H

#include <cstdint>

#include "vimo_util/frame/export.h"

/// The system's time as one count: microseconds since 1 January 1970 UTC.
///
/// - Time: the counter follows the time of day. It is not monotonic: when the time of day is
///   set back, later counts are lower than earlier ones.
/// - Range: 64 bits on every target. Dates after January 2038 need glibc 2.34 on 32-bit targets.
/// - Threads: any thread may call any operation at any time.
/// - Errors: none. Nothing allocates.
class VIMO_UTIL_API ClockCounter {
 public:
  /// Makes a counter that is available.
  ClockCounter();
  virtual ~ClockCounter();

  /// Whether the counter can be used. True, unless a derived class changes it.
  bool isAvail() const;

  /// The count now, whether the counter is available or not.
  std::int64_t getCounter() const;

  /// The count `ms` milliseconds from now, or before now if `ms` is negative. Any value is
  /// allowed. Returns -1 if the counter is not available.
  std::int64_t calcCounter(int ms) const;

 protected:
  bool avail;             ///< what isAvail() returns
  double ticksPerSecond;  ///< 1000000, for derived classes; the library does not read it
};

#endif
