// SPDX-License-Identifier: MIT
#ifndef VIMO_UTIL_PRIQ_REQUESTQUEUE_H
#define VIMO_UTIL_PRIQ_REQUESTQUEUE_H

#include "vimo_util/frame/export.h"
#include "vimo_util/priq/PriorRequest.h"
#include "vimo_util/priq/PrioritizedQueue.h"

namespace vimo {
namespace util {
namespace priq {

/// A handle on the queue of a key. All handles of one key share one queue.
///
///     RequestQueue(7, 0).push(41, &request);        // any thread
///     unsigned int id;
///     PriorRequest* next = RequestQueue(7, 0).recvWaitAndDequeue(id);  // any other
///
/// - Lifetime: the queue, with the requests that wait in it, outlives every handle. A handle may
///   be copied. New handles may be made until the manager is destroyed at process exit. Existing
///   ones work until the process ends.
/// - Threads: any thread may call any operation at any time, except an assignment.
/// - Errors: std::bad_alloc from the constructor and from push(). The id of the request is then
///   set, but it is not queued.
class VIMO_UTIL_API RequestQueue {
 public:
  /// Finds the queue of `key`, or makes it. `queueParam` has no effect.
  RequestQueue(int key, int queueParam);
  virtual ~RequestQueue() {}

  /// Sets the id of `request` and queues it. Consumers are told the id with it. The request must
  /// not be in any queue.
  void push(unsigned int id, PriorRequest* request);

  /// @name As in PrioritizedQueue
  /// They act on the queue of the key.
  /// @{
  PriorRequest* tryWait(unsigned int& id);
  PriorRequest* top(unsigned int& id);
  void pop();
  PriorRequest* recvWaitAndDequeue(unsigned int& id);
  /// @}

 private:
  int key;
  int queueParam;
  PrioritizedQueue* queue;
};

}  // namespace priq
}  // namespace util
}  // namespace vimo

#endif
