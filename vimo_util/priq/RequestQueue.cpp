// SPDX-License-Identifier: MIT
#include "vimo_util/priq/RequestQueue.h"

#include "vimo_util/priq/PriorityQueueManager.h"

namespace vimo {
namespace util {
namespace priq {

RequestQueue::RequestQueue(int key, int queueParam)
    : key(key),
      queueParam(queueParam),
      queue(PriorityQueueManager::getInstance().getNewConnection(this->key, this->queueParam)) {}

void RequestQueue::push(unsigned int id, PriorRequest* request) {
  request->id = id;
  queue->push(request);
}

PriorRequest* RequestQueue::tryWait(unsigned int& id) { return queue->tryWait(id); }

PriorRequest* RequestQueue::top(unsigned int& id) { return queue->top(id); }

void RequestQueue::pop() { queue->pop(); }

PriorRequest* RequestQueue::recvWaitAndDequeue(unsigned int& id) {
  return queue->recvWaitAndDequeue(id);
}

}  // namespace priq
}  // namespace util
}  // namespace vimo
