// SPDX-License-Identifier: MIT
#include <climits>
#include <cstdio>
#include <string>
#include <thread>
#include <utility>

#include "vimo_util/priq/RequestQueue.h"

using vimo::util::priq::PriorRequest;
using vimo::util::priq::RequestQueue;

namespace {

constexpr int printing = 1;            // the queue's key: one number for each role
constexpr unsigned int endOfWork = 0;  // an id of ours, given to no job

struct Job : PriorRequest {
  Job(unsigned int priority, std::string text) : PriorRequest(0, priority), text(std::move(text)) {}
  std::string text;
};

void print() {
  RequestQueue queue(printing, 0);
  for (;;) {
    unsigned int id;
    PriorRequest* const request = queue.recvWaitAndDequeue(id);
    if (id == endOfWork) return;
    std::printf("job %u: %s\n", id, static_cast<Job*>(request)->text.c_str());
  }
}

}  // namespace

int main() {
  Job report(20, "report"), note(20, "note"), alarm(1, "alarm");
  PriorRequest end(0, UINT_MAX);  // behind everything else

  RequestQueue queue(printing, 0);
  queue.push(101, &report);
  queue.push(102, &note);
  unsigned int shown;
  queue.top(shown);  // a look: from now on job 101 stays in front
  std::printf("shown: job %u\n", shown);
  queue.push(103, &alarm);
  queue.push(endOfWork, &end);

  std::thread(print).join();
}
