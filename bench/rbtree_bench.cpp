// The red-black tree against std::multiset<int>: inserting 1,000,000 4-byte
// keys ascending (the multiset with the end as its hint) and in random
// order, and finding them in random order; and the memory each holds per
// element.
//
// The tree is used as callers use it: one one-entry container as the probe,
// pointed at each key in turn, and a compare function called through the
// container. Memory is counted two ways: bytes requested (the cache's blocks
// from its block count; the multiset's node allocations) and bytes the heap
// spends on them (malloc's usable size plus its chunk header).
#include <kr/containers.h>
#include <malloc.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <numeric>
#include <random>
#include <set>
#include <vector>

#include "bench_support.h"

namespace {

int Elements() { return kr_bench::Scaled(1000000, 10000); }
const std::size_t kChunkHeader = sizeof(std::size_t);

std::vector<int> Keys(bool shuffled) {
  std::vector<int> keys(static_cast<size_t>(Elements()));
  std::iota(keys.begin(), keys.end(), 0);
  if (shuffled) std::shuffle(keys.begin(), keys.end(), std::mt19937(42));
  return keys;
}

int CompareInts(KrVContainer const*, int& keyComparison, int& order, KrVIterator const*,
                void const* probeKey, void const*, void const* element, KrVParameter*) {
  int probe = *static_cast<int const*>(probeKey);
  int stored = *static_cast<int const*>(element);
  order = probe < stored ? -1 : probe > stored ? 1 : 0;
  keyComparison = order;
  return 0;
}

class IntTree : public KrRBTree {
 public:
  explicit IntTree(unsigned long entriesPerBlock)
      : KrRBTree(sizeof(int), kKrAllowEqualElements, entriesPerBlock) {
    compareElement = CompareInts;
  }
};

// Inserts every key through one reused probe.
void Fill(KrRBTree& tree, std::vector<int> const& keys) {
  KrOneEntryContainer probe(&keys[0], nullptr, 0);
  KrOneEntryIterator at(&probe, nullptr);
  for (int const& key : keys) {
    probe.key = &key;
    tree.InsertElement(&at, nullptr, 0, nullptr);
  }
}

// Bytes held by the tree's node blocks: requested, and spent on the heap.
void TreeMemory(KrRBTree const& tree, double& requested, double& heap) {
  unsigned long blocks = 0;
  std::size_t heapBytes = 0;
  for (char* block = tree.nodeCache.usedBlocks; block; block = *reinterpret_cast<char**>(block)) {
    ++blocks;
    heapBytes += malloc_usable_size(block) + kChunkHeader;
  }
  double blockBytes = static_cast<double>(
      tree.nodeCache.entrySize * tree.nodeCache.entriesPerBlock + kKrEntryCacheLinkSize);
  requested = blocks * blockBytes / tree.count;
  heap = static_cast<double>(heapBytes) / tree.count;
}

// Counts what the multiset's nodes cost.
struct Usage {
  std::size_t requested = 0;
  std::size_t heap = 0;
};
Usage gUsage;

template <typename T>
struct CountingAllocator {
  using value_type = T;
  CountingAllocator() = default;
  template <typename U>
  CountingAllocator(CountingAllocator<U> const&) {}
  T* allocate(std::size_t n) {
    void* p = std::malloc(n * sizeof(T));
    if (!p) throw std::bad_alloc();
    gUsage.requested += n * sizeof(T);
    gUsage.heap += malloc_usable_size(p) + kChunkHeader;
    return static_cast<T*>(p);
  }
  void deallocate(T* p, std::size_t) { std::free(p); }
};
template <typename T, typename U>
bool operator==(CountingAllocator<T> const&, CountingAllocator<U> const&) {
  return true;
}
template <typename T, typename U>
bool operator!=(CountingAllocator<T> const&, CountingAllocator<U> const&) {
  return false;
}

// Timed runs use the plain multiset; its memory is counted in one more,
// untimed run with the counting allocator.
using IntMultiset = std::multiset<int>;
using CountedMultiset = std::multiset<int, std::less<int>, CountingAllocator<int>>;

template <typename Set>
void InsertAll(Set& set, std::vector<int> const& keys, bool shuffled) {
  if (shuffled) {
    for (int key : keys) set.insert(key);
  } else {
    for (int key : keys) set.insert(set.end(), key);
  }
}

bool Ascending(KrRBTree& tree, std::vector<int> const& sorted) {
  KrRBTreeIterator walk(&tree, nullptr);
  int status = 0;
  size_t i = 0;
  for (int step = walk.First(); step == 0; step = walk.Next(), ++i) {
    if (i >= sorted.size() || *static_cast<int const*>(walk.GetElement(status, nullptr)) != sorted[i]) {
      return false;
    }
  }
  return i == sorted.size() && tree.CheckTree(nullptr) == 0;
}

bool SetAscending(IntMultiset const& set, std::vector<int> const& sorted) {
  return std::equal(set.begin(), set.end(), sorted.begin(), sorted.end());
}

// Inserting every key; `shuffled` chooses random or ascending order. Each run
// checks the order it built (untimed).
void TreeInsert(benchmark::State& state, bool shuffled) {
  std::vector<int> const keys = Keys(shuffled), sorted = Keys(false);
  double requested = 0, heap = 0;
  bool ok = true;
  for (auto _ : state) {
    IntTree tree(0);
    Fill(tree, keys);
    state.PauseTiming();
    TreeMemory(tree, requested, heap);
    ok = ok && Ascending(tree, sorted);
    state.ResumeTiming();
  }
  if (!ok) state.SkipWithError("the tree does not hold the keys in order");
  state.SetItemsProcessed(state.iterations() * Elements());
  state.counters["bytes/element"] = requested;
  state.counters["heap bytes/element"] = heap;
}

// The multiset's inserts: ascending keys with the end as the hint, as an
// append does; random keys plainly.
void MultisetInsert(benchmark::State& state, bool shuffled) {
  std::vector<int> const keys = Keys(shuffled), sorted = Keys(false);
  bool ok = true;
  for (auto _ : state) {
    IntMultiset set;
    InsertAll(set, keys, shuffled);
    state.PauseTiming();
    ok = ok && SetAscending(set, sorted);
    state.ResumeTiming();
  }
  if (!ok) state.SkipWithError("the multiset does not hold the keys in order");
  gUsage = Usage();
  {
    CountedMultiset counted;
    InsertAll(counted, keys, shuffled);
  }
  Usage const usage = gUsage;
  state.SetItemsProcessed(state.iterations() * Elements());
  state.counters["bytes/element"] = static_cast<double>(usage.requested) / Elements();
  state.counters["heap bytes/element"] = static_cast<double>(usage.heap) / Elements();
}

void TreeFind(benchmark::State& state) {
  std::vector<int> keys = Keys(true);
  IntTree tree(0);
  Fill(tree, keys);
  std::shuffle(keys.begin(), keys.end(), std::mt19937(7));
  KrOneEntryContainer probe(&keys[0], nullptr, 0);
  KrOneEntryIterator at(&probe, nullptr);
  long found = 0;
  for (auto _ : state) {
    for (int const& key : keys) {
      probe.key = &key;
      found += tree.SearchElement(&at, nullptr, 0, nullptr, nullptr) == 0;
    }
  }
  if (found != state.iterations() * Elements()) state.SkipWithError("a key was not found");
  state.SetItemsProcessed(state.iterations() * Elements());
}

void MultisetFind(benchmark::State& state) {
  std::vector<int> keys = Keys(true);
  IntMultiset set(keys.begin(), keys.end());
  std::shuffle(keys.begin(), keys.end(), std::mt19937(7));
  long found = 0;
  for (auto _ : state) {
    for (int key : keys) found += set.find(key) != set.end();
  }
  if (found != state.iterations() * Elements()) state.SkipWithError("a key was not found");
  state.SetItemsProcessed(state.iterations() * Elements());
}

int const registered = [] {
  int const runs = kr_bench::Scaled(5, 1);
  auto each = [runs](benchmark::internal::Benchmark* bench) {
    bench->Iterations(runs)->Unit(benchmark::kMillisecond);
  };
  each(kr_bench::Register("tree_ascending_1e6", "ours", [](benchmark::State& s) { TreeInsert(s, false); }));
  each(kr_bench::Register("tree_ascending_1e6", "multiset",
                          [](benchmark::State& s) { MultisetInsert(s, false); }));
  each(kr_bench::Register("tree_random_insert_1e6", "ours",
                          [](benchmark::State& s) { TreeInsert(s, true); }));
  each(kr_bench::Register("tree_random_insert_1e6", "multiset",
                          [](benchmark::State& s) { MultisetInsert(s, true); }));
  each(kr_bench::Register("tree_random_find_1e6", "ours", TreeFind));
  each(kr_bench::Register("tree_random_find_1e6", "multiset", MultisetFind));
  return 0;
}();

}  // namespace
