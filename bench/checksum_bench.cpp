// CRC-32 throughput: CalcCheckSum against zlib's crc32 on the same bytes, from
// a short record to a large file. The data are made before timing; each run
// checks that both give the same checksum.
#include <zlib.h>

#include <kr/memory.h>

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
  return 0;
}();

}  // namespace
