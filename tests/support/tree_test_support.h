// Elements, element functions and probes shared by the red-black tree tests. An Item orders by
// (key, payload); the serial is not compared, so a walk's serials tell fully equal items apart.
// Probes are built as callers build them: a one-entry container around the value, and its iterator.
#ifndef KR_TESTS_SUPPORT_TREE_TEST_SUPPORT_H_
#define KR_TESTS_SUPPORT_TREE_TEST_SUPPORT_H_

#include <kr/containers.h>

#include <string>
#include <vector>

namespace kr_test {

struct Item {
  int key, payload, serial;
};

struct ElementCalls {
  std::vector<int> destroyed;       // serials, in call order
  void* lastConstructed = nullptr;  // the element the last constructor call built
  int constructorStatus = 0, compareStatus = 0, compares = 0;
};
inline ElementCalls& Calls() {
  static ElementCalls calls;
  return calls;
}

inline int CompareItems(KrVContainer const*, int& keyComparison, int& order, KrVIterator const*,
                        void const* probeKey, void const*, void const* element, KrVParameter*) {
  Item const& a = *static_cast<Item const*>(probeKey);
  Item const& b = *static_cast<Item const*>(element);
  keyComparison = a.key != b.key;
  order = keyComparison ? (a.key > b.key) - (a.key < b.key)
                        : (a.payload > b.payload) - (a.payload < b.payload);
  ++Calls().compares;
  return Calls().compareStatus;
}

inline int ConstructItem(KrVContainer* tree, void* to, KrVIterator const* from, void const* key,
                         void const* dat, KrVParameter* parameter) {
  if (Calls().constructorStatus < 0) return Calls().constructorStatus;
  Calls().lastConstructed = to;
  return DefaultConstructorElement(tree, to, from, key, dat, parameter);
}

inline void DestroyItem(KrVContainer*, void* element) {
  Calls().destroyed.push_back(static_cast<Item*>(element)->serial);
}

struct ItemTree : KrRBTree {
  explicit ItemTree(unsigned short flags, unsigned long perBlock = 0)
      : KrRBTree(sizeof(Item), flags, perBlock) {
    compareElement = CompareItems;
    constructorElement = ConstructItem;
    destructorElement = DestroyItem;
  }
};

struct Probe {
  explicit Probe(Item value) : item(value), one(&item, nullptr, 0), it(&one, nullptr) {}
  Item item;
  KrOneEntryContainer one;
  KrOneEntryIterator it;
};

inline int Insert(KrRBTree& tree, Item item, unsigned short mode = 0) {
  Probe probe(item);
  return tree.InsertElement(&probe.it, nullptr, mode, nullptr);
}

inline Item const& ItemOf(void const* node) {
  return *static_cast<Item const*>(static_cast<KrRBTreeNode const*>(node)->Element());
}

inline KrRBTreeNode* LastInserted() {
  return static_cast<KrRBTreeNode*>(Calls().lastConstructed) - 1;
}

// The serial of the element an iterator stands on; 0 when there is none.
inline int SerialAt(KrVIterator const& iterator) {
  int status = 0;
  void const* element = iterator.GetElement(status, nullptr);
  return element ? static_cast<Item const*>(element)->serial : 0;
}

// The serials in order, walked forwards or (listed in order) backwards.
inline std::vector<int> Serials(KrRBTree& tree, bool backwards = false) {
  std::vector<int> serials;
  KrRBTreeIterator it(&tree, nullptr);
  for (int s = backwards ? it.Last() : it.First(); s == 0; s = backwards ? it.Prior() : it.Next()) {
    serials.insert(backwards ? serials.begin() : serials.end(), SerialAt(it));
  }
  return serials;
}

// Runs steps ('F'irst, 'L'ast, 'N'ext, 'P'rior, 'D'elete) and lists their
// statuses, each 0 followed by the serial stood on when `serials` is set.
inline std::string Steps(KrVIterator& it, char const* steps, bool serials = true) {
  std::string results;
  for (char const* c = steps; *c; ++c) {
    int const s = *c == 'F' ? it.First() : *c == 'L' ? it.Last() : *c == 'N' ? it.Next()
                : *c == 'P' ? it.Prior() : it.DeleteElement(0, nullptr);
    results += std::to_string(s) + (s == 0 && serials ? ":" + std::to_string(SerialAt(it)) : "");
    results += " ";
  }
  return results;
}

}  // namespace kr_test

#endif  // KR_TESTS_SUPPORT_TREE_TEST_SUPPORT_H_
