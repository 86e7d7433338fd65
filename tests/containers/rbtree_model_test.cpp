// Random operations on trees with flags 0, 0x0001 and 0x0002, checked against
// an ordered vector: each result, where each result iterator stands and what
// its neighbours are, and after every operation CheckTree, count,
// hasDuplicates, changeCount, `last` and the destructor calls; every 1000
// operations the whole sequence walked both ways, which pins the place of
// every fully equal element.
#include <kr/containers.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "tree_test_support.h"

namespace {

using namespace kr_test;

#if KR_TEST_ADDRESS_SANITIZER
const int kOperations = 25000;  // the sanitizer build runs about ten times slower
#else
const int kOperations = 100000;
#endif

struct Entry {
  Item item;
  KrRBTreeNode* node;
};

class RBTreeModelTest : public ::testing::TestWithParam<unsigned short> {
 protected:
  RBTreeModelTest() : tree(GetParam()), seed(0x5eed0000u + GetParam()), random(seed) {
    Calls() = ElementCalls();
  }
  int Pick(int below) { return std::uniform_int_distribution<int>(0, below - 1)(random); }
  bool Coin() { return Pick(2) == 0; }
  long Size() const { return static_cast<long>(model.size()); }
  // A value, most often one that is in the tree.
  Item Value() {
    if (!model.empty() && Coin()) return model[Pick(int(Size()))].item;
    return {Pick(40), Pick(3), 0};
  }
  unsigned short Mode() {  // any combination of the search bits
    unsigned short mode = 0;
    for (unsigned short bit : {0x0010, 0x0020, 0x0040, 0x0100, 0x0200}) {
      if (Coin()) mode = static_cast<unsigned short>(mode | bit);
    }
    return mode;
  }
  static bool Less(Item const& a, Item const& b) {
    return a.key != b.key ? a.key < b.key : a.payload < b.payload;
  }
  long First(Item const& v) {  // the run of elements equal to v: [First, End)
    return std::lower_bound(model.begin(), model.end(), v,
                            [](Entry const& e, Item const& x) { return Less(e.item, x); }) -
           model.begin();
  }
  long End(Item const& v) {
    return std::upper_bound(model.begin(), model.end(), v,
                            [](Item const& x, Entry const& e) { return Less(x, e.item); }) -
           model.begin();
  }

  // The iterator stands on model[index], or past the end it says so.
  void ExpectAt(KrRBTreeIterator const& it, long index) {
    if (index < 0 || index >= Size()) {
      ASSERT_EQ(it.status, index < 0 ? -521 : -522);
      return;
    }
    int status = 0;
    ASSERT_EQ(it.GetEntry(status, nullptr), model[index].node) << "index " << index;
  }
  void ExpectNeighbours(KrRBTreeIterator const& it, long index) {
    KrRBTreeIterator next(it), prior(it);
    next.Next();
    prior.Prior();
    ASSERT_NO_FATAL_FAILURE(ExpectAt(next, index + 1));
    ASSERT_NO_FATAL_FAILURE(ExpectAt(prior, index - 1));
  }

  void Insert() {
    Item v = Value();
    v.serial = ++serials;
    bool before = Coin();
    long first = First(v), end = End(v);
    bool sameKey = std::any_of(model.begin(), model.end(),
                               [&](Entry const& e) { return e.item.key == v.key; });
    bool admitted = (tree.flags & 2) || ((tree.flags & 1) ? first == end : !sameKey);
    unsigned short mode = static_cast<unsigned short>((Mode() & ~0x0100) | (before ? 4 : 0));
    ASSERT_EQ(kr_test::Insert(tree, v, mode), admitted ? 0 : -512);
    if (!admitted) {
      ASSERT_EQ(Calls().destroyed.back(), v.serial);
      ++destroyed;
      return;
    }
    model.insert(model.begin() + (before ? first : end), Entry{v, LastInserted()});
    duplicates = duplicates || sameKey;
    ++changes;
  }

  void Search() {
    Item v = Value();
    unsigned short mode = Mode();
    long first = First(v), end = End(v);
    KrRBTreeParameter parameter;
    if (Coin() && !model.empty()) {
      long at = first < end && Coin() ? first + Pick(int(end - first)) : Pick(int(Size()));
      parameter.entry = model[at].node;
    }
    int result = 0;
    long expected;  // model index, or past the ends, or kNone
    int missStatus = mode & 0x40 ? -522 : mode & 0x20 ? -521 : mode & 0x100 ? -522 : -523;
    if (first == end) {
      result = -510;
      expected = mode & 0x40 ? first : mode & 0x20 ? first - 1 : kNone;
    } else if (!duplicates && !(mode & 0x200)) {
      expected = first;  // the only equal element, whatever the entry
    } else if (mode & 0x100) {
      expected = kNone;
      for (long i = first; i < end; ++i) {
        if (model[i].node == parameter.entry) expected = i;
      }
      if (expected == kNone) result = -510;
    } else {
      expected = mode & 0x10 ? end - 1 : first;
    }
    Probe probe(v);
    KrRBTreeIterator it(&tree, nullptr);
    ASSERT_EQ(tree.SearchElement(&probe.it, nullptr, mode, &parameter, &it), result);
    ASSERT_EQ(tree.SearchElement(&probe.it, nullptr, mode, &parameter, nullptr), result);
    if (expected == kNone) {
      ASSERT_EQ(it.status, missStatus);
    } else {
      ASSERT_NO_FATAL_FAILURE(ExpectAt(it, expected));
      if (expected >= 0 && expected < Size()) {
        ASSERT_NO_FATAL_FAILURE(ExpectNeighbours(it, expected));
      }
    }
  }

  void Delete() {
    unsigned short mode = Mode();
    long at;
    if (Coin() || model.empty()) {  // by value: the first (last) equal element
      Item v = Value();
      long first = First(v), end = End(v);
      Probe probe(v);
      ASSERT_EQ(tree.DeleteElement(&probe.it, nullptr, mode, nullptr), first < end ? 0 : -510);
      if (first == end) return;
      at = mode & 0x10 ? end - 1 : first;
    } else {  // by entry: exactly that one
      at = Pick(int(Size()));
      ASSERT_EQ(tree.DeleteEntry(model[at].node, mode, nullptr), 0);
    }
    Remove(at);
  }

  void DeleteThroughIterator() {
    if (model.empty()) return;
    long at = Pick(int(Size()));
    KrRBTreeParameter parameter;
    parameter.entry = model[at].node;
    Probe probe(model[at].item);
    KrRBTreeIterator it(&tree, nullptr);
    ASSERT_EQ(tree.SearchElement(&probe.it, nullptr, 0x0300, &parameter, &it), 0);
    bool prior = Coin();
    int result = it.DeleteElement(prior ? kKrDeleteMoveToPrior : 0, nullptr);
    Remove(at);
    long neighbour = prior ? at - 1 : at;
    ASSERT_EQ(result, neighbour < 0 ? -521 : neighbour >= Size() ? -522 : 0);
    ASSERT_NO_FATAL_FAILURE(ExpectAt(it, neighbour));
    if (result == 0) {
      ASSERT_NO_FATAL_FAILURE(ExpectNeighbours(it, neighbour));
    }
  }

  void Clear() {
    unsigned long former = 0;
    ASSERT_EQ(tree.Clear(nullptr, &former, nullptr), 0);
    ASSERT_EQ(former, model.size());
    destroyed += Size();
    model.clear();
    duplicates = false;
  }

  void Remove(long at) {
    ASSERT_EQ(Calls().destroyed.back(), model[at].item.serial);
    model.erase(model.begin() + at);
    ++destroyed;
    ++changes;
  }

  void CheckState(bool walk) {
    ASSERT_EQ(tree.CheckTree(nullptr), 0);
    ASSERT_EQ(tree.count, model.size());
    ASSERT_EQ(tree.hasDuplicates, duplicates ? 1 : 0);
    ASSERT_EQ(tree.changeCount, changes);
    ASSERT_EQ(static_cast<long>(Calls().destroyed.size()), destroyed);
    if (!model.empty()) {
      ASSERT_EQ(tree.last, model.back().node);
    }
    if (!walk) return;
    std::vector<int> expected;
    for (Entry const& e : model) expected.push_back(e.item.serial);
    ASSERT_EQ(Serials(tree), expected);
    ASSERT_EQ(Serials(tree, true), expected);
  }

  static const long kNone = -1000;
  ItemTree tree;
  std::vector<Entry> model;  // in tree order
  bool duplicates = false;
  unsigned seed;
  std::mt19937 random;
  int serials = 0;
  long destroyed = 0;
  unsigned long changes = 0;
};

TEST_P(RBTreeModelTest, RandomOperationsMatchTheModel) {
  SCOPED_TRACE(testing::Message() << "seed " << seed);
  for (int op = 1; op <= kOperations; ++op) {
    SCOPED_TRACE(testing::Message() << "operation " << op);
    int choice = Pick(1000);
    if (choice < (Size() < 150 ? 450 : 250)) {  // grow to about 150 elements
      ASSERT_NO_FATAL_FAILURE(Insert());
    } else if (choice < 700) {
      ASSERT_NO_FATAL_FAILURE(Search());
    } else if (choice < 900) {
      ASSERT_NO_FATAL_FAILURE(Delete());
    } else if (choice < 998) {
      ASSERT_NO_FATAL_FAILURE(DeleteThroughIterator());
    } else {
      ASSERT_NO_FATAL_FAILURE(Clear());
    }
    ASSERT_NO_FATAL_FAILURE(CheckState(op % 1000 == 0));
  }
}

INSTANTIATE_TEST_SUITE_P(Flags, RBTreeModelTest, ::testing::Values(0, 1, 2));

}  // namespace
