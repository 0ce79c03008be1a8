#ifndef VIMO_UTIL_FRAME_CLOCKCOUNTER_H
#define VIMO_UTIL_FRAME_CLOCKCOUNTER_H

#include <cstdint>

#include "vimo_util/frame/export.h"

// The system's time as one count: microseconds since 1 January 1970 UTC.
//
// Time     follows the time of day and is not monotonic: when that is set back,
//          later counts are lower than earlier ones.
// Range    64 bits on every target, beyond January 2038 too.
// Threads  every operation is safe from any thread, also on one object at once.
// Errors   none; nothing allocates.
class VIMO_UTIL_API ClockCounter {
 public:
  // A counter that is available.
  ClockCounter();
  virtual ~ClockCounter();

  // Whether the counter can be used. True, unless a derived class says otherwise.
  bool isAvail() const;

  // The count now, available or not.
  std::int64_t getCounter() const;

  // The count `ms` milliseconds from now, or that many before now if `ms` is
  // negative; any value will do. -1 if the counter is not available.
  std::int64_t calcCounter(int ms) const;

 protected:
  bool avail;             // what isAvail() says; true from the constructor
  double ticksPerSecond;  // for derived classes; the library does not read it
};

#endif
