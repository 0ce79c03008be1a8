#ifndef VIMO_UTIL_PRIQ_PRIORITYQUEUEMANAGER_H
#define VIMO_UTIL_PRIQ_PRIORITYQUEUEMANAGER_H

#include <pthread.h>

#include <map>

#include "vimo_util/frame/export.h"
#include "vimo_util/priq/PrioritizedQueue.h"

namespace vimo {
namespace util {
namespace priq {

// The registry through which threads find a common queue by an integer key.
//
// Lifetime   one instance in the process, made at its first use and destroyed
//            at process exit, after which neither operation may be called. The
//            queues are never deleted and stay usable to the very end.
// Threads    every operation is safe from any thread.
// Errors     std::bad_alloc from getNewConnection() only; the key then has no
//            queue yet, and a later call tries again.
class VIMO_UTIL_API PriorityQueueManager {
 public:
  // The one instance, also when several shared objects compile this function.
  static PriorityQueueManager& getInstance() {
    // Only a reference is local here: the object itself must not be, as not
    // every compiler merges such objects over plugins of local scope.
    static PriorityQueueManager& singleton = instance();
    return singleton;
  }

  // Leaves the queues alive.
  virtual ~PriorityQueueManager() {}

  // The instance cannot be copied.
  PriorityQueueManager(const PriorityQueueManager&) = delete;
  PriorityQueueManager& operator=(const PriorityQueueManager&) = delete;

  // The queue of `key`, which may be any number; makes it if the key has none.
  // Never null, and owned by the manager. `queueParam` has no effect.
  PrioritizedQueue* getNewConnection(int key);
  PrioritizedQueue* getNewConnection(int key, int queueParam);

 private:
  PriorityQueueManager();
  static PriorityQueueManager& instance();

  std::map<int, PrioritizedQueue*> queues;
  pthread_mutex_t mutex;  // guards `queues`
};

}  // namespace priq
}  // namespace util
}  // namespace vimo

#endif
