// The red-black tree against std::multiset<int>: inserting and finding
// 1,000,000 4-byte keys in random order (and inserting them ascending), and
// the memory each holds per element.
//
// The tree is used as callers use it: one one-entry container as the probe,
// pointed at each key in turn, and a compare function called through the
// container. Memory is counted two ways: bytes requested (the cache's blocks
// from its block count; the multiset's node allocations) and bytes the heap
// spends on them (malloc's usable size plus its chunk header).
#include <benchmark/benchmark.h>
#include <kr/containers.h>
#include <malloc.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <numeric>
#include <random>
#include <set>
#include <vector>

namespace {

const int kElements = 1000000;
const std::size_t kChunkHeader = sizeof(std::size_t);

std::vector<int> Keys(bool shuffled) {
  std::vector<int> keys(kElements);
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

using IntMultiset = std::multiset<int, std::less<int>, CountingAllocator<int>>;

void BM_KrRBTreeInsert(benchmark::State& state) {
  std::vector<int> keys = Keys(state.range(0) != 0);
  double requested = 0, heap = 0;
  for (auto _ : state) {
    IntTree tree(static_cast<unsigned long>(state.range(1)));
    Fill(tree, keys);
    state.PauseTiming();
    TreeMemory(tree, requested, heap);
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * kElements);
  state.counters["bytes/element"] = requested;
  state.counters["heap bytes/element"] = heap;
}
// Arguments: shuffled keys?, entries per block (0: the default ~500-byte blocks).
BENCHMARK(BM_KrRBTreeInsert)
    ->Args({1, 0})
    ->Args({1, 4096})
    ->Args({0, 0})
    ->Iterations(3)
    ->Unit(benchmark::kMillisecond);

void BM_MultisetInsert(benchmark::State& state) {
  std::vector<int> keys = Keys(state.range(0) != 0);
  Usage usage;
  for (auto _ : state) {
    gUsage = Usage();
    IntMultiset set;
    for (int key : keys) set.insert(key);
    usage = gUsage;
  }
  state.SetItemsProcessed(state.iterations() * kElements);
  state.counters["bytes/element"] = static_cast<double>(usage.requested) / kElements;
  state.counters["heap bytes/element"] = static_cast<double>(usage.heap) / kElements;
}
BENCHMARK(BM_MultisetInsert)->Arg(1)->Arg(0)->Iterations(3)->Unit(benchmark::kMillisecond);

void BM_KrRBTreeFind(benchmark::State& state) {
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
  if (found != state.iterations() * kElements) state.SkipWithError("a key was not found");
  state.SetItemsProcessed(state.iterations() * kElements);
}
BENCHMARK(BM_KrRBTreeFind)->Iterations(3)->Unit(benchmark::kMillisecond);

void BM_MultisetFind(benchmark::State& state) {
  std::vector<int> keys = Keys(true);
  IntMultiset set(keys.begin(), keys.end());
  std::shuffle(keys.begin(), keys.end(), std::mt19937(7));
  long found = 0;
  for (auto _ : state) {
    for (int key : keys) found += set.find(key) != set.end();
  }
  if (found != state.iterations() * kElements) state.SkipWithError("a key was not found");
  state.SetItemsProcessed(state.iterations() * kElements);
}
BENCHMARK(BM_MultisetFind)->Iterations(3)->Unit(benchmark::kMillisecond);

}  // namespace
