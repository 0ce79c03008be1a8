// SPDX-License-Identifier: MIT
#ifndef VIMO_UTIL_PRIQ_REQUESTSEQUENCE_H
#define VIMO_UTIL_PRIQ_REQUESTSEQUENCE_H

#include <cstddef>
#include <cstring>

#include "vimo_util/priq/PriorRequest.h"

namespace vimo {
namespace util {
namespace priq {

/// A waiting request, and the priority that it had when it was queued.
struct PRequest {
  unsigned int priority;
  PriorRequest* request;
};

/// The waiting requests of a queue in order: a B+ tree from which elements leave only at the front.
///
/// - Cost: an insertion goes down the tree, and splits each full node before it enters it. One at
///   the end, or into the first leaf, skips the search unless that leaf is full. A removal moves an
///   index. One that empties a leaf also frees it.
/// - Memory: none before the first insertion, and one node when the last element has left. A node
///   between two others is at least half full when it is made.
/// - Errors: std::bad_alloc from insert() only. The order is then as it was.
class RequestSequence {
 public:
  RequestSequence() : root(nullptr), first(nullptr), last(nullptr), height(0), count(0) {}
  ~RequestSequence();
  RequestSequence(const RequestSequence&) = delete;
  RequestSequence& operator=(const RequestSequence&) = delete;

  std::size_t size() const { return count; }
  bool empty() const { return count == 0; }

  /// The first element. The sequence must not be empty.
  PRequest front() const { return {(*first)[0].priority, (*first)[0].request}; }

  /// Inserts `element` behind all elements of equal or smaller priority. With `behindFront`, for
  /// which the sequence must not be empty, it also comes behind the first element.
  void insert(PRequest element, bool behindFront);

  /// Removes the first element. The sequence must not be empty.
  void popFront() {
    first->popFront();
    --count;
    // A removal soon reads this request's id, which has probably left the cache.
    constexpr std::size_t ahead = 4;
    if (first->size() > ahead) __builtin_prefetch(&(*first)[ahead].request->id);
    if (first->size() == 0 && height > 0) dropFirstLeaf();
  }

 private:
  // A sorted run of slots in a buffer, with free room on both sides: a removal at the front moves
  // an index, and an insertion moves the shorter side by one slot.
  class Node {
   public:
    struct Slot {
      unsigned int priority;
      union {
        PriorRequest* request;  // in a leaf
        Node* child;            // above
      };
    };
    static constexpr std::size_t capacity = 64;

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
    void insert(std::size_t at, const Slot& slot) {
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

    unsigned int begin = 0;
    unsigned int end = 0;
    Slot slots[capacity];
  };

  static void destroy(Node* node, int height);
  Node* makeRoom(unsigned int priority, bool behindAll);
  void split(Node& parent, std::size_t at, std::size_t kept);
  void dropFirstLeaf();
  static void dropFirstLeafBelow(Node* node, int height);

  // 1. Leaves have height 0. `root` is null, or `first` and `last` are the first and last leaf.
  // 2. Only a root that is a leaf may be empty. A root above the leaves has two children or more.
  // 3. A slot above the leaves, unless it is the first of its node, holds a priority: no element in
  //    its subtree is smaller, and no element before its subtree is greater, except a front that
  //    was shown. The priority in a first slot is never read.
  Node* root;
  Node* first;
  Node* last;
  int height;  // of the root
  std::size_t count;
};

}  // namespace priq
}  // namespace util
}  // namespace vimo

#endif
