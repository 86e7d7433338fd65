// Red-black trees (flags 0, 0x0001 or 0x0002) under inserts, searches with every combination of
// mode bits, deletions, walks and clears, against an ordered vector; after every step the tree's
// invariants and counters. The walk both ways pins the place of every fully equal element.
#include <kr/containers.h>

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "fuzz_input.h"
#include "tree_test_support.h"

namespace {

using kr_fuzz::FuzzInput;
using namespace kr_test;

constexpr long kNone = -1000;

struct Entry {
  Item item;
  KrRBTreeNode* node;
};

bool Less(Entry const& a, Entry const& b) {
  return a.item.key != b.item.key ? a.item.key < b.item.key : a.item.payload < b.item.payload;
}

class TreeRun {
 public:
  TreeRun(FuzzInput& in, unsigned short flags) : in_(in), tree_(flags) { Calls() = ElementCalls(); }

  void Step() {
    unsigned const choice = in_.Pick(100);
    if (choice < (Size() < 100 ? 45 : 25)) Insert();
    else if (choice < 70) Search();
    else if (choice < 88) Delete();
    else if (choice < 97) DeleteThroughIterator();
    else if (choice < 99) Walk();
    else Clear();
    CheckState();
  }

 private:
  long Size() const { return static_cast<long>(model_.size()); }
  long Pick(long below) { return static_cast<long>(in_.Pick(static_cast<unsigned>(below))); }
  // A value, most often one that is in the tree.
  Item Value() {
    if (!model_.empty() && in_.Coin()) return model_[Pick(Size())].item;
    return {static_cast<int>(Pick(40)), static_cast<int>(Pick(3)), 0};
  }
  unsigned short Mode() {  // any combination of 0x0010, 0x0020, 0x0040, 0x0100, 0x0200
    unsigned const bits = in_.Byte();
    return static_cast<unsigned short>((bits & 0x07) << 4 | (bits & 0x18) << 5);
  }
  // The run of elements equal to v: [first, end).
  std::pair<long, long> Equal(Item const& v) const {
    auto const run = std::equal_range(model_.begin(), model_.end(), Entry{v, nullptr}, Less);
    return {run.first - model_.begin(), run.second - model_.begin()};
  }

  // The iterator stands on model[index], or past the end it says so.
  void CheckAt(KrRBTreeIterator const& it, long index) const {
    int status = 0;
    if (index < 0 || index >= Size()) KR_FUZZ_CHECK(it.status == (index < 0 ? -521 : -522));
    else KR_FUZZ_CHECK(it.GetEntry(status, nullptr) == model_[index].node);
  }
  void CheckNeighbours(KrRBTreeIterator const& it, long index) const {
    KrRBTreeIterator next(it), prior(it);
    next.Next();
    prior.Prior();
    CheckAt(next, index + 1);
    CheckAt(prior, index - 1);
  }
  // A change makes the iterator kept from before it answer -513.
  void Changed() {
    ++changes_;
    if (stale_) KR_FUZZ_CHECK(stale_->Next() == kKrContainerChanged);
    stale_.reset();
  }

  void Insert() {
    Item v = Value();
    v.serial = ++serials_;
    bool const before = in_.Coin();
    auto const [first, end] = Equal(v);
    bool const sameKey = std::any_of(model_.begin(), model_.end(),
                                     [&](Entry const& e) { return e.item.key == v.key; });
    bool const admitted = (tree_.flags & 2) || ((tree_.flags & 1) ? first == end : !sameKey);
    unsigned short const mode = static_cast<unsigned short>((Mode() & ~0x0100) | (before ? 4 : 0));
    int const compares = Calls().compares;
    KR_FUZZ_CHECK(kr_test::Insert(tree_, v, mode) == (admitted ? 0 : -512));
    // Past the greatest element: one comparison, with `last`.
    if (!model_.empty() && first == Size()) KR_FUZZ_CHECK(Calls().compares == compares + 1);
    if (!admitted) {
      KR_FUZZ_CHECK(Calls().destroyed.back() == v.serial);
      return;
    }
    model_.insert(model_.begin() + (before ? first : end), Entry{v, LastInserted()});
    duplicates_ = duplicates_ || sameKey;
    Changed();
  }

  void Search() {
    Item const v = Value();
    unsigned short const mode = Mode();
    auto const [first, end] = Equal(v);
    KrRBTreeParameter parameter;
    if (in_.Coin() && !model_.empty()) {
      long const at = first < end && in_.Coin() ? first + Pick(end - first) : Pick(Size());
      parameter.entry = model_[at].node;
    }
    int result = 0;
    long expected;  // model index, or past the ends, or kNone
    int const missStatus = mode & 0x40 ? -522 : mode & 0x20 ? -521 : mode & 0x100 ? -522 : -523;
    if (first == end) {
      result = -510;
      expected = mode & 0x40 ? first : mode & 0x20 ? first - 1 : kNone;
    } else if (!duplicates_ && !(mode & 0x200)) {
      expected = first;  // the only equal element, whatever the entry
    } else if (mode & 0x100) {
      expected = kNone;
      for (long i = first; i < end; ++i)
        if (model_[i].node == parameter.entry) expected = i;
      if (expected == kNone) result = -510;
    } else {
      expected = mode & 0x10 ? end - 1 : first;
    }
    Probe probe(v);
    auto it = std::make_unique<KrRBTreeIterator>(&tree_, nullptr);
    KR_FUZZ_CHECK(tree_.SearchElement(&probe.it, nullptr, mode, &parameter, it.get()) == result);
    KR_FUZZ_CHECK(tree_.SearchElement(&probe.it, nullptr, mode, &parameter, nullptr) == result);
    if (expected == kNone) KR_FUZZ_CHECK(it->status == missStatus);
    else CheckAt(*it, expected);
    if (expected < 0 || expected >= Size()) return;  // kNone, or past an end
    CheckNeighbours(*it, expected);
    if (in_.Coin()) stale_ = std::move(it);  // kept to notice the next change
  }

  void Delete() {
    unsigned short const mode = Mode();
    long at;
    if (in_.Coin() || model_.empty()) {  // by value: the first (last) equal element
      Item const v = Value();
      auto const [first, end] = Equal(v);
      Probe probe(v);
      KR_FUZZ_CHECK(tree_.DeleteElement(&probe.it, nullptr, mode, nullptr) ==
                    (first < end ? 0 : -510));
      if (first == end) return;
      at = mode & 0x10 ? end - 1 : first;
    } else {  // by entry: exactly that one
      at = Pick(Size());
      KR_FUZZ_CHECK(tree_.DeleteEntry(model_[at].node, mode, nullptr) == 0);
    }
    Remove(at);
  }

  void DeleteThroughIterator() {
    if (model_.empty()) return;
    long const at = Pick(Size());
    KrRBTreeParameter parameter;
    parameter.entry = model_[at].node;
    Probe probe(model_[at].item);
    KrRBTreeIterator it(&tree_, nullptr);
    KR_FUZZ_CHECK(tree_.SearchElement(&probe.it, nullptr, 0x0300, &parameter, &it) == 0);
    bool const prior = in_.Coin();
    int const result = it.DeleteElement(prior ? kKrDeleteMoveToPrior : 0, nullptr);
    Remove(at);
    long const neighbour = prior ? at - 1 : at;
    KR_FUZZ_CHECK(result == (neighbour < 0 ? -521 : neighbour >= Size() ? -522 : 0));
    CheckAt(it, neighbour);
    if (result == 0) CheckNeighbours(it, neighbour);
  }

  void Walk() {
    std::vector<int> expected;
    for (Entry const& e : model_) expected.push_back(e.item.serial);
    KR_FUZZ_CHECK(Serials(tree_) == expected);
    KR_FUZZ_CHECK(Serials(tree_, true) == expected);
  }

  void Clear() {
    unsigned long former = 0;
    KR_FUZZ_CHECK(tree_.Clear(nullptr, &former, nullptr) == 0);
    KR_FUZZ_CHECK(former == model_.size());
    model_.clear();
    duplicates_ = false;
    stale_.reset();  // Clear keeps changeCount: an iterator cannot tell
  }

  void Remove(long at) {
    KR_FUZZ_CHECK(Calls().destroyed.back() == model_[at].item.serial);
    model_.erase(model_.begin() + at);
    Changed();
  }

  void CheckState() {
    KR_FUZZ_CHECK(tree_.CheckTree(nullptr) == 0);
    KR_FUZZ_CHECK(tree_.count == model_.size());
    KR_FUZZ_CHECK(tree_.hasDuplicates == (duplicates_ ? 1 : 0));
    KR_FUZZ_CHECK(tree_.changeCount == changes_);
    // Every element ever built is in the tree or was destroyed once.
    KR_FUZZ_CHECK(Calls().destroyed.size() + model_.size() == static_cast<size_t>(serials_));
    KR_FUZZ_CHECK(model_.empty() ? tree_.root == nullptr : tree_.last == model_.back().node);
  }

  FuzzInput& in_;
  ItemTree tree_;
  std::vector<Entry> model_;  // in tree order
  std::unique_ptr<KrRBTreeIterator> stale_;
  bool duplicates_ = false;
  int serials_ = 0;
  unsigned long changes_ = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  FuzzInput in(data, size);
  unsigned short const flags[] = {0, kKrAllowEqualKeys, kKrAllowEqualElements};
  TreeRun run(in, flags[in.Pick(3)]);
  for (int steps = 0; steps < 400 && !in.Done(); ++steps) run.Step();
  return 0;
}
