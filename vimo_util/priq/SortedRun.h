#ifndef VIMO_UTIL_PRIQ_SORTEDRUN_H
#define VIMO_UTIL_PRIQ_SORTEDRUN_H

#include <cstddef>
#include <cstring>
#include <new>

namespace vimo {
namespace util {
namespace priq {

// A room of fixed size for plain values that have a `priority`, kept in its
// order. The values lie in one piece, with the free room on both sides of it: a
// removal at the front moves an index, an insertion moves by one slot the shorter
// of the sides that have room.
template <class Slot>
class SortedRun {
 public:
  explicit SortedRun(std::size_t capacity) noexcept : room(capacity), first(0), last(0) {}
  SortedRun(const SortedRun&) = delete;
  SortedRun& operator=(const SortedRun&) = delete;

  // The slots lie behind the object in the same allocation, which is made with
  // new (capacity) SortedRun<Slot>(capacity) and undone by a plain delete.
  static void* operator new(std::size_t size, std::size_t capacity) {
    return ::operator new(size + capacity * sizeof(Slot));
  }
  static void operator delete(void* memory) { ::operator delete(memory); }

  std::size_t size() const { return last - first; }
  bool empty() const { return first == last; }
  bool full() const { return size() == room; }
  std::size_t capacity() const { return room; }
  Slot& operator[](std::size_t at) { return slots()[first + at]; }
  Slot& back() { return slots()[last - 1]; }

  // The first position, at `from` or behind, of a greater priority.
  std::size_t upperBound(unsigned int priority, std::size_t from) {
    const Slot* const begin = slots() + first;
    const Slot* bound = begin + from;
    for (std::size_t left = size() - from; left > 0;) {
      const std::size_t half = (left + 1) / 2;
      const Slot* const upper = bound + half;
      // Told that it cannot guess, the compiler emits no jump, which would be
      // mispredicted every other time.
      bound =
          __builtin_expect_with_probability(upper[-1].priority <= priority, 1, 0.5) ? upper : bound;
      left -= half;
    }
    return bound - begin;
  }

  // Puts `slot` before position `at`. The run must not be full.
  void insert(std::size_t at, Slot slot) {
    const bool nearFront = first > 0 && at < size() - at;
    if (last == room && !nearFront) slideToStart();
    if (nearFront) {
      std::memmove(slots() + first - 1, slots() + first, at * sizeof(Slot));
      --first;
    } else {
      Slot* const place = slots() + first + at;
      std::memmove(place + 1, place, (size() - at) * sizeof(Slot));
      ++last;
    }
    (*this)[at] = slot;
  }

  // Removes the front. The run must not be empty.
  void popFront() {
    if (++first == last) first = last = 0;
  }

  // Moves what stands at `at` and behind to the end of `other`, which has room.
  void moveTail(std::size_t at, SortedRun& other) {
    const std::size_t count = size() - at;
    std::memcpy(other.slots() + other.last, slots() + first + at, count * sizeof(Slot));
    other.last += count;
    last -= count;
  }

 private:
  Slot* slots() { return reinterpret_cast<Slot*>(this + 1); }

  // Makes the free room at the front one at the end, so that a run which fills
  // at one side and empties at the other moves as a whole only now and then.
  void slideToStart() {
    std::memmove(slots(), slots() + first, size() * sizeof(Slot));
    last -= first;
    first = 0;
  }

  const std::size_t room;
  std::size_t first;
  std::size_t last;
};

}  // namespace priq
}  // namespace util
}  // namespace vimo

#endif
