#ifndef VIMO_UTIL_PRIQ_PRIORREQUEST_H
#define VIMO_UTIL_PRIQ_PRIORREQUEST_H

#include "vimo_util/frame/export.h"

namespace vimo {
namespace util {
namespace priq {

// The record that a client hands to a queue; derive from it to carry more.
//
// Ownership  the client's from first to last: a queue only borrows a pointer,
//            and nothing in the library copies or destroys a request.
// Threads    none of its own: while a request is queued, the queue and a
//            consumer to whom it was shown read it; its fields may be changed
//            before a push and after a removal.
class VIMO_UTIL_API PriorRequest {
 public:
  // A request that has no id yet.
  PriorRequest(int clientValue, unsigned int priority);
  virtual ~PriorRequest() {}

  int clientValue;        // the client's own; nothing in the library reads it
  unsigned int priority;  // 0 leaves a queue first, 4294967295 last
  unsigned int id;        // 0xdeadbeef until RequestQueue::push() gives one
};

}  // namespace priq
}  // namespace util
}  // namespace vimo

#endif
