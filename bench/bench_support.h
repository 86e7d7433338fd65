// What every benchmark of this folder shares.
//
// A comparison is a pair (or more) of benchmarks named "<case>/ours" and
// "<case>/<anchor>" (qsort, zlib, lz4, multiset, ...), run in one process on
// the same prepared data; scripts/bench.sh divides their times and writes
// bench/RESULTS.md from bench/targets.tsv. Data preparation happens outside
// the timed loop, and every benchmark checks its result (the sorted order,
// the checksum, the round trip) and reports a mismatch with SkipWithError,
// which makes the program exit with status 1.
//
// KR_BENCH_SMOKE=1 (CTest's smoke run) shrinks every size and runs each
// benchmark once: the benchmarks keep compiling and keep giving correct
// results; their times then mean nothing.
#ifndef KR_BENCH_BENCH_SUPPORT_H_
#define KR_BENCH_BENCH_SUPPORT_H_

#include <benchmark/benchmark.h>

#include <string>

namespace kr_bench {

// True in the smoke run.
bool Smoke();

// `full`, or `smoke` in the smoke run.
template <typename T>
T Scaled(T full, T smoke) {
  return Smoke() ? smoke : full;
}

// Registers `function` as "<name>/<side>" and returns it for further settings.
template <typename Function>
benchmark::internal::Benchmark* Register(std::string const& name, std::string const& side,
                                         Function function) {
  return benchmark::RegisterBenchmark((name + "/" + side).c_str(), function);
}

}  // namespace kr_bench

#endif  // KR_BENCH_BENCH_SUPPORT_H_
