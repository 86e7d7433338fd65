// Appending to a memory file (Put at the logical end) against appending to a
// std::vector<unsigned char> with insert at its end: 4 MiB per run, in pieces
// of a fixed size from 1 byte to 4 KiB, or of random sizes in that range.
// Each run starts from an empty file or vector, so the growth policy (the
// memory file's segment doubling, the vector's capacity doubling) is part of
// what is measured. Bytes per second count appended bytes.
#include <benchmark/benchmark.h>

#include <kr/memory.h>

#include <random>
#include <vector>

namespace {

constexpr long kTotal = 4 << 20;
constexpr long kLargestPiece = 4096;

// The sizes of the pieces of one run: all `piece` bytes, or random sizes
// from 1 to 4096 when `piece` is 0.
std::vector<long> Pieces(long piece) {
  std::vector<long> sizes;
  std::mt19937 random(3);
  for (long total = 0; total < kTotal;) {
    long const size = piece ? piece : 1 + static_cast<long>(random() % kLargestPiece);
    sizes.push_back(size);
    total += size;
  }
  return sizes;
}

std::vector<unsigned char> const& Source() {
  static std::vector<unsigned char> const bytes(kLargestPiece, 0x5A);
  return bytes;
}

void BM_MemFileAppend(benchmark::State& state) {
  std::vector<long> const pieces = Pieces(state.range(0));
  long appended = 0;
  for (auto _ : state) {
    MemFile file(0, 1);
    for (long size : pieces) file.Put(Source().data(), file.logicalSize, size);
    benchmark::DoNotOptimize(file.buffer);
    appended += file.logicalSize;
  }
  state.SetBytesProcessed(appended);
}

void BM_VectorInsert(benchmark::State& state) {
  std::vector<long> const pieces = Pieces(state.range(0));
  long appended = 0;
  for (auto _ : state) {
    std::vector<unsigned char> vector;
    for (long size : pieces) vector.insert(vector.end(), Source().data(), Source().data() + size);
    benchmark::DoNotOptimize(vector.data());
    appended += static_cast<long>(vector.size());
  }
  state.SetBytesProcessed(appended);
}

// Piece sizes 1, 16, 256 and 4096 bytes; 0 means random sizes from 1 to 4096.
void PieceSizes(benchmark::internal::Benchmark* b) {
  for (long piece : {1L, 16L, 256L, 4096L, 0L}) b->Arg(piece);
}

}  // namespace

BENCHMARK(BM_MemFileAppend)->Apply(PieceSizes)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_VectorInsert)->Apply(PieceSizes)->Unit(benchmark::kMillisecond);
