// SPDX-License-Identifier: MIT
// No request starves: its priority is the time by which it is due.
#include <chrono>
#include <cstdio>
#include <deque>
#include <thread>

#include "vimo_util/priq/PrioritizedQueue.h"

using std::chrono::milliseconds;
using std::chrono::steady_clock;
using vimo::util::priq::PrioritizedQueue;
using vimo::util::priq::PriorRequest;

enum Kind { high, low };

// The number of the 10 ms in which a request is due. 32 bits of them last for 497 days.
unsigned int due(milliseconds allowed) {
  static const steady_clock::time_point start = steady_clock::now();
  const auto time = steady_clock::now() + allowed - start;
  return static_cast<unsigned int>(time / milliseconds(10));
}

unsigned int byLevel(Kind kind) { return kind == high ? 1 : 100; }
unsigned int byDeadline(Kind kind) { return due(milliseconds(kind == high ? 50 : 200)); }

// Overloads one worker: at each turn two high requests arrive, at each tenth a low one too, and
// one request is done.
void overload(const char* name, unsigned int (*priority)(Kind)) {
  std::deque<PriorRequest> requests;  // those in it never move
  PrioritizedQueue queue(0);
  const auto arrives = [&](Kind kind) {
    requests.emplace_back(kind, priority(kind));
    queue.push(&requests.back());
  };

  int arrived = 0, done = 0;
  for (int turn = 0; turn != 2000; ++turn) {
    arrives(high);
    arrives(high);
    if (turn % 10 == 0) {
      arrives(low);
      ++arrived;
    }
    unsigned int id;
    if (queue.recvWaitAndDequeue(id)->clientValue == low) ++done;
    std::this_thread::sleep_for(std::chrono::microseconds(500));  // stands for the work
  }
  const char* const share = done == 0 ? "none" : done < 60 ? "fewer than 60" : "60 or more";
  std::printf("%s: %s of %d low requests done\n", name, share, arrived);
}

int main() {
  overload("levels", byLevel);
  overload("deadlines", byDeadline);
}
