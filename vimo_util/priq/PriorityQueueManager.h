// SPDX-License-Identifier: MIT
#ifndef VIMO_UTIL_PRIQ_PRIORITYQUEUEMANAGER_H
#define VIMO_UTIL_PRIQ_PRIORITYQUEUEMANAGER_H

#include <pthread.h>

#include <map>

#include "vimo_util/frame/export.h"
#include "vimo_util/priq/PrioritizedQueue.h"

namespace vimo {
namespace util {
namespace priq {

/// The registry in which threads find a common queue by an integer key.
///
/// - Lifetime: there is one instance in the process. It is made at its first use and destroyed
///   at process exit; after that neither operation may be called. The queues are never deleted,
///   and stay usable to the very end.
/// - Threads: any thread may call any operation at any time.
/// - Errors: std::bad_alloc from getNewConnection() only. The key then has no queue, and a later
///   call tries again.
class VIMO_UTIL_API PriorityQueueManager {
 public:
  /// The one instance, also if several shared objects compile this function.
  static PriorityQueueManager& getInstance() {
    // Only a reference is local here, not the object: Clang does not merge the local objects of
    // plugins that are loaded with RTLD_LOCAL.
    static PriorityQueueManager& singleton = instance();
    return singleton;
  }

  /// Leaves the queues alive.
  virtual ~PriorityQueueManager() {}

  PriorityQueueManager(const PriorityQueueManager&) = delete;
  PriorityQueueManager& operator=(const PriorityQueueManager&) = delete;

  /// @name Finding a queue
  /// The queue of `key`, which may be any number. Makes it if the key has none. Never returns
  /// null; the manager owns the queue. `queueParam` has no effect.
  /// @{
  PrioritizedQueue* getNewConnection(int key);
  PrioritizedQueue* getNewConnection(int key, int queueParam);
  /// @}

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
