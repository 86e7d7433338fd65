#include "tree_test_support.h"

#include <algorithm>
#include <memory>

namespace kr_test {

ElementCalls gCalls;

std::vector<Item> WalkForwards(KrRBTree& tree) {
  std::vector<Item> items;
  KrRBTreeIterator iterator(&tree, nullptr);
  for (int status = iterator.First(); status == 0; status = iterator.Next()) {
    int entryStatus = 0;
    items.push_back(*static_cast<Item const*>(iterator.GetElement(entryStatus, nullptr)));
  }
  return items;
}

std::vector<Item> WalkBackwards(KrRBTree& tree) {
  std::vector<Item> items;
  KrRBTreeIterator iterator(&tree, nullptr);
  for (int status = iterator.Last(); status == 0; status = iterator.Prior()) {
    int entryStatus = 0;
    items.push_back(*static_cast<Item const*>(iterator.GetElement(entryStatus, nullptr)));
  }
  std::reverse(items.begin(), items.end());
  return items;
}

std::string Describe(std::vector<Item> const& items) {
  std::string text;
  for (Item const& item : items) text += ToString(item);
  return text;
}

int Height(KrRBTreeNode const* node) {
  return node ? 1 + std::max(Height(node->Left()), Height(node->right)) : 0;
}

KrRBTreeNode* Rightmost(KrRBTreeNode* node) {
  while (node && node->right) node = node->right;
  return node;
}

}  // namespace kr_test
