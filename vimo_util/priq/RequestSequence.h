#ifndef VIMO_UTIL_PRIQ_REQUESTSEQUENCE_H
#define VIMO_UTIL_PRIQ_REQUESTSEQUENCE_H

#include <cstddef>

#include "vimo_util/priq/PriorRequest.h"

namespace vimo {
namespace util {
namespace priq {

/// A waiting request, and the priority that it had when it was queued.
struct PRequest {
  unsigned int priority;
  PriorRequest* request;
};

/// The waiting requests of a queue in order: a B+ tree that is emptied at its front.
///
/// - Cost: insert() goes down the tree once, and splits each full node before it enters it. A
///   push behind all others, and popFront(), mostly touch one leaf.
/// - Memory: none before the first insertion, and one node when the last element has left. All
///   nodes but the first and the last are at least half full when they are made.
/// - Errors: std::bad_alloc from insert() only. The sequence is then as it was.
class RequestSequence {
 public:
  RequestSequence() : root(nullptr), first(nullptr), last(nullptr), height(0), count(0) {}
  ~RequestSequence();
  RequestSequence(const RequestSequence&) = delete;
  RequestSequence& operator=(const RequestSequence&) = delete;

  std::size_t size() const { return count; }
  bool empty() const { return count == 0; }

  /// The first element. The sequence must not be empty.
  PRequest front() const;

  /// Inserts `element` behind all elements of equal or smaller priority. With `behindFront`, for
  /// which the sequence must not be empty, it also comes behind the first element.
  void insert(PRequest element, bool behindFront);

  /// Removes the first element. The sequence must not be empty.
  void popFront();

 private:
  class Node;

  static void destroy(Node* node, int height);
  void split(Node& parent, std::size_t at, std::size_t kept);
  static void dropFirstLeaf(Node* node, int height);

  // 1. A leaf has height 0. Either `root` is null, or `first` and `last` are the outer leaves.
  // 2. No node is empty, except a root that is a leaf.
  // 3. A root that is no leaf has two children or more.
  // 4. In a node above the leaves, the priority in a slot, but for the first, is not greater than
  //    any in the subtree of its child, and not smaller than any before that, except that of a
  //    front that was kept.
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
