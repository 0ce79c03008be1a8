#include "vimo_util/priq/RequestSequence.h"

#include <gtest/gtest.h>

#include <deque>
#include <map>
#include <random>

#include "support/faults.h"

namespace {

using vimo::util::priq::PriorRequest;
using vimo::util::priq::RequestSequence;

// Insertions, removals and looks at the front, in mixes that grow three levels of nodes.
TEST(RequestSequence, KeepsTheOrderOfAPlainModel) {
  // What a step adds to the priority, and at most at random; removals in a hundred steps.
  const unsigned int cases[][3] = {{2654435761u, 0, 20}, {0, 0, 20},   {1, 0, 20},
                                   {1, 4095, 40},        {~0u, 0, 20}, {1, 511, 50}};
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    RequestSequence sequence;
    std::multimap<std::int64_t, PriorRequest*> model;  // a shown front has the key -1
    std::minstd_rand random(7);
    std::deque<PriorRequest> requests;
    for (unsigned int i = 0; i < 150000 || !model.empty(); ++i) {
      if (!model.empty() && (i >= 150000 || random() % 100 < c[2])) {
        ASSERT_EQ(model.begin()->second, sequence.front().request);
        ASSERT_EQ(model.begin()->second->priority, sequence.front().priority);
        sequence.popFront();
        model.erase(model.begin());
      } else {
        requests.emplace_back(0, i * c[0] + static_cast<unsigned int>(random() & c[1]));
        const bool shown = !model.empty() && (model.begin()->first < 0 || random() % 4 == 0);
        if (shown) {
          model.emplace(-1, model.begin()->second);
          model.erase(std::next(model.begin()));
        }
        sequence.insert({requests.back().priority, &requests.back()}, shown);
        model.emplace(requests.back().priority, &requests.back());
      }
      ASSERT_EQ(model.size(), sequence.size());
    }
  }
}

// In order, against it or scattered, behind a front to keep or not.
TEST(RequestSequence, MemoryFollowsWhatWaits) {
  PriorRequest request(0, 0);
  const long before = allocations::bytes, small = 4096;
  for (const unsigned int factor : {1u, ~0u, 2654435761u}) {
    for (const unsigned int waiting : {1u, 1000u, 100000u}) {
      RequestSequence sequence;
      for (unsigned int i = 0; i < 150000; ++i) {
        sequence.insert({i * factor, &request}, i % 2 && !sequence.empty());
        if (sequence.size() < waiting) continue;
        EXPECT_LE(allocations::bytes - before, small + 3l * waiting * sizeof(sequence.front()));
        while (!sequence.empty()) sequence.popFront();
        EXPECT_LE(allocations::bytes - before, small) << factor;
      }
    }
  }
  EXPECT_EQ(before, allocations::bytes);
}

}  // namespace
