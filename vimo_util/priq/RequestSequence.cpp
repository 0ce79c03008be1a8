#include "vimo_util/priq/RequestSequence.h"

namespace vimo {
namespace util {
namespace priq {

namespace {

#ifndef BLK
#define BLK 128
#endif
constexpr std::size_t blockCapacity = BLK;
constexpr std::size_t smallIndex = 16;

}  // namespace

RequestSequence::~RequestSequence() {
  if (!later) return;
  for (std::size_t i = later->begin(); i != later->end(); ++i) delete (*later)[i].block;
}

void RequestSequence::insert(const PRequest& element, bool behindFront) {
  if (!head) head.reset(new (blockCapacity) Block(blockCapacity));

  const std::size_t next = later ? later->upperBound(element.priority, later->begin()) : 0;
  const bool inHead = !later || next == later->begin();
  Block* block = inHead ? head.get() : (*later)[next - 1].block;
  std::size_t at = block->upperBound(element.priority, block->begin() + (inHead && behindFront));
  if (!block->full()) {
    block->insert(at, element);
  } else {
    const std::size_t offset = later ? next - later->begin() : 0;
    makeRoomInIndex();
    std::unique_ptr<Block> added(new (blockCapacity) Block(blockCapacity));
    const std::size_t middle = block->begin() + blockCapacity / 2;
    if (at == block->end()) {
      added->insert(0, element);
    } else {
      block->moveTail(middle, *added);
      if (at > middle) {
        added->insert(at - middle, element);
      } else {
        block->insert(at, element);
      }
    }
    const Entry entry = {(*added)[added->begin()].priority, added.get()};
    later->insert(later->begin() + offset, entry);
    added.release();
  }
  ++count;
}

void RequestSequence::popFront() {
  head->popFront();
  --count;
  if (head->empty() && count > 0) {
    head.reset((*later)[later->begin()].block);
    later->popFront();
  }
}

void RequestSequence::makeRoomInIndex() {
  if (!later) {
    later.reset(new (smallIndex) Index(smallIndex));
  } else if (later->full()) {
    const std::size_t capacity = 2 * (later->end() - later->begin());
    std::unique_ptr<Index> larger(new (capacity) Index(capacity));
    later->moveTail(later->begin(), *larger);
    later = std::move(larger);
  }
}

}  // namespace priq
}  // namespace util
}  // namespace vimo
