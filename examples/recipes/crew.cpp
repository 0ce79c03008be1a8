// SPDX-License-Identifier: MIT
// A crew of workers that ends on SIGTERM: it first does what waits, or it drops that.
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <climits>
#include <cstdio>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include "vimo_util/priq/RequestQueue.h"

using vimo::util::priq::PriorRequest;
using vimo::util::priq::RequestQueue;

constexpr unsigned int endOfWork = 0;  // an id that no job has

void give(RequestQueue& queue, unsigned int id, unsigned int priority) {
  auto request = std::make_unique<PriorRequest>(0, priority);
  queue.push(id, request.get());  // if this throws, the request is still ours
  request.release();              // now it belongs to whoever takes it
}

void work(RequestQueue& queue, std::atomic<int>& done) {
  for (;;) {
    unsigned int id;
    const std::unique_ptr<PriorRequest> request(queue.recvWaitAndDequeue(id));
    if (id == endOfWork) return;
    usleep(1000);  // stands for the work
    ++done;
  }
}

int main() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);  // before a thread starts: each inherits it

  for (const unsigned int endPriority : {UINT_MAX, 0U}) {
    RequestQueue queue(1, 0);
    std::atomic<int> done{0};
    std::vector<std::thread> crew;
    for (int i = 0; i != 4; ++i) crew.emplace_back(work, std::ref(queue), std::ref(done));
    for (unsigned int id = 1; id <= 200; ++id) give(queue, id, 50);

    kill(getpid(), SIGTERM);  // stands for the user who ends the program
    int signal;
    sigwait(&signals, &signal);
    for (std::size_t i = 0; i != crew.size(); ++i) give(queue, endOfWork, endPriority);
    for (std::thread& worker : crew) worker.join();

    int left = 0;
    for (unsigned int id; PriorRequest* request = queue.tryWait(id); ++left) {
      queue.pop();
      delete request;
    }
    const bool drains = endPriority != 0;
    std::printf(drains ? "drain: %d done\n" : "drop: %d done or left\n",
                drains ? done.load() : done + left);
  }
}
