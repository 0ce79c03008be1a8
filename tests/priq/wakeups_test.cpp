// When a queue wakes its consumers. The calls of the threads library are
// replaced for this program, which therefore has one thread only.

#include <gtest/gtest.h>
#include <pthread.h>

#include <string>

#include "vimo_util/priq/PrioritizedQueue.h"
#include "vimo_util/priq/PriorityQueueManager.h"

namespace {

using vimo::util::priq::PrioritizedQueue;
using vimo::util::priq::PriorityQueueManager;
using vimo::util::priq::PriorRequest;

int locksHeld, locksTaken;
std::string wakeups;  // a letter each: B under a lock, b without one, s a signal
int waits;            // that ended, the third of them by a push
int destroyed;
PrioritizedQueue* awaited;
PriorRequest request(0, 5);

}  // namespace

extern "C" {
int pthread_mutex_lock(pthread_mutex_t*) noexcept { return ++locksTaken, ++locksHeld, 0; }
int pthread_mutex_unlock(pthread_mutex_t*) noexcept { return --locksHeld, 0; }
int pthread_cond_broadcast(pthread_cond_t*) noexcept {
  return wakeups += locksHeld > 0 ? 'B' : 'b', 0;
}
int pthread_cond_signal(pthread_cond_t*) noexcept { return wakeups += 's', 0; }
int pthread_cond_wait(pthread_cond_t*, pthread_mutex_t*) {
  if (++waits == 3) awaited->push(&request);
  return 0;
}
int pthread_mutex_destroy(pthread_mutex_t*) noexcept { return ++destroyed, 0; }
int pthread_cond_destroy(pthread_cond_t*) noexcept { return ++destroyed, 0; }
}

namespace {

TEST(Wakeups, AWaitLooksAgainAndADestructorLeavesTheLocksAlone) {
  for (const bool take : {false, true}) {
    PrioritizedQueue queue(0);
    awaited = &queue;
    waits = destroyed = 0;
    unsigned int id;
    EXPECT_EQ(&request, take ? queue.recvWaitAndDequeue(id) : queue.top(id)) << take;
    EXPECT_EQ(3, waits) << take;
  }
  EXPECT_EQ(0, destroyed);
}

TEST(Wakeups, OneBroadcastUnderTheLockWhenAPushEndsEmptiness) {
  // + push, ? tryWait, ^ top, - pop, = recvWaitAndDequeue, * a connection to another
  const struct {
    const char* steps;
    const char* wakeups;
  } cases[] = {
      {"+", "B"},      {"++", "B"},      {"+?+", "B"},      {"+^+", "B"},
      {"+-+", "BB"},   {"+=+", "BB"},    {"++--+", "BB"},   {"++-+", "B"},
      {"+?-?+", "BB"}, {"++?=+=+", "B"}, {"+++===+", "BB"}, {"?*", ""},
  };
  for (const auto& c : cases) {
    PrioritizedQueue queue(0);
    wakeups.clear();
    for (const char* step = c.steps; *step; ++step) {
      unsigned int id;
      locksTaken = 0;
      switch (*step) {
        // clang-format off
        case '+': queue.push(&request); break;
        case '?': queue.tryWait(id); break;
        case '^': queue.top(id); break;
        case '-': queue.pop(); break;
        case '*': PriorityQueueManager::getInstance().getNewConnection(1); break;
        default: queue.recvWaitAndDequeue(id);
          // clang-format on
      }
      EXPECT_TRUE(locksTaken == 1 && locksHeld == 0) << c.steps;
    }
    EXPECT_EQ(c.wakeups, wakeups) << c.steps;
  }
}

}  // namespace
