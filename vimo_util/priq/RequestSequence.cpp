// SPDX-License-Identifier: MIT
#include "vimo_util/priq/RequestSequence.h"

#include <memory>

namespace vimo {
namespace util {
namespace priq {

RequestSequence::~RequestSequence() { destroy(root, height); }

void RequestSequence::destroy(Node* node, int height) {
  for (std::size_t i = 0; height > 0 && i < node->size(); ++i) {
    destroy((*node)[i].child, height - 1);
  }
  delete node;
}

void RequestSequence::insert(PRequest element, bool behindFront) {
  if (!root) root = first = last = new Node;

  // Most requests go behind all others or, being urgent, into the first leaf, without a search for
  // the leaf.
  const unsigned int priority = element.priority;
  const bool behindAll = empty() || last->back().priority <= priority;
  const bool beforeBack = first->size() > 1 && priority < first->back().priority;
  Node* leaf = behindAll ? last : first;
  if (leaf->full() || !(behindAll || beforeBack)) leaf = makeRoom(priority, behindAll);
  const std::size_t at =
      behindAll ? leaf->size() : leaf->upperBound(priority, leaf == first && behindFront);
  leaf->insert(at, {priority, {element.request}});
  ++count;
}

// Returns the leaf for `priority`, with room for one more. Splits each full node on the way. If an
// allocation fails, the tree is valid and its order unchanged.
RequestSequence::Node* RequestSequence::makeRoom(unsigned int priority, bool behindAll) {
  // How many slots a full node keeps when it is split. Ascending and descending insertions thus
  // leave full nodes behind.
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
  return node;
}

// Splits the full child at `at` of `parent`, which has room for the new one.
void RequestSequence::split(Node& parent, std::size_t at, std::size_t kept) {
  Node* const child = parent[at].child;
  Node* const sibling = new Node;
  child->moveTail(kept, *sibling);
  parent.insert(at + 1, Node::linkTo(sibling));
  if (child == last) last = sibling;
}

void RequestSequence::dropFirstLeaf() {
  dropFirstLeafBelow(root, height);
  while (height > 0 && root->size() == 1) {
    Node* const child = (*root)[0].child;
    delete root;
    root = child;
    --height;
  }
  first = root;
  for (int level = height; level > 0; --level) first = (*first)[0].child;
}

// Deletes the first leaf, and the nodes between `node` and it that this leaves empty.
void RequestSequence::dropFirstLeafBelow(Node* node, int height) {
  Node* const child = (*node)[0].child;
  if (height > 1) dropFirstLeafBelow(child, height - 1);
  if (child->size() > 0) return;
  delete child;
  node->popFront();
}

}  // namespace priq
}  // namespace util
}  // namespace vimo
