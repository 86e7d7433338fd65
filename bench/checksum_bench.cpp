// CRC-32 throughput: CalcCheckSum against zlib's crc32 on the same bytes, from
// a short record to a large file, and, for the large file, against reading
// its bytes once and doing nothing else (the memory bandwidth that bounds any
// checksum of data not in the cache). The data are made before timing; each
// run checks its result.
#include <zlib.h>

#include <kr/memory.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "bench_support.h"

namespace {

std::vector<unsigned char>& Data() {
  static std::vector<unsigned char> data = [] {
    std::vector<unsigned char> bytes(kr_bench::Scaled<size_t>(16 << 20, 64 << 10));
    std::mt19937 random(7);
    for (auto& byte : bytes) byte = static_cast<unsigned char>(random());
    return bytes;
  }();
  return data;
}

void Ours(benchmark::State& state, size_t size) {
  unsigned char* data = Data().data();
  unsigned long sum = 0;
  for (auto _ : state) benchmark::DoNotOptimize(sum = CalcCheckSum(data, size, nullptr));
  if (sum != crc32(0, data, static_cast<uInt>(size))) state.SkipWithError("checksum differs");
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(size));
}

void Zlib(benchmark::State& state, size_t size) {
  unsigned char const* data = Data().data();
  uLong sum = 0;
  for (auto _ : state) benchmark::DoNotOptimize(sum = crc32(0, data, static_cast<uInt>(size)));
  if (sum != CalcCheckSum(Data().data(), size, nullptr)) state.SkipWithError("checksum differs");
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(size));
}

// XOR of all 64-byte blocks of the data, eight independent lanes wide, in
// the widest registers this processor has. Requires: size is a multiple of 64.
__attribute__((target_clones("avx512f", "avx2", "default")))
uint64_t XorBlocks(unsigned char const* data, size_t size) {
  typedef uint64_t Block __attribute__((vector_size(64)));
  Block sum = {};
  for (size_t at = 0; at < size; at += sizeof(Block)) {
    Block block;
    std::memcpy(&block, data + at, sizeof block);
    sum ^= block;
  }
  uint64_t folded = 0;
  for (int lane = 0; lane < 8; ++lane) folded ^= sum[lane];
  return folded;
}

void MemoryRead(benchmark::State& state, size_t size) {
  unsigned char const* data = Data().data();
  uint64_t sum = 0;
  for (auto _ : state) benchmark::DoNotOptimize(sum = XorBlocks(data, size));
  uint64_t expected = 0;
  for (size_t at = 0; at < size; at += 8) {
    uint64_t word;
    std::memcpy(&word, data + at, sizeof word);
    expected ^= word;
  }
  if (sum != expected) state.SkipWithError("the XOR of the data differs");
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(size));
}

int const registered = [] {
  Data();
  struct Case {
    char const* name;
    size_t size;
  };
  for (Case const c : {Case{"crc_64", 64}, Case{"crc_4k", 4 << 10}, Case{"crc_64k", 64 << 10},
                       Case{"crc_16m", 16 << 20}}) {
    size_t const size = std::min(c.size, Data().size());
    kr_bench::Register(c.name, "ours", [size](benchmark::State& s) { Ours(s, size); });
    kr_bench::Register(c.name, "zlib", [size](benchmark::State& s) { Zlib(s, size); });
  }
  size_t const large = std::min<size_t>(16 << 20, Data().size());
  kr_bench::Register("crc_16m", "memread", [large](benchmark::State& s) { MemoryRead(s, large); });
  return 0;
}();

}  // namespace
