#ifndef VIMO_UTIL_PRIQ_REQUESTQUEUE_H
#define VIMO_UTIL_PRIQ_REQUESTQUEUE_H

#include "vimo_util/frame/export.h"
#include "vimo_util/priq/PriorRequest.h"
#include "vimo_util/priq/PrioritizedQueue.h"

namespace vimo {
namespace util {
namespace priq {

// A handle on the queue of a key: all handles of one key share one queue.
//
// Lifetime   the queue outlives every handle, with the requests that wait in
//            it. A handle may be copied, made until the manager is destroyed at
//            process exit, and used to the very end of the process.
// Threads    every operation is safe from any thread; an assignment is not.
// Errors     std::bad_alloc from the constructor and from push().
class VIMO_UTIL_API RequestQueue {
 public:
  // Finds the queue of `key`, or makes it. `queueParam` has no effect.
  RequestQueue(int key, int queueParam);
  virtual ~RequestQueue() {}

  // Gives `request` the number `id`, which consumers are told with it, and
  // queues it. It must not be in any queue yet.
  void push(unsigned int id, PriorRequest* request);

  // As those of PrioritizedQueue, on the queue of the key.
  PriorRequest* tryWait(unsigned int& id);
  PriorRequest* top(unsigned int& id);
  void pop();
  PriorRequest* recvWaitAndDequeue(unsigned int& id);

 private:
  int key;
  int queueParam;
  PrioritizedQueue* queue;
};

}  // namespace priq
}  // namespace util
}  // namespace vimo

#endif
