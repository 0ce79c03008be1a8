#include "vimo_util/priq/PrioritizedQueue.h"

#include <gtest/gtest.h>

#include <deque>
#include <sstream>
#include <string>

namespace {

using vimo::util::priq::PrioritizedQueue;
using vimo::util::priq::PriorRequest;

// Steps: a number pushes a request of that priority, and its place among the
// pushed ones becomes its id; "look" is tryWait, "top", "pop" and "take" the
// others. Each answer is the priority and the id, "-" for none.
std::string play(const std::string& steps) {
  std::deque<PriorRequest> requests;
  PrioritizedQueue queue(0);
  std::istringstream in(steps);
  std::string step, answers;
  while (in >> step) {
    unsigned int id = 99;
    PriorRequest* answer = nullptr;
    if (step == "look") {
      answer = queue.tryWait(id);
    } else if (step == "top") {
      answer = queue.top(id);
    } else if (step == "take") {
      answer = queue.recvWaitAndDequeue(id);
    } else if (step == "pop") {
      queue.pop();
      continue;
    } else {
      requests.emplace_back(0, static_cast<unsigned int>(std::stoul(step)));
      requests.back().id = static_cast<unsigned int>(requests.size());
      queue.push(&requests.back());
      continue;
    }
    EXPECT_EQ(answer ? answer->id : 99, id) << steps;
    answers += answer ? std::to_string(answer->priority) + "#" + std::to_string(id) + " " : "- ";
  }
  return answers;
}

TEST(PrioritizedQueue, HandsOutInOrder) {
  const struct {
    const char* name;
    const char* steps;
    const char* answers;
  } cases[] = {
      {"unsigned, first come first served",
       "7 3 3 4294967295 2147483648 2147483647 0 take take take take take take take",
       "0#7 3#2 3#3 7#1 2147483647#6 2147483648#5 4294967295#4 "},
      {"nothing to look at", "look 4 look pop look", "- 4#1 - "},
      {"a shown head keeps its place", "5 look 1 3 look pop look pop look", "5#1 5#1 1#2 3#3 "},
      {"shown by top as well", "5 top 1 top pop top", "5#1 5#1 1#2 "},
      {"behind a shown head and its equal", "5 5 look 5 4 take take take take",
       "5#1 5#1 4#4 5#2 5#3 "},
      {"taking it clears the mark", "5 look 6 take 1 take take", "5#1 5#1 1#3 6#2 "},
      {"pop without a look", "5 pop 7 1 take take", "1#3 7#2 "},
      {"after pop a smaller number is first", "5 look 6 pop 1 look", "5#1 1#3 "},
      {"an empty look marks nothing", "look 5 1 take", "- 1#2 "},
      {"what still waits is the client's, not the queue's to destroy", "5 6 look 7", "5#1 "},
  };
  for (const auto& c : cases) EXPECT_EQ(c.answers, play(c.steps)) << c.name;
}

TEST(PrioritizedQueue, ReadsThePriorityAtPushAndTheIdAtRemoval) {
  PrioritizedQueue queue(0);
  PriorRequest a(-5, 1), b(0, 2);
  EXPECT_EQ(-5, a.clientValue);
  queue.push(&a);
  queue.push(&b);
  queue.push(&a);
  a.priority = 9;
  unsigned int id = 0;
  EXPECT_EQ(&a, queue.recvWaitAndDequeue(id));
  EXPECT_EQ(0xdeadbeef, id);
  a.id = 7;
  EXPECT_EQ(&a, queue.recvWaitAndDequeue(id));
  EXPECT_EQ(7u, id);
  EXPECT_EQ(&b, queue.recvWaitAndDequeue(id));
}

}  // namespace
