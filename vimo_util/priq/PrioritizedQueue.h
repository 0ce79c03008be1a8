#ifndef VIMO_UTIL_PRIQ_PRIORITIZEDQUEUE_H
#define VIMO_UTIL_PRIQ_PRIORITIZEDQUEUE_H

#include <pthread.h>

#include <memory>

#include "vimo_util/frame/export.h"
#include "vimo_util/priq/PriorRequest.h"

namespace vimo {
namespace util {
namespace priq {

class RequestSequence;

// A queue that hands requests from producer threads to consumer threads.
//
// Order      smallest `priority` first, compared as it was at push(); equal
//            priorities in order of arrival. A head that tryWait() or top() has
//            shown stays the head until a removal, whatever is pushed.
// Threads    every operation is safe from any thread, one at a time on a queue.
//            A wait is a point of deferred cancellation, which leaves the queue
//            unchanged.
// Ownership  the queue borrows each request from push() until a removal.
// Errors     std::bad_alloc from the constructor and from push() only; it
//            leaves the queue as it was.
// Cost       push() makes logarithmically many comparisons and moves at most some
//            64 waiting requests, and now and then an index of one entry for
//            that many; a look and a removal take constant time.
//
// A consumer calls recvWaitAndDequeue(), or looks with top() or tryWait(),
// works, and calls pop(). Nothing ties a pop() to a look, so several consumers
// of one queue use recvWaitAndDequeue() or take turns at looking and popping.
class VIMO_UTIL_API PrioritizedQueue {
 public:
  // `queueParam` has no effect.
  explicit PrioritizedQueue(int queueParam);

  // Leaves the waiting requests alive, with the client. No thread may be inside
  // an operation.
  virtual ~PrioritizedQueue() {}

  // A queue cannot be copied.
  PrioritizedQueue(const PrioritizedQueue&) = delete;
  PrioritizedQueue& operator=(const PrioritizedQueue&) = delete;

  // Adds `request` behind all requests of equal or smaller number, but never
  // ahead of a head that a consumer has been shown. Wakes all waiting consumers
  // if the queue was empty. `request` must not be null and must live until a
  // removal.
  void push(PriorRequest* request);

  // Shows the head: returns it, stores its id in `id` and leaves it in place.
  // Returns null at once, `id` untouched, if the queue is empty.
  PriorRequest* tryWait(unsigned int& id);

  // As tryWait(), but waits for a request, without limit. Never null.
  PriorRequest* top(unsigned int& id);

  // Removes the head, shown or not. The queue must not be empty.
  void pop();

  // Waits for a request, without limit, removes the head and returns it, with
  // its id in `id`. Never null.
  PriorRequest* recvWaitAndDequeue(unsigned int& id);

 private:
  // The library's own type and deleter, so that its form may change under
  // compiled clients. `mutex` guards it and `headShown`.
  std::unique_ptr<RequestSequence, void (*)(RequestSequence*)> requests;
  pthread_mutex_t mutex;
  pthread_cond_t notEmpty;  // broadcast by the push() that ends emptiness
  bool headShown;           // never set while the queue is empty
};

}  // namespace priq
}  // namespace util
}  // namespace vimo

#endif
