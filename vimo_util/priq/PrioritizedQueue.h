// SPDX-License-Identifier: MIT
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

/// A queue that hands requests from producer threads to consumer threads.
///
///     queue.push(&request);                      // a producer
///     unsigned int id;
///     PriorRequest* next = queue.recvWaitAndDequeue(id);  // a consumer
///
/// - Order: smallest `priority` first, as it was at push(). Equal priorities leave in order of
///   arrival. A head that tryWait() or top() has shown stays the head until a removal.
/// - Threads: any thread may call any operation at any time. A wait is a cancellation point. A
///   cancelled wait leaves the queue unchanged.
/// - Ownership: the queue borrows each request from push() until a removal.
/// - Errors: std::bad_alloc from the constructor, and from push(), which then leaves the queue as
///   it was.
/// - Cost: push() searches a tree, in logarithmic time. Looks and removals take constant time; one
///   removal in some 64 also frees a node or two.
///
/// A consumer calls recvWaitAndDequeue(), or it looks with top() or tryWait(), works, and calls
/// pop(). Nothing ties a pop() to a look, so several consumers of one queue use
/// recvWaitAndDequeue(), or a lock of their own around look and pop().
class VIMO_UTIL_API PrioritizedQueue {
 public:
  /// `queueParam` has no effect.
  explicit PrioritizedQueue(int queueParam);

  /// Leaves the waiting requests alive. No thread may be inside an operation.
  virtual ~PrioritizedQueue() {}

  PrioritizedQueue(const PrioritizedQueue&) = delete;
  PrioritizedQueue& operator=(const PrioritizedQueue&) = delete;

  /// Adds `request` behind all requests of equal or smaller number, but never ahead of a head
  /// that was shown. Wakes all waiting consumers if the queue was empty. `request` must not be
  /// null, and must live until a removal.
  void push(PriorRequest* request);

  /// Shows the head: returns it, stores its id in `id` and leaves it in place. Returns null at
  /// once, without a change of `id`, if the queue is empty.
  PriorRequest* tryWait(unsigned int& id);

  /// As tryWait(), but waits for a request, without a limit of time. Never returns null.
  PriorRequest* top(unsigned int& id);

  /// Removes the head, shown or not. The queue must not be empty.
  void pop();

  /// Waits for a request, without a limit of time, removes the head and returns it, with its id
  /// in `id`. Never returns null.
  PriorRequest* recvWaitAndDequeue(unsigned int& id);

 private:
  // Clients do not see this type, so it may change without recompiling them.
  std::unique_ptr<RequestSequence, void (*)(RequestSequence*)> requests;
  pthread_mutex_t mutex;    // guards `requests` and `headShown`
  pthread_cond_t notEmpty;  // broadcast by a push() to the empty queue
  bool headShown;           // never true while the queue is empty
};

}  // namespace priq
}  // namespace util
}  // namespace vimo

#endif
