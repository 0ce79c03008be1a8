#ifndef VIMO_UTIL_PRIQ_REQUESTSEQUENCE_H
#define VIMO_UTIL_PRIQ_REQUESTSEQUENCE_H

#include <cstddef>
#include <memory>

#include "vimo_util/priq/PriorRequest.h"
#include "vimo_util/priq/SortedRun.h"

namespace vimo {
namespace util {
namespace priq {

// A waiting request, and the priority that it had when it was queued.
struct PRequest {
  unsigned int priority;
  PriorRequest* request;
};

// The waiting requests of a queue in order: a sorted sequence of sorted blocks.
//
// An insertion looks for its block in an index of the blocks and for its place
// in that block, both by binary search, and moves at most the one block. A removal
// takes the front and moves a position.
//
// Memory  none before the first insertion; at most one block and a small index
//         stay when the last element has left. All blocks but the last are at
//         least half full when made.
// Errors  std::bad_alloc from insert() only; it leaves the sequence as it was.
class RequestSequence {
 public:
  RequestSequence() : count(0) {}
  ~RequestSequence();
  RequestSequence(const RequestSequence&) = delete;
  RequestSequence& operator=(const RequestSequence&) = delete;

  std::size_t size() const { return count; }
  bool empty() const { return count == 0; }

  // The first element; there must be one.
  const PRequest& front() const { return (*head)[0]; }

  // Inserts `element` behind all elements of equal or smaller priority, and with
  // `behindFront` also behind the first element, which there must be then,
  // whatever its priority.
  void insert(PRequest element, bool behindFront);

  // Removes the first element; there must be one.
  void popFront();

 private:
  using Block = SortedRun<PRequest>;
  struct Entry {
    unsigned int priority;  // of the block's first element
    Block* block;
  };
  using Index = SortedRun<Entry>;

  void insertIntoFull(Block& block, std::size_t at, std::size_t next, PRequest element);

  // Both are null or neither is. The head is empty only when all is.
  std::unique_ptr<Block> head;
  std::unique_ptr<Index> later;  // of the blocks behind the head, which it owns
  std::size_t count;
};

}  // namespace priq
}  // namespace util
}  // namespace vimo

#endif
