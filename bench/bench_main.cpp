// The main function of every benchmark program: Google Benchmark's, plus
// the smoke mode and the result check of bench_support.h, and a plain table
// for scripts/bench.sh.
//
// KR_BENCH_TABLE=<file> appends one line per benchmark (or per median of
// repetitions) to <file>: "<name>\t<real time in ns per iteration>", the name
// as registered (with its arguments, without settings such as iterations).
#include "bench_support.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace kr_bench {

bool Smoke() {
  char const* value = std::getenv("KR_BENCH_SMOKE");
  return value && *value && std::strcmp(value, "0") != 0;
}

namespace {

// Shows runs as the console reporter does, notes errors, and appends the
// times to the table file when one is named.
class CheckingReporter : public benchmark::ConsoleReporter {
 public:
  bool failed = false;

  void ReportRuns(std::vector<Run> const& runs) override {
    for (Run const& run : runs) {
      if (run.error_occurred) failed = true;
      Record(run);
    }
    ConsoleReporter::ReportRuns(runs);
  }

 private:
  void Record(Run const& run) const {
    char const* table = std::getenv("KR_BENCH_TABLE");
    if (!table || !*table || run.error_occurred) return;
    bool const aggregate = run.run_type == Run::RT_Aggregate;
    if (aggregate && run.aggregate_name != "median") return;
    if (!aggregate && run.repetitions > 1) return;  // the median stands for them
    std::FILE* file = std::fopen(table, "a");
    if (!file) return;
    double const nanoseconds = run.GetAdjustedRealTime() *
                               benchmark::GetTimeUnitMultiplier(benchmark::kNanosecond) /
                               benchmark::GetTimeUnitMultiplier(run.time_unit);
    std::string name = run.run_name.function_name;
    if (!run.run_name.args.empty()) name += "/" + run.run_name.args;
    std::fprintf(file, "%s\t%.6g\n", name.c_str(), nanoseconds);
    std::fclose(file);
  }
};

}  // namespace
}  // namespace kr_bench

int main(int argc, char** argv) {
  std::vector<char*> args(argv, argv + argc);
  std::string minTime = "--benchmark_min_time=0.000001";
  if (kr_bench::Smoke()) args.push_back(&minTime[0]);
  int count = static_cast<int>(args.size());
  benchmark::Initialize(&count, args.data());
  if (benchmark::ReportUnrecognizedArguments(count, args.data())) return 2;
  kr_bench::CheckingReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  if (reporter.failed) std::fprintf(stderr, "a benchmark reported a wrong result\n");
  return reporter.failed ? 1 : 0;
}
