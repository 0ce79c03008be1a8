#include "vimo_util/priq/RequestSequence.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <random>

#include "support/Allocations.h"

namespace {

using vimo::util::priq::PRequest;
using vimo::util::priq::PriorRequest;
using vimo::util::priq::RequestSequence;

// Insertions and removals at random, in mixes that fill and split blocks at
// their ends, at their fronts and inside, with and without a front to keep.
TEST(RequestSequence, KeepsTheOrderOfAPlainModel) {
  const struct {
    const char* name;
    unsigned int (*priority)(unsigned int i, unsigned int random);
    unsigned int removals;  // in a hundred steps
    bool keepFront;
  } cases[] = {
      {"random", [](unsigned int, unsigned int r) { return r; }, 40, false},
      {"random, front kept", [](unsigned int, unsigned int r) { return r; }, 40, true},
      {"waves", [](unsigned int i, unsigned int r) { return i % 4000 < 3000 ? i : r % 999; }, 40,
       false},
      {"equal", [](unsigned int, unsigned int) { return 5u; }, 45, true},
      {"ascending", [](unsigned int i, unsigned int) { return i; }, 20, false},
      {"descending", [](unsigned int i, unsigned int) { return ~i; }, 20, false},
      {"descending behind the front", [](unsigned int i, unsigned int) { return ~i; }, 0, true},
      {"growing steps", [](unsigned int i, unsigned int r) { return i + r % 500; }, 49, false},
      {"few at random", [](unsigned int, unsigned int r) { return r; }, 50, false},
      {"few in order", [](unsigned int i, unsigned int) { return i; }, 50, false},
      {"both sides of the sign", [](unsigned int, unsigned int r) { return r << 28; }, 30, false},
  };
  for (const auto& c : cases) {
    RequestSequence sequence;
    std::deque<PRequest> model;
    std::minstd_rand random(7);
    std::deque<PriorRequest> requests;
    for (unsigned int i = 0; i < 20000 || !model.empty(); ++i) {
      if ((i >= 20000 || random() % 100 < c.removals) && !model.empty()) {
        ASSERT_EQ(model.front().priority, sequence.front().priority) << c.name;
        ASSERT_EQ(model.front().request, sequence.front().request) << c.name;
        sequence.popFront();
        model.pop_front();
      } else {
        requests.emplace_back(0, 0);
        const PRequest element = {c.priority(i, static_cast<unsigned int>(random())),
                                  &requests.back()};
        const bool behindFront = c.keepFront && !model.empty();
        sequence.insert(element, behindFront);
        const auto place = std::upper_bound(
            model.begin() + behindFront, model.end(), element,
            [](const PRequest& a, const PRequest& b) { return a.priority < b.priority; });
        model.insert(place, element);
      }
      ASSERT_EQ(model.size(), sequence.size()) << c.name;
    }
    EXPECT_TRUE(sequence.empty()) << c.name;
  }
}

// In order or against it, behind a full block or a front to keep: no stream of
// insertions leaves blocks that are all but empty.
TEST(RequestSequence, MemoryFollowsWhatWaits) {
  constexpr long small = 4096;
  constexpr unsigned int count = 100000;
  PriorRequest request(0, 0);
  const long before = allocations::bytes();
  {
    RequestSequence abandoned;
    for (unsigned int i = 0; i < count; ++i) abandoned.insert({i, &request}, false);
  }
  RequestSequence sequence;
  EXPECT_EQ(before, allocations::bytes());
  for (const bool descending : {false, true}) {
    for (const bool behindFront : {false, true}) {
      for (unsigned int i = 0; i < 64; ++i) sequence.insert({i, &request}, false);
      for (unsigned int i = 0; i < count; ++i) {
        sequence.insert({descending ? 100 + count - i : 100 + i, &request}, behindFront);
      }
      EXPECT_LT(allocations::bytes() - before, 3l * count * static_cast<long>(sizeof(PRequest)));
      while (!sequence.empty()) sequence.popFront();
      EXPECT_LE(allocations::bytes() - before, small);
    }
  }
  sequence.insert({1, &request}, false);
  sequence.popFront();
  const long made = allocations::made();
  for (unsigned int i = 0; i < 1000; ++i) {
    sequence.insert({i, &request}, false);
    sequence.popFront();
  }
  EXPECT_EQ(made, allocations::made());
}

}  // namespace
