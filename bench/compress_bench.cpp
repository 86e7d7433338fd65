// Record compression throughput on a record set of the kind the format is
// made for: 64 MiB of 1 KiB records, each a random prefix (16 to 512 bytes)
// followed by zero padding. Every record is compressed and expanded on its
// own, as a record store does, by DScomp/DSdecomp and by zlib's
// compress2 (level 1)/uncompress. Bytes per second count uncompressed bytes.
#include <benchmark/benchmark.h>
#include <zlib.h>

#include <kr/memory.h>

#include <random>
#include <vector>

namespace {

constexpr size_t kRecordSize = 1024;
constexpr size_t kSetSize = 64 << 20;
constexpr size_t kRecords = kSetSize / kRecordSize;
// Room for zlib's worst case of one record.
constexpr size_t kSlotSize = kRecordSize + kRecordSize / 1000 + 64;

std::vector<unsigned char> const& RecordSet() {
  static std::vector<unsigned char> const set = [] {
    std::vector<unsigned char> bytes(kSetSize, 0);
    std::mt19937 random(8);
    for (size_t r = 0; r < kRecords; ++r) {
      size_t const prefix = 16 + random() % 497;
      for (size_t i = 0; i < prefix; ++i) {
        bytes[r * kRecordSize + i] = static_cast<unsigned char>(random());
      }
    }
    return bytes;
  }();
  return set;
}

// The compressed records, one slot each, with their lengths.
struct Packed {
  std::vector<unsigned char> slots = std::vector<unsigned char>(kRecords * kSlotSize);
  std::vector<int> lengths = std::vector<int>(kRecords);
};

bool PackWithDScomp(Packed* packed) {
  unsigned char* set = const_cast<unsigned char*>(RecordSet().data());
  for (size_t r = 0; r < kRecords; ++r) {
    int length = static_cast<int>(kRecordSize);
    if (DScomp(set + r * kRecordSize, static_cast<int>(kRecordSize),
               packed->slots.data() + r * kSlotSize, &length) != 0) {
      return false;
    }
    packed->lengths[r] = length;
  }
  return true;
}

bool PackWithZlib(Packed* packed) {
  for (size_t r = 0; r < kRecords; ++r) {
    uLongf length = kSlotSize;
    if (compress2(packed->slots.data() + r * kSlotSize, &length,
                  RecordSet().data() + r * kRecordSize, kRecordSize, 1) != Z_OK) {
      return false;
    }
    packed->lengths[r] = static_cast<int>(length);
  }
  return true;
}

void Report(benchmark::State& state, Packed const& packed) {
  double total = 0;
  for (int length : packed.lengths) total += length;
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kSetSize));
  state.counters["packed%"] = 100.0 * total / kSetSize;
}

void BM_DScomp(benchmark::State& state) {
  Packed packed;
  for (auto _ : state) {
    if (!PackWithDScomp(&packed)) state.SkipWithError("a record did not compress");
  }
  Report(state, packed);
}
BENCHMARK(BM_DScomp)->Unit(benchmark::kMillisecond);

void BM_ZlibCompress2Level1(benchmark::State& state) {
  Packed packed;
  for (auto _ : state) {
    if (!PackWithZlib(&packed)) state.SkipWithError("compress2 failed");
  }
  Report(state, packed);
}
BENCHMARK(BM_ZlibCompress2Level1)->Unit(benchmark::kMillisecond);

void BM_DSdecomp(benchmark::State& state) {
  Packed packed;
  if (!PackWithDScomp(&packed)) state.SkipWithError("a record did not compress");
  std::vector<unsigned char> out(kSetSize);
  for (auto _ : state) {
    for (size_t r = 0; r < kRecords; ++r) {
      int length = static_cast<int>(kRecordSize);
      DSdecomp(packed.slots.data() + r * kSlotSize, packed.lengths[r],
               out.data() + r * kRecordSize, &length);
    }
    benchmark::ClobberMemory();
  }
  if (out != RecordSet()) state.SkipWithError("expansion differs from the records");
  Report(state, packed);
}
BENCHMARK(BM_DSdecomp)->Unit(benchmark::kMillisecond);

void BM_ZlibUncompress(benchmark::State& state) {
  Packed packed;
  if (!PackWithZlib(&packed)) state.SkipWithError("compress2 failed");
  std::vector<unsigned char> out(kSetSize);
  for (auto _ : state) {
    for (size_t r = 0; r < kRecords; ++r) {
      uLongf length = kRecordSize;
      uncompress(out.data() + r * kRecordSize, &length, packed.slots.data() + r * kSlotSize,
                 static_cast<uLong>(packed.lengths[r]));
    }
    benchmark::ClobberMemory();
  }
  if (out != RecordSet()) state.SkipWithError("expansion differs from the records");
  Report(state, packed);
}
BENCHMARK(BM_ZlibUncompress)->Unit(benchmark::kMillisecond);

// Memory bandwidth for scale: copying the record set once.
void BM_Memcpy(benchmark::State& state) {
  std::vector<unsigned char> out(kSetSize);
  for (auto _ : state) {
    std::copy(RecordSet().begin(), RecordSet().end(), out.begin());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kSetSize));
}
BENCHMARK(BM_Memcpy)->Unit(benchmark::kMillisecond);

}  // namespace
