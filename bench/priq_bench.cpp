// The queue beside what a user would take instead. Each contestant carries the
// same requests by the same random numbers; names read row/contestant.

#include <Poco/AutoPtr.h>
#include <Poco/Notification.h>
#include <Poco/PriorityNotificationQueue.h>
#include <benchmark/benchmark.h>
#include <glib.h>

#include <algorithm>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <queue>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "vimo_util/priq/PrioritizedQueue.h"

namespace {

using vimo::util::priq::PrioritizedQueue;
using vimo::util::priq::PriorRequest;

// A request that every contestant can carry, so that all touch equal memory.
struct Request : PriorRequest {
  Request() : PriorRequest(0, 0) {}
  Poco::AutoPtr<Poco::Notification> note;
};

class Vimo {
 public:
  static constexpr const char* name = "vimo_util";
  static constexpr bool linear = false;
  void push(Request* request) { queue.push(request); }
  Request* take() {
    unsigned int id;
    return static_cast<Request*>(queue.recvWaitAndDequeue(id));
  }

 private:
  PrioritizedQueue queue{0};
};

// A container under a mutex and a condition variable; equal to Vimo in what it
// promises but for a shown head.
template <class Store>
class Locked {
 public:
  static constexpr const char* name = Store::name;
  static constexpr bool linear = Store::linear;
  void push(Request* request) {
    std::lock_guard<std::mutex> lock(mutex);
    store.add(request);
    if (store.size() == 1) notEmpty.notify_all();
  }
  Request* take() {
    std::unique_lock<std::mutex> lock(mutex);
    notEmpty.wait(lock, [this] { return store.size() > 0; });
    return store.take();
  }

 private:
  Store store;
  std::mutex mutex;
  std::condition_variable notEmpty;
};

struct SortedDeque {
  static constexpr const char* name = "sorted deque";
  static constexpr bool linear = true;
  using Element = std::pair<unsigned int, Request*>;
  std::size_t size() const { return elements.size(); }
  void add(Request* request) {
    const auto less = [](unsigned int a, const Element& b) { return a < b.first; };
    elements.insert(std::upper_bound(elements.begin(), elements.end(), request->priority, less),
                    {request->priority, request});
  }
  Request* take() {
    Request* const head = elements.front().second;
    elements.pop_front();
    return head;
  }
  std::deque<Element> elements;
};

struct Multimap {
  static constexpr const char* name = "multimap";
  static constexpr bool linear = false;
  std::size_t size() const { return elements.size(); }
  void add(Request* request) { elements.emplace(request->priority, request); }
  Request* take() {
    Request* const head = elements.begin()->second;
    elements.erase(elements.begin());
    return head;
  }
  std::multimap<unsigned int, Request*> elements;
};

struct Heap {
  static constexpr const char* name = "priority_queue";
  static constexpr bool linear = false;
  struct Element {
    unsigned int priority;
    std::uint64_t arrival;
    Request* request;
    bool operator<(const Element& other) const {
      return priority != other.priority ? priority > other.priority : arrival > other.arrival;
    }
  };
  std::size_t size() const { return elements.size(); }
  void add(Request* request) { elements.push({request->priority, arrivals++, request}); }
  Request* take() {
    Request* const head = elements.top().request;
    elements.pop();
    return head;
  }
  std::priority_queue<Element> elements;
  std::uint64_t arrivals = 0;
};

class GLib {
 public:
  static constexpr const char* name = "GLib";
  static constexpr bool linear = true;
  void push(Request* request) { g_async_queue_push_sorted(queue.get(), request, compare, nullptr); }
  Request* take() { return static_cast<Request*>(g_async_queue_pop(queue.get())); }

 private:
  static int compare(gconstpointer a, gconstpointer b, gpointer) {
    const unsigned int left = static_cast<const Request*>(a)->priority;
    const unsigned int right = static_cast<const Request*>(b)->priority;
    return left < right ? -1 : left > right;
  }
  std::unique_ptr<GAsyncQueue, void (*)(GAsyncQueue*)> queue{g_async_queue_new(),
                                                             g_async_queue_unref};
};

class Poco_ {
 public:
  static constexpr const char* name = "POCO";
  static constexpr bool linear = false;
  void push(Request* request) {
    if (!request->note) request->note = new Note(request);
    queue.enqueueNotification(request->note, static_cast<int>(request->priority ^ 0x80000000));
  }
  Request* take() {
    const Poco::AutoPtr<Poco::Notification> note(queue.waitDequeueNotification());
    return static_cast<const Note*>(note.get())->request;
  }

 private:
  struct Note : Poco::Notification {
    explicit Note(Request* request) : request(request) {}
    Request* request;
  };
  Poco::PriorityNotificationQueue queue;
};

// What number follows the one that left. Steps grow with the queue, so that a
// new request may come to stand anywhere in it.
enum Pattern { random, levels, equal, descending };
const char* const patternNames[] = {"random", "8 levels", "all equal", "descending"};

class Numbers {
 public:
  Numbers(Pattern pattern, std::size_t waiting) : pattern(pattern), span(8 * waiting) {}
  unsigned int first(std::size_t i) {
    switch (pattern) {
      case random:
        return static_cast<unsigned int>(4 * i);
      case levels:
        return static_cast<unsigned int>(i % 8);
      case equal:
        return 7;
      default:
        return next(0);
    }
  }
  unsigned int next(unsigned int left) {
    switch (pattern) {
      case random:
        return left + static_cast<unsigned int>(generator() % span);
      case levels:
        return left + static_cast<unsigned int>(generator() % 8);
      case equal:
        return left;
      default:
        return --lowest;
    }
  }

 private:
  const Pattern pattern;
  const std::uint64_t span;
  unsigned int lowest = 0xFFFFFFFF;
  std::minstd_rand generator{1};
};

// Lives while a benchmark runs: in a process of one thread the system's mutex
// takes short cuts that no user of a queue between threads would see.
class Bystander {
 public:
  Bystander() { mutex.lock(); }
  ~Bystander() {
    mutex.unlock();
    thread.join();
  }

 private:
  std::mutex mutex;
  std::thread thread{[this] { std::lock_guard<std::mutex> lock(mutex); }};
};

template <class Queue>
void hold(benchmark::State& state, Pattern pattern, std::size_t waiting) {
  Bystander bystander;
  std::vector<Request> requests(waiting);
  std::vector<Request*> order(waiting);
  for (std::size_t i = 0; i < waiting; ++i) order[i] = &requests[i];
  std::shuffle(order.begin(), order.end(), std::minstd_rand(2));

  Numbers numbers(pattern, waiting);
  for (std::size_t i = 0; i < waiting; ++i) order[i]->priority = numbers.first(i);
  const auto earlier = [](Request* a, Request* b) { return a->priority < b->priority; };
  if (pattern != descending) std::stable_sort(order.begin(), order.end(), earlier);

  Queue queue;
  for (Request* request : order) queue.push(request);
  const auto step = [&] {
    Request* const request = queue.take();
    request->priority = numbers.next(request->priority);
    queue.push(request);
  };
  for (std::size_t i = 0; i < (Queue::linear ? 0 : waiting); ++i) step();
  for (auto _ : state) step();

  unsigned int last = 0;
  for (std::size_t i = 0; i < waiting; ++i) {
    const unsigned int priority = queue.take()->priority;
    if (priority < last) state.SkipWithError("out of order");
    last = priority;
  }
}

// `pairs` producers hand each 1000 requests to as many consumers.
template <class Queue>
void handOver(benchmark::State& state, std::size_t pairs) {
  constexpr std::size_t each = 1000;
  std::vector<Request> requests(pairs * each);
  std::minstd_rand generator(3);
  for (Request& request : requests) request.priority = static_cast<unsigned int>(generator());
  for (auto _ : state) {
    Queue queue;
    std::vector<std::thread> threads;
    for (std::size_t p = 0; p < pairs; ++p) {
      threads.emplace_back([&queue] {
        for (std::size_t i = 0; i < each; ++i) benchmark::DoNotOptimize(queue.take());
      });
      threads.emplace_back([&queue, &requests, p] {
        for (std::size_t i = 0; i < each; ++i) queue.push(&requests[p * each + i]);
      });
    }
    for (std::thread& thread : threads) thread.join();
  }
  state.SetItemsProcessed(state.iterations() * pairs * each);
}

template <class Queue>
void pingPong(benchmark::State& state) {
  Request ball;
  Request end;
  Queue there;
  Queue back;
  std::thread player([&] {
    for (Request* got; (got = there.take()) != &end;) back.push(got);
  });
  for (auto _ : state) {
    there.push(&ball);
    benchmark::DoNotOptimize(back.take());
  }
  there.push(&end);
  player.join();
}

template <class Queue>
void enter() {
  for (const Pattern pattern : {random, levels, equal, descending}) {
    for (std::size_t waiting = 1; waiting <= 1000000; waiting *= 10) {
      const std::string row = std::string(patternNames[pattern]) + ", " + std::to_string(waiting);
      const std::size_t steps =
          Queue::linear ? std::min<std::size_t>(40000000 / waiting, 500000) : 500000;
      benchmark::RegisterBenchmark((row + "/" + Queue::name).c_str(), hold<Queue>, pattern, waiting)
          ->Iterations(steps);
    }
  }
  for (const std::size_t pairs : {1, 4}) {
    const std::string row = std::to_string(pairs) + " to " + std::to_string(pairs);
    benchmark::RegisterBenchmark((row + "/" + Queue::name).c_str(), handOver<Queue>, pairs)
        ->Iterations(20)
        ->UseRealTime();
  }
  benchmark::RegisterBenchmark((std::string("ping-pong/") + Queue::name).c_str(), pingPong<Queue>)
      ->Iterations(5000)
      ->UseRealTime();
}

}  // namespace

int main(int argc, char** argv) {
  enter<Vimo>();
  enter<Locked<SortedDeque>>();
  enter<Locked<Multimap>>();
  enter<Locked<Heap>>();
  enter<GLib>();
  enter<Poco_>();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
}
