// Producers, consumers, lookers and cancelled waiters at the same time.

#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <deque>
#include <thread>

#include "support/faults.h"
#include "vimo_util/priq/PrioritizedQueue.h"

namespace {

using vimo::util::priq::PrioritizedQueue;
using vimo::util::priq::PriorRequest;

std::atomic<pthread_mutex_t*> mutexOfQueue;
std::atomic<int> broadcasts, withoutLock;

}  // namespace

// These stand before those of the system, in the library too.
extern "C" int pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex) {
  mutexOfQueue = mutex;
  return calls::callSystem("pthread_cond_wait", condition, mutex);
}
extern "C" int pthread_cond_broadcast(pthread_cond_t* condition) noexcept {
  ++broadcasts;
  if (mutexOfQueue && pthread_mutex_trylock(mutexOfQueue) != EBUSY) ++withoutLock;
  return calls::callSystem("pthread_cond_broadcast", condition);
}

namespace {

TEST(Threads, OnePushInAnEmptyQueueIsOneBroadcastUnderTheLock) {
  static PrioritizedQueue queue(0);
  PriorRequest request(0, 5);
  unsigned int id;
  mutexOfQueue = nullptr;
  std::thread consumer([&] { EXPECT_EQ(&request, queue.recvWaitAndDequeue(id)); });
  while (!mutexOfQueue) std::this_thread::yield();
  queue.push(&request);
  consumer.join();
  broadcasts = 0;

  // A push, its broadcasts, a tryWait, a pop, a recvWaitAndDequeue.
  for (const char step : std::string("+1-+1+0--+1?+0--+1?-+1+0-+0--+1=+1+0?==?+1=")) {
    if (step == '+') queue.push(&request);
    if (step == '?') queue.tryWait(id);
    if (step == '-') queue.pop();
    if (step == '=') queue.recvWaitAndDequeue(id);
    if (std::isdigit(step)) {
      EXPECT_EQ(step - '0', broadcasts.exchange(0));
    }
  }
  EXPECT_EQ(0, withoutLock);
}

struct Counted : PriorRequest {
  explicit Counted(unsigned int priority) : PriorRequest(0, priority) {}
  std::atomic<int> taken{0};
};

void consume(PrioritizedQueue& queue) {
  for (unsigned int id;;) {
    PriorRequest* const request = queue.recvWaitAndDequeue(id);
    if (request->priority == UINT_MAX) return;
    ++static_cast<Counted*>(request)->taken;
  }
}

TEST(Threads, EachRequestIsTakenOnceAlsoBesideCancelledWaiters) {
  PrioritizedQueue queue(0);
  std::deque<Counted> requests;
  for (unsigned int i = 0; i < 9000; ++i) requests.emplace_back(i * 7 % 100);
  const auto produce = [&](std::size_t first) {
    for (std::size_t i = first; i < requests.size(); i += 2) queue.push(&requests[i]);
  };
  std::thread one(produce, 0), other(produce, 1), consumer(consume, std::ref(queue));
#ifndef __SANITIZE_ADDRESS__  // which does not follow a thread that unwinds from a cancellation
  const auto look = [](PrioritizedQueue& queue) {
    for (unsigned int id;; pthread_testcancel()) queue.top(id), queue.tryWait(id);
  };
  for (int i = 0; i < 300; ++i) {
    std::thread waiter(i % 2 ? consume : +look, std::ref(queue));
    if (i % 4 < 2) std::this_thread::yield();
    pthread_cancel(waiter.native_handle());
    waiter.join();
  }
#endif
  one.join(), other.join();
  PriorRequest end(0, UINT_MAX);
  queue.push(&end);
  consumer.join();
  for (const Counted& request : requests) EXPECT_EQ(1, request.taken);
  unsigned int id;
  EXPECT_EQ(nullptr, queue.tryWait(id));
}

}  // namespace
