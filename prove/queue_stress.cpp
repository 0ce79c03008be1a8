// Producers, consumers, and waiters that are cancelled over and over, on one
// queue. Usage: queue_stress REQUESTS. Exits with 1 at the first fault seen, and
// hangs if a wake-up is lost.

#include <pthread.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "vimo_util/priq/RequestQueue.h"

namespace {

using vimo::util::priq::PriorRequest;
using vimo::util::priq::RequestQueue;

constexpr int key = 7;
constexpr unsigned int producers = 2, consumers = 3, levels = 4;
constexpr unsigned int last = 4294967295;  // the priority that ends a consumer

// A request stands here at the number that is its id. `clientValue` counts its
// services: no lock guards it but the queue's, which hands it from owner to owner.
std::vector<PriorRequest> requests;

void require(bool kept, const char* promise) {
  if (kept) return;
  std::fprintf(stderr, "queue_stress: broken: %s\n", promise);
  std::_Exit(1);
}

// Looks at the heads until none is left and the consumers sleep, or soon will.
void awaitEmpty(RequestQueue& queue) {
  unsigned int id;
  while (queue.tryWait(id)) std::this_thread::yield();
}

void produce(unsigned int producer) {
  RequestQueue queue(key, 0);
  std::minstd_rand random(producer + 1);
  for (unsigned int id = producer; id < requests.size() - consumers; id += producers) {
    requests[id].priority = static_cast<unsigned int>(random() % levels);
    queue.push(id, &requests[id]);
    if (random() % 16 == 0) awaitEmpty(queue);
  }
}

// What one consumer, or several by turns, have been served.
class Ledger {
 public:
  // Whether there is more to serve.
  bool enter(PriorRequest* request, unsigned int id) {
    require(request == &requests[id], "a request comes with its own id");
    ++request->clientValue;
    if (request->priority == last) return false;
    unsigned int& next = nexts[id % producers][request->priority];
    require(id >= next, "equal priorities of one producer leave in order of arrival");
    next = id + 1;
    return true;
  }

 private:
  std::array<std::array<unsigned int, levels>, producers> nexts{};
};

void* take(void*) {
  RequestQueue queue(key, 0);
  Ledger ledger;
  for (;;) {
    unsigned int id;
    PriorRequest* const request = queue.recvWaitAndDequeue(id);
    if (!ledger.enter(request, id)) return nullptr;
  }
}

void* peek(void*) {
  static std::mutex turn;
  static Ledger ledger;  // guarded by `turn`
  RequestQueue queue(key, 0);
  for (;;) {
    unsigned int id, again;
    queue.top(id);  // waits out of turn, for what another may then serve
    const std::lock_guard<std::mutex> guard(turn);
    PriorRequest* const head = queue.tryWait(id);
    if (!head) continue;
    for (unsigned int looks = id % 4; looks > 0; --looks) {
      const bool same = (looks % 2 ? queue.tryWait(again) : queue.top(again)) == head;
      require(same && again == id, "a shown head stays");
    }
    queue.pop();
    if (!ledger.enter(head, id)) return nullptr;
  }
}

// Serves `count` requests by consumers of one kind, beside which others of their
// kind come and are cancelled, and returns how many were.
unsigned int serve(std::size_t count, void* (*consume)(void*)) {
  RequestQueue queue(key, 0);
  requests.assign(count + consumers, PriorRequest(0, last));
  std::vector<std::thread> lasting, passing;
  for (unsigned int i = 0; i < consumers; ++i) lasting.emplace_back(consume, nullptr);
  for (unsigned int i = 0; i < producers; ++i) passing.emplace_back(produce, i);

  std::atomic<bool> producing(true);
  unsigned int cancelled = 0;
  std::thread canceller([&] {
    std::minstd_rand random(7);
    while (producing) {
      pthread_t waiter;
      require(pthread_create(&waiter, nullptr, consume, nullptr) == 0, "a thread starts");
      for (auto pause = random() % 4; pause > 0; --pause) std::this_thread::yield();
      pthread_cancel(waiter);
      pthread_join(waiter, nullptr);
      ++cancelled;
    }
  });
  for (std::thread& thread : passing) thread.join();
  producing = false;
  canceller.join();
  // With no newcomer left to serve what a sleeper sleeps through: one request
  // alone must wake somebody, and then two at once must wake two.
  awaitEmpty(queue);
  for (std::size_t id = count; id < requests.size(); ++id) {
    queue.push(static_cast<unsigned int>(id), &requests[id]);
    if (id == count) awaitEmpty(queue);
  }
  for (std::thread& thread : lasting) thread.join();

  unsigned int id;
  require(queue.tryWait(id) == nullptr, "nothing is left");
  for (const PriorRequest& request : requests) {
    require(request.clientValue == 1, "each request is served once");
  }
  return cancelled;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  const std::size_t count = std::stoul(argv[1]);
  const unsigned int cancelled = serve(count, take) + serve(count, peek);
  std::printf("stress requests: %zu\nstress cancellations: %u\n", 2 * count, cancelled);
}
