// Runs a fuzz target without libFuzzer, as a CTest test on every build: every file of the target's
// seed corpus, then KR_FUZZ_RUNS (default 300) pseudo-random inputs of up to 4 KiB. A failed check
// aborts the program; the input that made it fail is in replay-failure.bin then (a libFuzzer build
// of the target runs it alone: kr_<name>_fuzz replay-failure.bin).
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <random>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size);

namespace {

void Run(std::string const& bytes) {
  std::ofstream("replay-failure.bin", std::ios::binary) << bytes;
  // An exact-size copy, so that reads past the input are caught.
  std::unique_ptr<uint8_t[]> const copy(new uint8_t[bytes.size()]);
  std::copy(bytes.begin(), bytes.end(), copy.get());
  LLVMFuzzerTestOneInput(copy.get(), bytes.size());
}

}  // namespace

int main(int argc, char** argv) {
  int files = 0;
  std::error_code missing;  // a corpus named but not there holds no files, which fails below
  for (auto const& file : std::filesystem::directory_iterator(argc > 1 ? argv[1] : "", missing)) {
    std::ifstream in(file.path(), std::ios::binary);
    Run(std::string(std::istreambuf_iterator<char>(in), {}));
    ++files;
  }
  char const* runsText = std::getenv("KR_FUZZ_RUNS");
  int const runs = runsText ? std::atoi(runsText) : 300;
  std::mt19937 random(20261124);
  for (int run = 0; run < runs; ++run) {
    std::string bytes(random() % 4097, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random());
    Run(bytes);
  }
  std::remove("replay-failure.bin");
  std::printf("%d corpus inputs and %d random inputs passed\n", files, runs);
  return files == 0 && argc > 1 ? 1 : 0;
}
