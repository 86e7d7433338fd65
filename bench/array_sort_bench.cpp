// Sorting 8-byte keys in place: KrLList::Sort (and KrCList::Sort at its
// 32767-element limit) against glibc's qsort with the same compare function,
// and std::sort with the comparison inlined, on the same data: random
// distinct keys, sorted and reverse-sorted keys, and keys with 100 distinct
// values. Each run restores the input untimed and checks the result against
// std::sort's.
#include <kr/arrays.h>
#include <kr/memory.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <numeric>
#include <random>
#include <vector>

#include "bench_support.h"

namespace {

constexpr unsigned short kWidth = sizeof(uint64_t);

// The one comparison every side makes.
int CompareKeys(void const* a, void const* b) {
  uint64_t x, y;
  std::memcpy(&x, a, sizeof x);
  std::memcpy(&y, b, sizeof y);
  return (x > y) - (x < y);
}

int CompareElements(KrVArray const*, void* a, void* b) { return CompareKeys(a, b); }

enum class Shape { kRandom, kSorted, kReverse, kFewDistinct };

std::vector<uint64_t> Keys(Shape shape, long n) {
  std::vector<uint64_t> keys(static_cast<size_t>(n));
  std::iota(keys.begin(), keys.end(), uint64_t{1});
  for (uint64_t& k : keys) k *= 0x9E3779B97F4A7C15ull;  // distinct, in no order
  std::mt19937_64 random(7);
  switch (shape) {
    case Shape::kRandom:
      std::shuffle(keys.begin(), keys.end(), random);
      break;
    case Shape::kSorted:
      std::sort(keys.begin(), keys.end());
      break;
    case Shape::kReverse:
      std::sort(keys.rbegin(), keys.rend());
      break;
    case Shape::kFewDistinct:
      for (uint64_t& k : keys) k = random() % 100;
  }
  return keys;
}

// Sorts `data` in place once per run, from `input` restored untimed.
template <typename SortOnce>
void Run(benchmark::State& state, std::vector<uint64_t> const& input, uint64_t* data,
         SortOnce sort) {
  std::vector<uint64_t> expected = input;
  std::sort(expected.begin(), expected.end());
  bool same = true;
  for (auto _ : state) {
    state.PauseTiming();
    std::memcpy(data, input.data(), input.size() * kWidth);
    state.ResumeTiming();
    sort();
    state.PauseTiming();
    same = same && std::memcmp(data, expected.data(), input.size() * kWidth) == 0;
    state.ResumeTiming();
  }
  if (!same) state.SkipWithError("the result is not sorted");
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(input.size()));
}

void LListSort(benchmark::State& state, Shape shape, long n) {
  std::vector<uint64_t> const input = Keys(shape, n);
  KrLList list(kWidth, static_cast<unsigned long>(n), nullptr);
  list.compare = CompareElements;
  for (uint64_t const& key : input) list.Insert(list.count, &key);
  Run(state, input, reinterpret_cast<uint64_t*>(list.memFile->buffer), [&] { list.Sort(0); });
}

void CListSort(benchmark::State& state, Shape shape, long n) {
  std::vector<uint64_t> const input = Keys(shape, n);
  KrCList list(kWidth, static_cast<int>(n), nullptr);
  list.compare = CompareElements;
  for (uint64_t const& key : input) list.Insert(list.count, &key);
  Run(state, input, reinterpret_cast<uint64_t*>(list.buffer), [&] { list.Sort(0); });
}

void Qsort(benchmark::State& state, Shape shape, long n) {
  std::vector<uint64_t> const input = Keys(shape, n);
  std::vector<uint64_t> values(input.size());
  Run(state, input, values.data(), [&] { std::qsort(values.data(), values.size(), kWidth, CompareKeys); });
}

void StdSort(benchmark::State& state, Shape shape, long n) {
  std::vector<uint64_t> const input = Keys(shape, n);
  std::vector<uint64_t> values(input.size());
  Run(state, input, values.data(), [&] { std::sort(values.begin(), values.end()); });
}

int const registered = [] {
  long const million = kr_bench::Scaled(1000000L, 5000L);
  long const twenty = kr_bench::Scaled(20000L, 2000L);
  long const limit = kr_bench::Scaled(32767L, 2000L);
  struct Case {
    char const* name;
    Shape shape;
    long n;
  };
  for (Case const c : {Case{"sort_random_1e6", Shape::kRandom, million},
                       Case{"sort_sorted_2e4", Shape::kSorted, twenty},
                       Case{"sort_sorted_1e6", Shape::kSorted, million},
                       Case{"sort_reverse_2e4", Shape::kReverse, twenty},
                       Case{"sort_few_distinct_1e6", Shape::kFewDistinct, million}}) {
    kr_bench::Register(c.name, "ours", [c](benchmark::State& s) { LListSort(s, c.shape, c.n); })
        ->Unit(benchmark::kMillisecond);
    kr_bench::Register(c.name, "qsort", [c](benchmark::State& s) { Qsort(s, c.shape, c.n); })
        ->Unit(benchmark::kMillisecond);
    if (c.shape == Shape::kRandom) {
      kr_bench::Register(c.name, "std_sort", [c](benchmark::State& s) { StdSort(s, c.shape, c.n); })
          ->Unit(benchmark::kMillisecond);
    }
  }
  kr_bench::Register("sort_clist_random_32767", "ours",
                     [limit](benchmark::State& s) { CListSort(s, Shape::kRandom, limit); })
      ->Unit(benchmark::kMillisecond);
  kr_bench::Register("sort_clist_random_32767", "qsort",
                     [limit](benchmark::State& s) { Qsort(s, Shape::kRandom, limit); })
      ->Unit(benchmark::kMillisecond);
  return 0;
}();

}  // namespace
