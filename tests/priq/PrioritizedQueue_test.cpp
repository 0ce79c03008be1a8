#include "vimo_util/priq/PrioritizedQueue.h"

#include <gtest/gtest.h>

#include <deque>
#include <sstream>

namespace {

using vimo::util::priq::PrioritizedQueue;
using vimo::util::priq::PriorRequest;

// Steps: a number pushes a request of that priority, and its place among the pushed ones becomes
// its id; "look" is tryWait, "take" recvWaitAndDequeue. An answer is the priority and the id.
std::string play(const std::string& steps) {
  std::deque<PriorRequest> requests;
  PrioritizedQueue queue(0);
  std::istringstream in(steps);
  std::ostringstream answers;
  for (std::string step; in >> step;) {
    unsigned int id = 99;
    if (step == "pop") {
      queue.pop();
    } else if (std::isdigit(step[0])) {
      const auto priority = static_cast<unsigned int>(std::stoul(step));
      requests.emplace_back(static_cast<int>(priority), priority);
      EXPECT_EQ(0xdeadbeef, requests.back().id);
      queue.push(&requests.back());
      requests.back().priority = 0;  // which the queue has read, while it reads the id at a look
      requests.back().id = static_cast<unsigned int>(requests.size());
    } else {
      const PriorRequest* const answer = step == "look"  ? queue.tryWait(id)
                                         : step == "top" ? queue.top(id)
                                                         : queue.recvWaitAndDequeue(id);
      answers << static_cast<unsigned int>(answer ? answer->clientValue : 0) << '#' << id << ' ';
      EXPECT_EQ(answer ? answer->id : 99, id) << steps;
    }
  }
  return answers.str();
}

TEST(PrioritizedQueue, HandsOutInOrder) {
  const char* const cases[][2] = {
      // The numbers have no sign; first come, first served.
      {"7 3 3 4294967295 2147483648 2147483647 0 take take take take take take take",
       "0#7 3#2 3#3 7#1 2147483647#6 2147483648#5 4294967295#4 "},
      // Nothing to look at.
      {"look 4 look pop look", "0#99 4#1 0#99 "},
      // A shown head keeps its place, also before its equals.
      {"5 look 1 3 look pop look pop look", "5#1 5#1 1#2 3#3 "},
      {"5 top 1 top pop top", "5#1 5#1 1#2 "},
      {"5 5 look 5 4 take take take take", "5#1 5#1 4#4 5#2 5#3 "},
      // A removal ends that, and an empty look does not begin it.
      {"5 look 6 take 1 take take", "5#1 5#1 1#3 6#2 "},
      {"5 look 6 pop 1 look", "5#1 1#3 "},
      {"look 5 1 take", "0#99 1#2 "},
      {"5 pop 7 1 take take", "1#3 7#2 "},
      // What still waits is the client's, not the queue's to destroy.
      {"5 6 look 7", "5#1 "},
  };
  for (const auto& c : cases) EXPECT_EQ(c[1], play(c[0])) << c[0];
}

}  // namespace
