#ifndef VIMO_UTIL_PRIQ_SORTEDRUN_H
#define VIMO_UTIL_PRIQ_SORTEDRUN_H

#include <cstddef>
#include <cstring>
#include <new>

namespace vimo {
namespace util {
namespace priq {

// A room of fixed size for plain values that have a `priority`, in its order.
// What is in use lies in one piece, with free room on both sides: a removal at
// the front moves an index, an insertion moves the shorter side by one slot.
//
// Positions are those of slots in the room, from begin() to end().
template <class Slot>
class SortedRun {
 public:
  explicit SortedRun(std::size_t capacity) : capacity(capacity), first(0), last(0) {}
  SortedRun(const SortedRun&) = delete;
  SortedRun& operator=(const SortedRun&) = delete;

  // The slots lie behind the object, in one allocation: `new (capacity)
  // SortedRun<Slot>(capacity)`, undone by a plain delete.
  static void* operator new(std::size_t size, std::size_t capacity) {
    return ::operator new(size + capacity * sizeof(Slot));
  }
  static void operator delete(void* memory) { ::operator delete(memory); }
  static void operator delete(void* memory, std::size_t) { ::operator delete(memory); }

  std::size_t begin() const { return first; }
  std::size_t end() const { return last; }
  bool empty() const { return first == last; }
  bool full() const { return last - first == capacity; }
  Slot& operator[](std::size_t at) { return slots()[at]; }

  // The first position at `from` or behind whose priority is greater.
  std::size_t upperBound(unsigned int priority, std::size_t from) {
    const Slot* base = slots() + from;
    std::size_t length = last - from;
    while (length > 0) {
      const std::size_t half = (length + 1) / 2;
      base += base[half - 1].priority <= priority ? half : 0;
      length -= half;
    }
    return base - slots();
  }

  // Puts `slot` before position `at`. The run must not be full.
  void insert(std::size_t at, const Slot& slot) {
    if (last == capacity && at == last) at -= slideToFront();
    if (first > 0 && (last == capacity || at - first < last - at)) {
      std::memmove(&slots()[first - 1], &slots()[first], (at - first) * sizeof(Slot));
      --first;
      slots()[at - 1] = slot;
    } else {
      std::memmove(&slots()[at + 1], &slots()[at], (last - at) * sizeof(Slot));
      ++last;
      slots()[at] = slot;
    }
  }

  void popFront() {
    if (++first == last) first = last = 0;
  }

  // Moves all from position `at` on to the end of `other`, which has room.
  void moveTail(std::size_t at, SortedRun& other) {
    std::memcpy(&other.slots()[other.last], &slots()[at], (last - at) * sizeof(Slot));
    other.last += last - at;
    last = at;
  }

 private:
  Slot* slots() { return reinterpret_cast<Slot*>(this + 1); }

  // A run that is filled at the end and emptied at the front would otherwise
  // move all of itself at each insertion.
  std::size_t slideToFront() {
    const std::size_t by = first;
    std::memmove(&slots()[0], &slots()[first], (last - first) * sizeof(Slot));
    first = 0;
    last -= by;
    return by;
  }

  const std::size_t capacity;
  std::size_t first;
  std::size_t last;
};

}  // namespace priq
}  // namespace util
}  // namespace vimo

#endif
