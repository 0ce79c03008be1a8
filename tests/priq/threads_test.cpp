// Producers, consumers, lookers and cancelled waiters at the same time.

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <deque>
#include <thread>
#include <vector>

#include "vimo_util/priq/PrioritizedQueue.h"

namespace {

using vimo::util::priq::PrioritizedQueue;
using vimo::util::priq::PriorRequest;

std::atomic<pthread_mutex_t*> mutexOfQueue;
std::atomic<int> broadcasts, broadcastsUnderLock;

}  // namespace

// These stand before those of the system, in the library too.
extern "C" int pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex) {
  mutexOfQueue = mutex;
  return reinterpret_cast<decltype(&pthread_cond_wait)>(dlsym(RTLD_NEXT, "pthread_cond_wait"))(
      condition, mutex);
}
extern "C" int pthread_cond_broadcast(pthread_cond_t* condition) noexcept {
  ++broadcasts;
  if (mutexOfQueue && pthread_mutex_trylock(mutexOfQueue) == EBUSY) ++broadcastsUnderLock;
  return reinterpret_cast<decltype(&pthread_cond_broadcast)>(
      dlsym(RTLD_NEXT, "pthread_cond_broadcast"))(condition);
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

  const struct {
    const char* steps;  // + push, ? tryWait, - pop, = recvWaitAndDequeue
    int broadcasts;
  } cases[] = {{"+-", 1},    {"++--", 1},   {"+?+--", 1},   {"+-+-", 2},
               {"+?-+-", 2}, {"++-+--", 1}, {"+=++?==", 2}, {"?+=", 1}};
  for (const auto& c : cases) {
    broadcasts = broadcastsUnderLock = 0;
    for (const char* step = c.steps; *step; ++step) {
      if (*step == '+') queue.push(&request);
      if (*step == '?') queue.tryWait(id);
      if (*step == '-') queue.pop();
      if (*step == '=') queue.recvWaitAndDequeue(id);
    }
    EXPECT_EQ(c.broadcasts, broadcasts) << c.steps;
    EXPECT_EQ(c.broadcasts, broadcastsUnderLock) << c.steps;
  }
}

struct Counted : PriorRequest {
  explicit Counted(unsigned int priority) : PriorRequest(0, priority) {}
  std::atomic<int> taken{0};
};

void* consume(void* queue) {
  for (;;) {
    unsigned int id;
    PriorRequest* const request = static_cast<PrioritizedQueue*>(queue)->recvWaitAndDequeue(id);
    if (request->priority == UINT_MAX) return nullptr;
    ++static_cast<Counted*>(request)->taken;
  }
}

TEST(Threads, EachRequestIsTakenOnceAlsoBesideCancelledWaiters) {
  constexpr unsigned int producers = 3, each = 3000;
  PrioritizedQueue queue(0);
  std::deque<Counted> requests;
  for (unsigned int i = 0; i < producers * each; ++i) requests.emplace_back(i * 7 % 100);
  std::vector<std::thread> threads;
  for (unsigned int p = 0; p < producers; ++p) {
    threads.emplace_back([&, p] {
      for (unsigned int i = 0; i < each; ++i) queue.push(&requests[p * each + i]);
    });
  }
  std::thread consumer(consume, &queue);
#ifndef __SANITIZE_ADDRESS__  // which does not follow a thread that unwinds from a cancellation
  const auto look = [](void* queue) -> void* {
    for (unsigned int id;; pthread_testcancel()) {
      static_cast<PrioritizedQueue*>(queue)->top(id);
      static_cast<PrioritizedQueue*>(queue)->tryWait(id);
    }
  };
  for (int i = 0; i < 300; ++i) {
    pthread_t waiter;
    pthread_create(&waiter, nullptr, i % 2 ? consume : +look, &queue);
    if (i % 4 < 2) std::this_thread::yield();
    pthread_cancel(waiter);
    void* end;
    pthread_join(waiter, &end);
    EXPECT_EQ(PTHREAD_CANCELED, end);
  }
#endif
  for (std::thread& thread : threads) thread.join();
  PriorRequest end(0, UINT_MAX);
  queue.push(&end);
  consumer.join();
  for (const Counted& request : requests) EXPECT_EQ(1, request.taken);
  unsigned int id;
  EXPECT_EQ(nullptr, queue.tryWait(id));
}

}  // namespace
