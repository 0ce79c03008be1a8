// SPDX-License-Identifier: MIT
#include "vimo_util/priq/PrioritizedQueue.h"

#include "vimo_util/priq/MutexGuard.h"
#include "vimo_util/priq/RequestSequence.h"

namespace vimo {
namespace util {
namespace priq {

namespace {

void deleteSequence(RequestSequence* sequence) { delete sequence; }

PriorRequest* headOf(const RequestSequence& requests, unsigned int& id) {
  PriorRequest* const head = requests.front().request;
  id = head->id;
  return head;
}

}  // namespace

PrioritizedQueue::PrioritizedQueue(int)
    : requests(new RequestSequence, deleteSequence), headShown(false) {
  pthread_mutex_init(&mutex, nullptr);
  pthread_cond_init(&notEmpty, nullptr);
}

void PrioritizedQueue::push(PriorRequest* request) {
  MutexGuard guard(mutex);
  requests->insert({request->priority, request}, headShown);
  // Consumers wait only while the queue is empty, so no other push need wake any.
  if (requests->size() == 1) pthread_cond_broadcast(&notEmpty);
}

PriorRequest* PrioritizedQueue::tryWait(unsigned int& id) {
  MutexGuard guard(mutex);
  if (requests->empty()) return nullptr;
  headShown = true;
  return headOf(*requests, id);
}

PriorRequest* PrioritizedQueue::top(unsigned int& id) {
  MutexGuard guard(mutex);
  while (requests->empty()) pthread_cond_wait(&notEmpty, &mutex);
  headShown = true;
  return headOf(*requests, id);
}

void PrioritizedQueue::pop() {
  MutexGuard guard(mutex);
  requests->popFront();
  headShown = false;
}

PriorRequest* PrioritizedQueue::recvWaitAndDequeue(unsigned int& id) {
  MutexGuard guard(mutex);
  while (requests->empty()) pthread_cond_wait(&notEmpty, &mutex);
  PriorRequest* const head = headOf(*requests, id);
  requests->popFront();
  headShown = false;
  return head;
}

}  // namespace priq
}  // namespace util
}  // namespace vimo
