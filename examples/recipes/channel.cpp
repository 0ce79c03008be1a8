// SPDX-License-Identifier: MIT
// A channel: a queue that owns its requests, has a capacity and a time-out, and can be closed.
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <initializer_list>
#include <memory>
#include <mutex>
#include <thread>

#include "vimo_util/priq/PrioritizedQueue.h"

using vimo::util::priq::PriorRequest;

class Channel {
 public:
  explicit Channel(int capacity) : capacity(capacity) {}
  ~Channel() {
    while (count != 0) take(0);
  }
  // Waits for room and takes `request` over. False, and it stays the caller's, if closed.
  bool push(std::unique_ptr<PriorRequest>&& request) {
    std::unique_lock<std::mutex> lock(mutex);
    changed.wait(lock, [this] { return closed || count < capacity; });
    if (closed) return false;
    queue.push(request.get());
    request.release();
    ++count;
    changed.notify_all();
    return true;
  }
  // The most urgent request. Null if none came within `ms`, or if closed and empty.
  std::unique_ptr<PriorRequest> take(int ms) {
    std::unique_lock<std::mutex> lock(mutex);
    changed.wait_for(lock, std::chrono::milliseconds(ms), [this] { return closed || count != 0; });
    if (count == 0) return nullptr;
    --count;
    changed.notify_all();
    unsigned int id;
    return std::unique_ptr<PriorRequest>(queue.recvWaitAndDequeue(id));  // does not wait
  }
  // Refuses pushes from now on. What waits can still be taken.
  void close() {
    std::lock_guard<std::mutex> lock(mutex);
    closed = true;
    changed.notify_all();
  }
  int size() const { return count; }

 private:
  const int capacity;
  vimo::util::priq::PrioritizedQueue queue{0};
  std::mutex mutex;  // guards every change of what follows
  std::condition_variable changed;
  std::atomic<int> count{0};
  bool closed = false;
};

int main() {
  Channel channel(2);
  std::printf("empty: %s\n", channel.take(10) ? "a request" : "time-out");
  std::thread producer([&] {
    for (unsigned int p : {30, 10, 40, 50}) channel.push(std::make_unique<PriorRequest>(0, p));
    channel.close();  // only here, so that no push above is refused
  });
  while (channel.size() != 2) std::this_thread::yield();  // full: the producer waits
  while (const auto next = channel.take(60000)) std::printf("priority %u\n", next->priority);
  producer.join();
}
