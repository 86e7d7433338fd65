// Looking up result texts: the binary search over the fixed table, against a
// std::map built from the same texts.
#include <benchmark/benchmark.h>

#include <kr/diag.h>

#include <map>
#include <random>
#include <string>
#include <vector>

namespace {

// Codes known to the table plus a share of unknown ones, in random order.
std::vector<int> Codes() {
  std::vector<int> codes;
  std::mt19937 random(42);
  std::uniform_int_distribution<int> pick(-7400, 9100);
  for (int i = 0; i < 4096; ++i) codes.push_back(pick(random));
  return codes;
}

void BM_KrErrorTextOnly(benchmark::State& state) {
  std::vector<int> codes = Codes();
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(KrError(nullptr, nullptr, codes[i++ & 4095], 1));
  }
}
BENCHMARK(BM_KrErrorTextOnly);

void BM_StdMapLookup(benchmark::State& state) {
  std::vector<int> codes = Codes();
  std::map<int, std::string> texts;
  for (int code = -7400; code <= 9100; ++code) {
    std::string text = KrError(nullptr, nullptr, code, 1);
    if (text != "unknown error") texts.emplace(code, text);
  }
  std::size_t i = 0;
  for (auto _ : state) {
    auto found = texts.find(codes[i++ & 4095]);
    benchmark::DoNotOptimize(found == texts.end() ? nullptr : found->second.c_str());
  }
}
BENCHMARK(BM_StdMapLookup);

void BM_KrErrorFormatted(benchmark::State& state) {
  std::vector<int> codes = Codes();
  char buffer[512];
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(KrError(buffer, "Open", codes[i++ & 4095], 0));
  }
}
BENCHMARK(BM_KrErrorFormatted);

}  // namespace
