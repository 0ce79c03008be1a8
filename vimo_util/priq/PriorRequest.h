// SPDX-License-Identifier: MIT
#ifndef VIMO_UTIL_PRIQ_PRIORREQUEST_H
#define VIMO_UTIL_PRIQ_PRIORREQUEST_H

#include "vimo_util/frame/export.h"

namespace vimo {
namespace util {
namespace priq {

/// The record that a client hands to a queue. Derive from it to carry more.
///
/// - Ownership: it always belongs to the client. A queue only borrows a pointer, and the library
///   never copies or destroys a request.
/// - Threads: no lock of its own. While it is queued, the queue and the consumers to whom it was
///   shown read it. Its fields may be changed before a push and after a removal.
class VIMO_UTIL_API PriorRequest {
 public:
  /// Makes a request without an id.
  PriorRequest(int clientValue, unsigned int priority);
  virtual ~PriorRequest() {}

  int clientValue;        ///< for the client; the library does not read it
  unsigned int priority;  ///< 0 leaves a queue first, 4294967295 last
  unsigned int id;        ///< 0xdeadbeef until RequestQueue::push() sets it
};

}  // namespace priq
}  // namespace util
}  // namespace vimo

#endif
