// Random operations on a tree, checked against an ordered vector as model.
//
// Items order by (key, payload) and carry a serial the order ignores, so the
// model also pins where each of several fully equal items stands. Every
// operation is checked for its result, the state it leaves (CheckTree, count,
// hasDuplicates, changeCount, `last`) and, every 1000 operations, for the
// whole sequence walked forwards and backwards.
#include <kr/containers.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

#include "tree_test_support.h"

namespace {

using kr_test::gCalls;
using kr_test::Item;
using kr_test::ItemOf;
using kr_test::ItemTree;
using kr_test::Probe;

#if defined(__SANITIZE_ADDRESS__)
// The sanitizer build runs about ten times slower; fewer operations keep the
// three runs at a few seconds together.
const int kOperations = 25000;
#else
const int kOperations = 100000;
#endif
const int kWalkEvery = 1000;
const int kKeys = 40;
const int kPayloads = 3;
const unsigned short kSearchBits[] = {kKrWalkBackwards, kKrMissToSmaller, kKrMissToGreater,
                                      kKrExactEntry, kKrWalkEqualElements};

struct Entry {
  Item item;
  KrRBTreeNode* node;
};

bool Less(Item const& a, Item const& b) {
  return a.key != b.key ? a.key < b.key : a.payload < b.payload;
}

class Model {
 public:
  std::vector<Entry> entries;  // in tree order
  bool hasDuplicates = false;

  // The run of entries fully equal to `value`: [first, end).
  std::size_t First(Item const& value) const {
    return std::lower_bound(entries.begin(), entries.end(), value,
                            [](Entry const& e, Item const& v) { return Less(e.item, v); }) -
           entries.begin();
  }
  std::size_t End(Item const& value) const {
    return std::upper_bound(entries.begin(), entries.end(), value,
                            [](Item const& v, Entry const& e) { return Less(v, e.item); }) -
           entries.begin();
  }
  bool HasKey(int key) const {
    return std::any_of(entries.begin(), entries.end(),
                       [key](Entry const& e) { return e.item.key == key; });
  }
  std::size_t IndexOf(KrRBTreeNode const* node) const {
    for (std::size_t i = 0; i < entries.size(); ++i) {
      if (entries[i].node == node) return i;
    }
    return entries.size();
  }
};

class RBTreeModelTest : public ::testing::TestWithParam<unsigned short> {
 protected:
  RBTreeModelTest() : tree(GetParam()), seed(0x5eed0000u + GetParam()), random(seed) {}
  void SetUp() override { gCalls = kr_test::ElementCalls(); }

  int Pick(int below) { return std::uniform_int_distribution<int>(0, below - 1)(random); }
  bool Chance(int percent) { return Pick(100) < percent; }
  Item RandomValue() { return {Pick(kKeys), Pick(kPayloads), 0}; }
  unsigned short RandomBits(unsigned short const* bits, int count) {
    unsigned short mode = 0;
    for (int i = 0; i < count; ++i) {
      if (Chance(50)) mode = static_cast<unsigned short>(mode | bits[i]);
    }
    return mode;
  }
  unsigned short RandomSearchMode() { return RandomBits(kSearchBits, 5); }

  // The entry the iterator stands on must be model entry `index`; or, past
  // the ends, the status must say so.
  ::testing::AssertionResult At(KrRBTreeIterator const& iterator, long index) {
    long size = static_cast<long>(model.entries.size());
    if (index < 0 || index >= size) {
      int expected = index < 0 ? -521 : -522;
      if (iterator.status == expected) return ::testing::AssertionSuccess();
      return ::testing::AssertionFailure()
             << "status " << iterator.status << ", expected " << expected;
    }
    int status = 0;
    void const* entry = iterator.GetEntry(status, nullptr);
    if (status != 0 || entry != model.entries[index].node) {
      return ::testing::AssertionFailure()
             << "status " << status << ", on "
             << (entry ? kr_test::ToString(ItemOf(entry)) : "nothing") << ", expected "
             << kr_test::ToString(model.entries[index].item) << " at " << index;
    }
    return ::testing::AssertionSuccess();
  }

  // Steps copies of a positioned iterator both ways.
  void CheckNeighbours(KrRBTreeIterator const& iterator, long index) {
    KrRBTreeIterator forwards(iterator);
    forwards.Next();
    ASSERT_TRUE(At(forwards, index + 1));
    KrRBTreeIterator backwards(iterator);
    backwards.Prior();
    ASSERT_TRUE(At(backwards, index - 1));
  }

  void Insert() {
    Item value = RandomValue();
    value.serial = ++serials;
    bool before = Chance(50);
    unsigned short mode = static_cast<unsigned short>(RandomSearchMode() & ~kKrExactEntry);
    if (before) mode |= kKrInsertBefore;
    std::size_t first = model.First(value), end = model.End(value);
    bool sameKey = model.HasKey(value.key);
    bool admitted = tree.flags & kKrAllowEqualElements ? true
                    : tree.flags & kKrAllowEqualKeys   ? first == end
                                                       : !sameKey;
    int result;
    KrRBTreeNode* node = nullptr;
    if (Chance(80)) {
      result = kr_test::Insert(tree, value, mode);
      node = kr_test::LastInserted();
    } else {  // a node built by the caller
      int status = 0;
      node = tree.CreateEntry(status);
      ASSERT_NE(node, nullptr);
      *static_cast<Item*>(node->Element()) = value;
      result = tree.InsertEntry(node, mode, nullptr);
    }
    ASSERT_EQ(result, admitted ? 0 : -512) << kr_test::ToString(value);
    if (!admitted) {
      ASSERT_EQ(gCalls.destroyedSerials.back(), value.serial);
      ++destroyed;
      return;
    }
    model.hasDuplicates = model.hasDuplicates || sameKey;
    model.entries.insert(model.entries.begin() + (before ? first : end), Entry{value, node});
    ++changes;
  }

  void Search() {
    Item value = RandomValue();
    if (!model.entries.empty() && Chance(60)) value = model.entries[Pick(int(model.entries.size()))].item;
    unsigned short mode = RandomSearchMode();
    std::size_t first = model.First(value), end = model.End(value);
    KrRBTreeParameter parameter;
    if (mode & kKrExactEntry) {
      if (first < end && Chance(80)) {
        parameter.entry = model.entries[first + Pick(int(end - first))].node;
      } else if (!model.entries.empty() && Chance(80)) {
        parameter.entry = model.entries[Pick(int(model.entries.size()))].node;
      }
    }

    long expected;  // index of the expected position, or -1 / size past the ends
    int result = 0;
    int missStatus = mode & kKrMissToGreater   ? -522
                     : mode & kKrMissToSmaller ? -521
                     : mode & kKrExactEntry    ? -522
                                               : -523;
    bool walk = model.hasDuplicates || (mode & kKrWalkEqualElements);
    if (first == end) {
      result = -510;
      if (mode & kKrMissToGreater) {
        expected = static_cast<long>(first);
        if (first == model.entries.size()) missStatus = -522;
      } else if (mode & kKrMissToSmaller) {
        expected = static_cast<long>(first) - 1;
      } else {
        expected = kNoPosition;
      }
    } else if (!walk) {
      ASSERT_EQ(end - first, 1u);  // without duplicates a value is there once
      expected = static_cast<long>(first);
    } else if (mode & kKrExactEntry) {
      std::size_t at = model.IndexOf(static_cast<KrRBTreeNode*>(parameter.entry));
      if (at >= first && at < end) {
        expected = static_cast<long>(at);
      } else {
        result = -510;
        expected = kNoPosition;
      }
    } else {
      expected = static_cast<long>(mode & kKrWalkBackwards ? end - 1 : first);
    }

    Probe probe(value);
    KrRBTreeIterator iterator(&tree, nullptr);
    ASSERT_EQ(tree.SearchElement(probe.It(), nullptr, mode, &parameter, &iterator), result)
        << kr_test::ToString(value) << " mode " << mode;
    if (expected == kNoPosition) {
      ASSERT_EQ(iterator.status, missStatus) << "mode " << mode;
      ASSERT_TRUE(iterator.path.IsEmpty());
    } else if (expected < 0 || expected >= static_cast<long>(model.entries.size())) {
      ASSERT_EQ(iterator.status, missStatus) << "mode " << mode;
    } else {
      ASSERT_TRUE(At(iterator, expected)) << kr_test::ToString(value) << " mode " << mode;
      CheckNeighbours(iterator, expected);
    }
    ASSERT_EQ(tree.SearchElement(probe.It(), nullptr, mode, &parameter, nullptr), result);
  }

  void DeleteByProbe() {
    Item value = RandomValue();
    if (!model.entries.empty() && Chance(70)) value = model.entries[Pick(int(model.entries.size()))].item;
    unsigned short mode = RandomSearchMode();
    std::size_t first = model.First(value), end = model.End(value);
    Probe probe(value);
    int result = tree.DeleteElement(probe.It(), nullptr, mode, nullptr);
    if (first == end) {
      ASSERT_EQ(result, -510);
      return;
    }
    ASSERT_EQ(result, 0);
    std::size_t at = mode & kKrWalkBackwards ? end - 1 : first;
    ASSERT_EQ(gCalls.destroyedSerials.back(), model.entries[at].item.serial);
    Remove(at);
  }

  void DeleteByEntry() {
    if (model.entries.empty()) return;
    std::size_t at = Pick(int(model.entries.size()));
    ASSERT_EQ(tree.DeleteEntry(model.entries[at].node, RandomSearchMode(), nullptr), 0);
    ASSERT_EQ(gCalls.destroyedSerials.back(), model.entries[at].item.serial);
    Remove(at);
  }

  void DeleteThroughIterator() {
    if (model.entries.empty()) return;
    long at = Pick(int(model.entries.size()));
    KrRBTreeIterator iterator(&tree, nullptr);
    if (Chance(50)) {  // find it by identity
      KrRBTreeParameter parameter;
      parameter.entry = model.entries[at].node;
      Probe probe(model.entries[at].item);
      ASSERT_EQ(tree.SearchElement(probe.It(), nullptr, kKrExactEntry | kKrWalkEqualElements,
                                   &parameter, &iterator),
                0);
    } else {  // walk to it from the nearer end
      long size = static_cast<long>(model.entries.size());
      if (at < size / 2) {
        iterator.First();
        for (long i = 0; i < at; ++i) iterator.Next();
      } else {
        iterator.Last();
        for (long i = size - 1; i > at; --i) iterator.Prior();
      }
    }
    ASSERT_TRUE(At(iterator, at));
    bool backwards = Chance(50);
    int result = iterator.DeleteElement(backwards ? kKrDeleteMoveToPrior : 0, nullptr);
    ASSERT_EQ(gCalls.destroyedSerials.back(), model.entries[at].item.serial);
    Remove(static_cast<std::size_t>(at));
    long neighbour = backwards ? at - 1 : at;
    long size = static_cast<long>(model.entries.size());
    int expected = neighbour < 0 ? -521 : neighbour >= size ? -522 : 0;
    ASSERT_EQ(result, expected);
    ASSERT_TRUE(At(iterator, neighbour));
    // It walks on from there, both ways, as if it had been placed there.
    for (int step = 0; step < 3; ++step) {
      neighbour = std::min(std::max(neighbour, -1L), size);
      bool forwards = Chance(50);
      if (forwards) {
        if (neighbour >= size) break;
        iterator.Next();
        ++neighbour;
      } else {
        if (neighbour < 0) break;
        iterator.Prior();
        --neighbour;
      }
      ASSERT_TRUE(At(iterator, neighbour));
    }
  }

  void Clear() {
    unsigned long former = 0;
    int before = gCalls.destroyed;
    ASSERT_EQ(tree.Clear(nullptr, &former, nullptr), 0);
    ASSERT_EQ(former, model.entries.size());
    ASSERT_EQ(gCalls.destroyed - before, static_cast<int>(former));
    destroyed += static_cast<int>(former);
    model.entries.clear();
    model.hasDuplicates = false;
  }

  void Remove(std::size_t at) {
    model.entries.erase(model.entries.begin() + static_cast<long>(at));
    ++destroyed;
    ++changes;
  }

  void CheckState() {
    ASSERT_EQ(tree.CheckTree(nullptr), 0);
    ASSERT_EQ(tree.count, model.entries.size());
    ASSERT_EQ(tree.hasDuplicates, model.hasDuplicates ? 1 : 0);
    ASSERT_EQ(tree.changeCount, changes);
    ASSERT_EQ(gCalls.destroyed, destroyed);
    if (!model.entries.empty()) {
      ASSERT_EQ(tree.last, model.entries.back().node);
    }
  }

  void CheckWalks() {
    std::vector<Item> expected;
    for (Entry const& entry : model.entries) expected.push_back(entry.item);
    ASSERT_EQ(kr_test::Describe(kr_test::WalkForwards(tree)), kr_test::Describe(expected));
    ASSERT_EQ(kr_test::Describe(kr_test::WalkBackwards(tree)), kr_test::Describe(expected));
  }

  static const long kNoPosition = -1000;

  ItemTree tree;
  Model model;
  std::uint32_t seed;
  std::mt19937 random;
  int serials = 0;
  int destroyed = 0;
  unsigned long changes = 0;
};

TEST_P(RBTreeModelTest, RandomOperationsMatchTheModel) {
  SCOPED_TRACE(testing::Message() << "seed " << seed);
  for (int op = 1; op <= kOperations; ++op) {
    SCOPED_TRACE(testing::Message() << "operation " << op);
    // Grow towards about 150 elements, then hover around it.
    int insertShare = model.entries.size() < 150 ? 45 : 25;
    int choice = Pick(100);
    if (choice < insertShare) {
      ASSERT_NO_FATAL_FAILURE(Insert());
    } else if (choice < 70) {
      ASSERT_NO_FATAL_FAILURE(Search());
    } else if (choice < 80) {
      ASSERT_NO_FATAL_FAILURE(DeleteByProbe());
    } else if (choice < 90) {
      ASSERT_NO_FATAL_FAILURE(DeleteByEntry());
    } else if (choice < 99 || !Chance(20)) {
      ASSERT_NO_FATAL_FAILURE(DeleteThroughIterator());
    } else {
      ASSERT_NO_FATAL_FAILURE(Clear());
    }
    ASSERT_NO_FATAL_FAILURE(CheckState());
    if (op % kWalkEvery == 0) {
      ASSERT_NO_FATAL_FAILURE(CheckWalks());
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Flags, RBTreeModelTest,
                         ::testing::Values(0, kKrAllowEqualKeys, kKrAllowEqualElements));

}  // namespace
