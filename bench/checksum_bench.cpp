// CRC-32 throughput: CalcCheckSum (and its sliced table loop alone) against
// zlib's crc32, at sizes from a short record to a large file.
#include <benchmark/benchmark.h>
#include <zlib.h>

#include <kr/memory.h>

#include <random>
#include <vector>

#include "memory/crc32.h"

namespace {

std::vector<unsigned char> const& Data() {
  static std::vector<unsigned char> const data = [] {
    std::vector<unsigned char> bytes(64 << 20);
    std::mt19937 random(7);
    for (auto& byte : bytes) byte = static_cast<unsigned char>(random());
    return bytes;
  }();
  return data;
}

void Sizes(benchmark::internal::Benchmark* bench) {
  for (long size : {64L, 4L << 10, 1L << 20, 64L << 20}) bench->Arg(size);
}

void BM_CalcCheckSum(benchmark::State& state) {
  unsigned char* data = const_cast<unsigned char*>(Data().data());
  unsigned long const size = static_cast<unsigned long>(state.range(0));
  for (auto _ : state) benchmark::DoNotOptimize(CalcCheckSum(data, size, nullptr));
  state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_CalcCheckSum)->Apply(Sizes);

void BM_Crc32SlicedOnly(benchmark::State& state) {
  size_t const size = static_cast<size_t>(state.range(0));
  for (auto _ : state) {
    benchmark::DoNotOptimize(kr_detail::Crc32Sliced(0xFFFFFFFFu, Data().data(), size));
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_Crc32SlicedOnly)->Apply(Sizes);

void BM_ZlibCrc32(benchmark::State& state) {
  uInt const size = static_cast<uInt>(state.range(0));
  for (auto _ : state) benchmark::DoNotOptimize(crc32(0, Data().data(), size));
  state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_ZlibCrc32)->Apply(Sizes);

}  // namespace
