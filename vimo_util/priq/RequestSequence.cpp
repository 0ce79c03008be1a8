#include "vimo_util/priq/RequestSequence.h"

#include <cstring>
#include <memory>

namespace vimo {
namespace util {
namespace priq {

// A sorted run of slots in a buffer, with free room on both sides: a removal at the front moves
// an index, and an insertion moves the shorter side by one slot.
class RequestSequence::Node {
 public:
  struct Slot {
    unsigned int priority;
    union {
      PriorRequest* request;  // in a leaf
      Node* child;            // above
    };
  };
  static constexpr std::size_t capacity = 64;

  Node() : begin(0), end(0) {}

  static Slot linkTo(Node* child) {
    Slot slot;
    slot.priority = (*child)[0].priority;
    slot.child = child;
    return slot;
  }

  std::size_t size() const { return end - begin; }
  bool full() const { return size() == capacity; }
  Slot& operator[](std::size_t at) { return slots[begin + at]; }
  Slot& back() { return slots[end - 1]; }

  // The first position, from `from` on, of a greater priority. The search has no branch to
  // mispredict.
  std::size_t upperBound(unsigned int priority, std::size_t from) const {
    const Slot* bound = slots + begin + from;
    for (std::size_t left = size() - from; left > 0;) {
      const std::size_t half = (left + 1) / 2;
      bound = bound[half - 1].priority <= priority ? bound + half : bound;
      left -= half;
    }
    return bound - slots - begin;
  }

  // Puts `slot` before position `at`. The node must not be full.
  void insert(std::size_t at, Slot slot) {
    const bool towardsFront = at < size() - at;
    if (towardsFront ? begin == 0 : end == capacity) centre(towardsFront);
    Slot* const place = slots + begin + at;
    if (towardsFront) {
      std::memmove(slots + begin - 1, slots + begin, at * sizeof(Slot));
      --begin;
      place[-1] = slot;
    } else {
      std::memmove(place + 1, place, (size() - at) * sizeof(Slot));
      ++end;
      *place = slot;
    }
  }

  void popFront() {
    if (++begin == end) begin = end = 0;
  }

  // Moves the slots from `at` on to `other`, which is empty.
  void moveTail(std::size_t at, Node& other) {
    other.end = size() - at;
    std::memcpy(other.slots, slots + begin + at, other.end * sizeof(Slot));
    end = begin + at;
  }

  // With many requests waiting, a node is seldom in the cache. Fetched at once, its lines cost
  // one wait. Met one by one in a search, they cost one each.
  void prefetch() const {
    constexpr std::size_t cacheLine = 64;
    for (std::size_t i = 0; i < sizeof *this; i += cacheLine) {
      __builtin_prefetch(reinterpret_cast<const char*>(this) + i);
    }
  }

 private:
  // Makes the room on both sides equal, or one slot larger in front.
  void centre(bool largerInFront) {
    const std::size_t start = (capacity - size() + largerInFront) / 2;
    std::memmove(slots + start, slots + begin, size() * sizeof(Slot));
    end = start + size();
    begin = start;
  }

  unsigned int begin;
  unsigned int end;
  Slot slots[capacity];
};

RequestSequence::~RequestSequence() { destroy(root, height); }

void RequestSequence::destroy(Node* node, int height) {
  for (std::size_t i = 0; height > 0 && i < node->size(); ++i) {
    destroy((*node)[i].child, height - 1);
  }
  delete node;
}

PRequest RequestSequence::front() const { return {(*first)[0].priority, (*first)[0].request}; }

void RequestSequence::insert(PRequest element, bool behindFront) {
  const unsigned int priority = element.priority;
  const Node::Slot slot = {priority, {element.request}};
  if (!root) root = first = last = new Node;

  // Requests of one priority, the most common case, need no search.
  const bool behindAll = !empty() && last->back().priority <= priority;
  if (behindAll && !last->full()) {
    last->insert(last->size(), slot);
    ++count;
    return;
  }

  // How much of a full node stays when it is split. Insertions in order, or against it, leave full
  // nodes behind.
  const bool beforeAll = first->size() > 1 && priority < (*first)[1].priority;
  const std::size_t kept = behindAll ? Node::capacity - 1 : beforeAll ? 1 : Node::capacity / 2;
  if (root->full()) {
    std::unique_ptr<Node> above(new Node);
    above->insert(0, Node::linkTo(root));
    split(*above, 0, kept);
    root = above.release();
    ++height;
  }
  Node* node = root;
  for (int level = height; level > 0; --level) {
    std::size_t at = node->upperBound(priority, 1) - 1;
    if ((*node)[at].child->full()) {
      split(*node, at, kept);
      if ((*node)[at + 1].priority <= priority) ++at;
    }
    node = (*node)[at].child;
    node->prefetch();
  }
  node->insert(node->upperBound(priority, node == first && behindFront), slot);
  ++count;
}

// Splits the full child at `at` of `parent`, which has room for the new one.
void RequestSequence::split(Node& parent, std::size_t at, std::size_t kept) {
  Node* const child = parent[at].child;
  Node* const sibling = new Node;
  child->moveTail(kept, *sibling);
  parent.insert(at + 1, Node::linkTo(sibling));
  if (child == last) last = sibling;
}

void RequestSequence::popFront() {
  first->popFront();
  --count;
  // Its consumer will be told the id of a request that was queued long ago.
  constexpr std::size_t ahead = 4;
  if (first->size() > ahead) __builtin_prefetch(&(*first)[ahead].request->id);
  if (first->size() > 0 || height == 0) return;

  dropFirstLeaf(root, height);
  while (height > 0 && root->size() == 1) {
    Node* const child = (*root)[0].child;
    delete root;
    root = child;
    --height;
  }
  first = root;
  for (int level = height; level > 0; --level) first = (*first)[0].child;
}

// Deletes the first leaf below `node`, and the nodes between them that this leaves empty.
void RequestSequence::dropFirstLeaf(Node* node, int height) {
  Node* const child = (*node)[0].child;
  if (height > 1) dropFirstLeaf(child, height - 1);
  if (child->size() > 0) return;
  delete child;
  node->popFront();
}

}  // namespace priq
}  // namespace util
}  // namespace vimo
