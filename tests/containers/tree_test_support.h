// Elements, element functions and probes shared by the red-black tree tests.
//
// An Item orders by (key, payload); its serial is not compared, so items that
// differ only in serial are fully equal and the serial tells them apart in a
// walk. Probes are built the way callers build them: a one-entry container
// around the value, and its iterator.
#ifndef KR_TESTS_CONTAINERS_TREE_TEST_SUPPORT_H_
#define KR_TESTS_CONTAINERS_TREE_TEST_SUPPORT_H_

#include <kr/containers.h>

#include <string>
#include <vector>

namespace kr_test {

struct Item {
  int key;
  int payload;
  int serial;
};

inline bool operator==(Item const& a, Item const& b) {
  return a.key == b.key && a.payload == b.payload && a.serial == b.serial;
}

inline std::string ToString(Item const& item) {
  return "{" + std::to_string(item.key) + "," + std::to_string(item.payload) + "," +
         std::to_string(item.serial) + "}";
}

// Counters of the element functions, reset by each TreeFixture.
struct ElementCalls {
  int constructed = 0;
  int destroyed = 0;
  std::vector<int> destroyedSerials;
  void* lastConstructed = nullptr;  // element built by the last constructor call
  int constructorStatus = 0;        // returned by the next constructor calls
  int compareStatus = 0;            // returned by every compare call
  int compares = 0;
};
extern ElementCalls gCalls;

// Key comparison from the key alone, order from (key, payload).
inline int CompareItems(KrVContainer const*, int& keyComparison, int& order, KrVIterator const*,
                        void const* probeKey, void const*, void const* element, KrVParameter*) {
  ++gCalls.compares;
  Item const& probe = *static_cast<Item const*>(probeKey);
  Item const& stored = *static_cast<Item const*>(element);
  keyComparison = probe.key != stored.key;
  if (probe.key != stored.key) {
    order = probe.key < stored.key ? -1 : 1;
  } else {
    order = probe.payload < stored.payload ? -1 : probe.payload > stored.payload ? 1 : 0;
  }
  return gCalls.compareStatus;
}

inline int ConstructItem(KrVContainer* container, void* destination, KrVIterator const* source,
                         void const* key, void const* dat, KrVParameter* parameter) {
  if (gCalls.constructorStatus < 0) return gCalls.constructorStatus;
  ++gCalls.constructed;
  gCalls.lastConstructed = destination;
  return DefaultConstructorElement(container, destination, source, key, dat, parameter);
}

inline void DestroyItem(KrVContainer*, void* element) {
  ++gCalls.destroyed;
  gCalls.destroyedSerials.push_back(static_cast<Item*>(element)->serial);
}

// A tree of Items with the functions above installed.
class ItemTree : public KrRBTree {
 public:
  explicit ItemTree(unsigned short flags, unsigned long entriesPerBlock = 0)
      : KrRBTree(sizeof(Item), flags, entriesPerBlock) {
    compareElement = CompareItems;
    constructorElement = ConstructItem;
    destructorElement = DestroyItem;
  }
};

inline Item const& ItemOf(void const* node) {
  return *static_cast<Item const*>(static_cast<KrRBTreeNode const*>(node)->Element());
}

inline KrRBTreeNode* NodeOfElement(void* element) {
  return static_cast<KrRBTreeNode*>(element) - 1;
}

// A probe for one value: a one-entry container around it and its iterator,
// positioned on the entry.
class Probe {
 public:
  explicit Probe(Item value)
      : item(value), container(&item, nullptr, 0), iterator(&container, nullptr) {}
  Probe(Probe const&) = delete;
  Probe& operator=(Probe const&) = delete;
  KrVIterator const* It() const { return &iterator; }

  Item item;
  KrOneEntryContainer container;
  KrOneEntryIterator iterator;
};

inline int Insert(KrRBTree& tree, Item item, unsigned short mode = 0) {
  Probe probe(item);
  return tree.InsertElement(probe.It(), nullptr, mode, nullptr);
}

// The node the last successful InsertElement built.
inline KrRBTreeNode* LastInserted() { return NodeOfElement(gCalls.lastConstructed); }

// The elements in order, walked with a tree iterator forwards or backwards.
std::vector<Item> WalkForwards(KrRBTree& tree);
std::vector<Item> WalkBackwards(KrRBTree& tree);
std::string Describe(std::vector<Item> const& items);

// Height of the tree in nodes, and the rightmost node.
int Height(KrRBTreeNode const* node);
KrRBTreeNode* Rightmost(KrRBTreeNode* node);

}  // namespace kr_test

#endif  // KR_TESTS_CONTAINERS_TREE_TEST_SUPPORT_H_
