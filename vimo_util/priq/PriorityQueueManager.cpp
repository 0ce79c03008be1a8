// SPDX-License-Identifier: MIT
#include "vimo_util/priq/PriorityQueueManager.h"

#include <memory>

#include "vimo_util/priq/MutexGuard.h"

namespace vimo {
namespace util {
namespace priq {

namespace {

// A queue in the list of all queues. The list keeps them reachable when the manager and its map
// are gone, so that no leak checker reports them.
struct QueueNode {
  explicit QueueNode(int queueParam) : queue(queueParam), next(nullptr) {}

  PrioritizedQueue queue;
  QueueNode* next;
};

QueueNode* allQueues = nullptr;  // guarded by the manager's mutex

}  // namespace

PriorityQueueManager::PriorityQueueManager() { pthread_mutex_init(&mutex, nullptr); }

PriorityQueueManager& PriorityQueueManager::instance() {
  static PriorityQueueManager object;
  return object;
}

PrioritizedQueue* PriorityQueueManager::getNewConnection(int key) {
  return getNewConnection(key, 0);
}

PrioritizedQueue* PriorityQueueManager::getNewConnection(int key, int queueParam) {
  MutexGuard guard(mutex);
  const auto found = queues.lower_bound(key);
  if (found != queues.end() && found->first == key) return found->second;

  std::unique_ptr<QueueNode> made(new QueueNode(queueParam));
  queues.emplace_hint(found, key, &made->queue);
  made->next = allQueues;
  allQueues = made.release();
  return &allQueues->queue;
}

}  // namespace priq
}  // namespace util
}  // namespace vimo
