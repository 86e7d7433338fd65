// Appending to a memory file (Put at the logical end) against appending to a
// std::vector<unsigned char> with insert at its end: 4 MiB per run, in pieces
// of a fixed size (1 or 16 bytes) or of random sizes (1 to 16, 1 to 4096).
// Each run starts from an empty file or vector, so the growth policy (the
// memory file's segment doubling, the vector's capacity doubling) is part of
// what is measured. The piece sizes and the source bytes are made before
// timing; every run checks the bytes appended.
#include <kr/memory.h>

#include <cstring>
#include <random>
#include <vector>

#include "bench_support.h"

namespace {

long Total() { return kr_bench::Scaled(4L << 20, 64L << 10); }
constexpr long kLargestPiece = 4096;

// The sizes of the pieces of one run, from `smallest` to `largest` bytes.
std::vector<long> Pieces(long smallest, long largest) {
  std::vector<long> sizes;
  std::mt19937 random(3);
  for (long total = 0; total < Total();) {
    long const size = smallest + static_cast<long>(random() % (largest - smallest + 1));
    sizes.push_back(size);
    total += size;
  }
  return sizes;
}

// A source of varied bytes; piece i starts at offset (i * 7) % 256 of it.
std::vector<unsigned char> const& Source() {
  static std::vector<unsigned char> const bytes = [] {
    std::vector<unsigned char> b(kLargestPiece + 256);
    for (size_t i = 0; i < b.size(); ++i) b[i] = static_cast<unsigned char>(i * 131 + 7);
    return b;
  }();
  return bytes;
}

unsigned char const* PieceSource(size_t i) { return Source().data() + (i * 7) % 256; }

// The bytes a run must produce, for the check.
std::vector<unsigned char> Expected(std::vector<long> const& pieces) {
  std::vector<unsigned char> bytes;
  for (size_t i = 0; i < pieces.size(); ++i) {
    bytes.insert(bytes.end(), PieceSource(i), PieceSource(i) + pieces[i]);
  }
  return bytes;
}

void Ours(benchmark::State& state, long smallest, long largest) {
  std::vector<long> const pieces = Pieces(smallest, largest);
  std::vector<unsigned char> const expected = Expected(pieces);
  bool same = true;
  for (auto _ : state) {
    MemFile file(0, 1);
    for (size_t i = 0; i < pieces.size(); ++i) file.Put(PieceSource(i), file.logicalSize, pieces[i]);
    benchmark::DoNotOptimize(file.buffer);
    same = same && file.logicalSize == static_cast<long>(expected.size()) &&
           std::memcmp(file.buffer, expected.data(), expected.size()) == 0;
  }
  if (!same) state.SkipWithError("the file does not hold the appended bytes");
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(expected.size()));
}

void Vector(benchmark::State& state, long smallest, long largest) {
  std::vector<long> const pieces = Pieces(smallest, largest);
  std::vector<unsigned char> const expected = Expected(pieces);
  bool same = true;
  for (auto _ : state) {
    std::vector<unsigned char> vector;
    for (size_t i = 0; i < pieces.size(); ++i) {
      vector.insert(vector.end(), PieceSource(i), PieceSource(i) + pieces[i]);
    }
    benchmark::DoNotOptimize(vector.data());
    same = same && vector == expected;
  }
  if (!same) state.SkipWithError("the vector does not hold the appended bytes");
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(expected.size()));
}

struct Case {
  char const* name;
  long smallest, largest;
};

int const registered = [] {
  for (Case const c : {Case{"memfile_append_1", 1, 1}, Case{"memfile_append_16", 16, 16},
                       Case{"memfile_append_1to16", 1, 16},
                       Case{"memfile_append_1to4096", 1, kLargestPiece}}) {
    kr_bench::Register(c.name, "ours", [c](benchmark::State& s) { Ours(s, c.smallest, c.largest); })
        ->Unit(benchmark::kMicrosecond);
    kr_bench::Register(c.name, "vector",
                       [c](benchmark::State& s) { Vector(s, c.smallest, c.largest); })
        ->Unit(benchmark::kMicrosecond);
  }
  return 0;
}();

}  // namespace
