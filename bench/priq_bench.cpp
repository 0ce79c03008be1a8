// The queue beside what a user would take instead.
// Names read row/contestant/waiting.

#include <Poco/AutoPtr.h>
#include <Poco/Notification.h>
#include <Poco/PriorityNotificationQueue.h>
#include <benchmark/benchmark.h>
#include <glib.h>
#include <unistd.h>

#include <algorithm>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <queue>
#include <random>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "vimo_util/priq/PrioritizedQueue.h"

namespace {

using vimo::util::priq::PrioritizedQueue;
using vimo::util::priq::PriorRequest;

// What every contestant can carry, so that all touch equal memory.
struct Request : PriorRequest, Poco::Notification {
  Request() : PriorRequest(0, 0) {}
};

struct Vimo {
  void push(Request* request) { queue.push(request); }
  Request* take() {
    unsigned int id;
    return static_cast<Request*>(queue.recvWaitAndDequeue(id));
  }
  PrioritizedQueue queue{0};
};

// A container as a queue between threads.
template <class Container>
struct Locked {
  void push(Request* request) {
    std::lock_guard<std::mutex> lock(mutex);
    waiting.push(request);
    if (waiting.size() == 1) notEmpty.notify_all();
  }
  Request* take() {
    std::unique_lock<std::mutex> lock(mutex);
    notEmpty.wait(lock, [this] { return !waiting.empty(); });
    return waiting.take();
  }
  std::mutex mutex;
  std::condition_variable notEmpty;
  Container waiting;
};

struct Multimap : std::multimap<unsigned int, Request*> {
  void push(Request* request) { emplace(request->priority, request); }
  Request* take() {
    Request* const head = begin()->second;
    erase(begin());
    return head;
  }
};

// The second number tells the arrival, and keeps equal priorities in order.
using Entry = std::tuple<unsigned int, std::uint64_t, Request*>;

struct Heap : std::priority_queue<Entry, std::vector<Entry>, std::greater<Entry>> {
  void push(Request* request) { emplace(request->priority, arrivals++, request); }
  Request* take() {
    Request* const head = std::get<2>(top());
    pop();
    return head;
  }
  std::uint64_t arrivals = 0;
};

struct GLib {
  ~GLib() { g_async_queue_unref(queue); }
  void push(Request* request) { g_async_queue_push_sorted(queue, request, compare, nullptr); }
  Request* take() { return static_cast<Request*>(g_async_queue_pop(queue)); }
  static int compare(gconstpointer a, gconstpointer b, gpointer) {
    const unsigned int left = static_cast<const Request*>(a)->priority;
    const unsigned int right = static_cast<const Request*>(b)->priority;
    return left < right ? -1 : left > right;
  }
  GAsyncQueue* queue = g_async_queue_new();
};

struct POCO {
  void push(Request* request) {
    queue.enqueueNotification({request, true}, static_cast<int>(request->priority ^ 0x80000000));
  }
  Request* take() {
    Poco::AutoPtr<Poco::Notification> head(queue.waitDequeueNotification());
    return static_cast<Request*>(head.get());
  }
  Poco::PriorityNotificationQueue queue;
};

// The request that leaves comes back with a number that is `distance` * `waiting` greater on
// average: it lands anywhere among the others, or behind them where all are equal.
template <class Queue, unsigned int distance>
void takeAndPush(benchmark::State& state) {
  const auto waiting = static_cast<unsigned int>(state.range(0));
  std::minstd_rand random(1);
  std::vector<unsigned int> steps(1 << 16);
  for (unsigned int& step : steps) step = random() % (2 * distance * waiting + 1);
  std::vector<Request> requests(waiting);
  std::vector<Request*> order;
  for (Request& request : requests) order.push_back(&request);
  std::shuffle(order.begin(), order.end(), random);

  Queue queue;
  for (unsigned int i = 0; i < waiting; ++i) {
    order[i]->priority = distance * i;
    queue.push(order[i]);
  }
  std::size_t turn = 0;
  const auto takeAndPushOne = [&] {
    Request* const request = queue.take();
    request->priority += steps[turn++ % steps.size()];
    queue.push(request);
  };
  for (unsigned int i = 0; i < waiting; ++i) takeAndPushOne();
  for (auto _ : state) takeAndPushOne();
}

template <class Queue, bool descending>
void push(benchmark::State& state) {
  std::minstd_rand random(1);
  std::vector<Request> requests(state.range(0));
  unsigned int last = 0xFFFFFFFF;
  for (Request& request : requests) request.priority = descending ? last-- : random();
  Queue queue;
  auto next = requests.begin();
  for (auto _ : state) queue.push(&*next++);
}

template <class Queue>
void enter(const std::string& contestant, int most) {
  const auto row = [&](const std::string& name, void (*work)(benchmark::State&)) {
    return benchmark::RegisterBenchmark((name + ", waiting/" + contestant).c_str(), work);
  };
  for (int waiting = 1; waiting <= std::min(most, 1000000); waiting *= 100) {
    row("take and push random", takeAndPush<Queue, 4>)->Arg(waiting)->Iterations(200000);
    row("take and push equal", takeAndPush<Queue, 0>)->Arg(waiting)->Iterations(200000);
  }
  for (int count : {1000000, 4000000, 20000000}) {
    if (most < 20000000) break;
    row("push descending", push<Queue, true>)->Arg(count)->Iterations(count)->Repetitions(1);
    row("push random", push<Queue, false>)->Arg(count)->Iterations(count)->Repetitions(1);
  }
}

}  // namespace

int main(int argc, char** argv) {
  // A second thread: in a process of one the system's mutex takes short cuts.
  std::thread([] { pause(); }).detach();
  enter<Vimo>("vimo_util", 20000000);
  enter<Locked<Multimap>>("multimap", 20000000);
  enter<Locked<Heap>>("priority_queue", 20000000);
  enter<POCO>("POCO", 1000000);
  enter<GLib>("GLib", 10000);  // it walks a sorted list
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
