// Sorting 8-byte elements in place: KrLList::Sort (1,000,000 elements) and
// KrCList::Sort (32,767, its limit) against qsort on the same data with the
// same compare function. The elements are distinct and in random order;
// each run first restores that order (untimed).
#include <benchmark/benchmark.h>

#include <kr/arrays.h>
#include <kr/memory.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <numeric>
#include <random>
#include <vector>

namespace {

constexpr unsigned short kWidth = sizeof(uint64_t);

// The one comparison both sorts make.
int CompareKeys(void const* a, void const* b) {
  uint64_t x, y;
  std::memcpy(&x, a, sizeof x);
  std::memcpy(&y, b, sizeof y);
  return (x > y) - (x < y);
}

int CompareElements(KrVArray const*, void* a, void* b) { return CompareKeys(a, b); }

// `n` distinct values (multiples of an odd constant, so no two are equal)
// in random order.
std::vector<uint64_t> DistinctInRandomOrder(long n) {
  std::vector<uint64_t> values(static_cast<std::size_t>(n));
  std::iota(values.begin(), values.end(), uint64_t{1});
  for (uint64_t& v : values) v *= 0x9E3779B97F4A7C15ull;
  std::shuffle(values.begin(), values.end(), std::mt19937_64(7));
  return values;
}

template <typename List>
void RunSort(benchmark::State& state, List& list, unsigned char* storage) {
  std::vector<uint64_t> const data = DistinctInRandomOrder(state.range(0));
  for (uint64_t const& value : data) list.Insert(list.count, &value);
  for (auto _ : state) {
    state.PauseTiming();
    std::memcpy(storage, data.data(), data.size() * kWidth);
    state.ResumeTiming();
    benchmark::DoNotOptimize(list.Sort(0));
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_LListSort(benchmark::State& state) {
  KrLList list(kWidth, static_cast<unsigned long>(state.range(0)), nullptr);
  list.compare = CompareElements;
  RunSort(state, list, list.memFile->buffer);
}

void BM_CListSort(benchmark::State& state) {
  KrCList list(kWidth, static_cast<int>(state.range(0)), nullptr);
  list.compare = CompareElements;
  RunSort(state, list, list.buffer);
}

void BM_Qsort(benchmark::State& state) {
  std::vector<uint64_t> const data = DistinctInRandomOrder(state.range(0));
  std::vector<uint64_t> values(data.size());
  for (auto _ : state) {
    state.PauseTiming();
    values = data;
    state.ResumeTiming();
    std::qsort(values.data(), values.size(), kWidth, CompareKeys);
    benchmark::DoNotOptimize(values.data());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

}  // namespace

BENCHMARK(BM_LListSort)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CListSort)->Arg(32767)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Qsort)->Arg(1000000)->Arg(32767)->Unit(benchmark::kMillisecond);
