#include "vimo_util/priq/RequestSequence.h"

#include <utility>

namespace vimo {
namespace util {
namespace priq {

namespace {

constexpr std::size_t blockCapacity = 64;
constexpr std::size_t smallIndexCapacity = 16;

// With many requests waiting, a block is seldom in the cache. Asked for at once,
// its lines cost one wait; met one by one in a search, they cost one each.
void prefetch(const void* block, std::size_t size) {
  constexpr std::size_t cacheLine = 64;
  for (std::size_t i = 0; i < size; i += cacheLine) {
    __builtin_prefetch(static_cast<const char*>(block) + i);
  }
}

}  // namespace

RequestSequence::~RequestSequence() {
  for (std::size_t i = 0; later && i < later->size(); ++i) delete (*later)[i].block;
}

void RequestSequence::insert(PRequest element, bool behindFront) {
  if (!head) {
    std::unique_ptr<Index> index(new (smallIndexCapacity) Index(smallIndexCapacity));
    head.reset(new (blockCapacity) Block(blockCapacity));
    later = std::move(index);
  }

  // Requests of one priority, the most common case, need no search.
  Block& tail = later->empty() ? *head : *later->back().block;
  if (!empty() && !tail.full() && tail.back().priority <= element.priority) {
    tail.insert(tail.size(), element);
    ++count;
    return;
  }

  // The priority of the head block is not in the index: what sorts before all
  // later blocks belongs there, a shown front of any priority or not.
  const bool inHead = later->empty() || element.priority < (*later)[0].priority;
  const std::size_t next = inHead ? 0 : later->upperBound(element.priority, 0);
  Block& block = inHead ? *head : *(*later)[next - 1].block;
  if (!inHead) prefetch(&block, sizeof(Block) + blockCapacity * sizeof(PRequest));
  const std::size_t at = block.upperBound(element.priority, inHead && behindFront);
  if (block.full()) {
    insertIntoFull(block, at, next, element);
  } else {
    block.insert(at, element);
  }
  ++count;
}

// Splits `block`, behind which the block at `next` in the index follows.
void RequestSequence::insertIntoFull(Block& block, std::size_t at, std::size_t next,
                                     PRequest element) {
  if (later->full()) {
    const std::size_t capacity = 2 * later->size();
    std::unique_ptr<Index> larger(new (capacity) Index(capacity));
    later->moveTail(0, *larger);
    later = std::move(larger);
  }
  std::unique_ptr<Block> added(new (blockCapacity) Block(blockCapacity));

  // At the very end nothing moves, so that requests in order fill their blocks.
  const bool atEnd = at == block.size() && next == later->size();
  const std::size_t kept = atEnd ? at : blockCapacity / 2;
  block.moveTail(kept, *added);
  if (at > kept || atEnd) {
    added->insert(at - kept, element);
  } else {
    block.insert(at, element);
  }
  later->insert(next, {(*added)[0].priority, added.get()});
  added.release();
}

void RequestSequence::popFront() {
  head->popFront();
  --count;
  if (!head->empty()) {
    // Its consumer will be told the id of a request that was queued long ago.
    constexpr std::size_t ahead = 4;
    if (head->size() > ahead) __builtin_prefetch(&(*head)[ahead].request->id);
  } else if (count > 0) {
    head.reset((*later)[0].block);
    later->popFront();
  } else if (later->capacity() > smallIndexCapacity) {
    // A peak is over: nothing of its size is kept.
    head.reset();
    later.reset();
  }
}

}  // namespace priq
}  // namespace util
}  // namespace vimo
