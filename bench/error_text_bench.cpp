// Looking up result texts: the binary search over the fixed table, against a
// std::map built from the same texts; and the formatted line for scale.
#include <kr/diag.h>

#include <cstring>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "bench_support.h"

namespace {

constexpr int kLowest = -7400;
constexpr int kHighest = 9100;
constexpr char const* kUnknown = "unknown error";

// Codes known to the table plus a share of unknown ones, in random order.
std::vector<int> const& Codes() {
  static std::vector<int> const codes = [] {
    std::vector<int> list;
    std::mt19937 random(42);
    std::uniform_int_distribution<int> pick(kLowest, kHighest);
    for (int i = 0; i < 4096; ++i) list.push_back(pick(random));
    return list;
  }();
  return codes;
}

std::map<int, std::string> const& TextMap() {
  static std::map<int, std::string> const texts = [] {
    std::map<int, std::string> map;
    for (int code = kLowest; code <= kHighest; ++code) {
      std::string text = KrError(nullptr, nullptr, code, 1);
      if (text != kUnknown) map.emplace(code, text);
    }
    return map;
  }();
  return texts;
}

char const* MapLookup(int code) {
  auto found = TextMap().find(code);
  return found == TextMap().end() ? kUnknown : found->second.c_str();
}

// Both lookups give the same text for every code of the run.
bool SameTexts() {
  for (int code : Codes()) {
    if (std::strcmp(KrError(nullptr, nullptr, code, 1), MapLookup(code)) != 0) return false;
  }
  return true;
}

void Ours(benchmark::State& state) {
  if (!SameTexts()) state.SkipWithError("KrError and the map disagree");
  std::size_t i = 0;
  for (auto _ : state) benchmark::DoNotOptimize(KrError(nullptr, nullptr, Codes()[i++ & 4095], 1));
}

void StdMap(benchmark::State& state) {
  TextMap();
  std::size_t i = 0;
  for (auto _ : state) benchmark::DoNotOptimize(MapLookup(Codes()[i++ & 4095]));
}

void Formatted(benchmark::State& state) {
  char buffer[512];
  std::size_t i = 0;
  for (auto _ : state) benchmark::DoNotOptimize(KrError(buffer, "Open", Codes()[i++ & 4095], 0));
}

[[maybe_unused]] benchmark::internal::Benchmark* const registered[] = {
    kr_bench::Register("error_text", "ours", Ours),
    kr_bench::Register("error_text", "std_map", StdMap),
    kr_bench::Register("error_text_formatted", "ours", Formatted),
};

}  // namespace
