// Runs a fuzz target without libFuzzer, as a CTest test on every build: every
// file of the target's seed corpus, then KR_FUZZ_RUNS (default 300)
// pseudo-random inputs of up to 4 KiB. A failed check aborts the program;
// the input that made it fail is in replay-failure.bin then (a libFuzzer
// build of the target runs it alone: kr_<name>_fuzz replay-failure.bin).
#include <dirent.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size);

namespace {

void Run(std::vector<unsigned char> const& bytes) {
  {
    std::ofstream save("replay-failure.bin", std::ios::binary | std::ios::trunc);
    save.write(reinterpret_cast<char const*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  }
  // An exact-size copy, so that reads past the input are caught.
  unsigned char* copy = static_cast<unsigned char*>(std::malloc(bytes.size() + 1));
  std::copy(bytes.begin(), bytes.end(), copy);
  LLVMFuzzerTestOneInput(copy, bytes.size());
  std::free(copy);
}

int RunCorpus(char const* directory) {
  DIR* dir = opendir(directory);
  if (!dir) return 0;
  int files = 0;
  while (dirent* entry = readdir(dir)) {
    if (entry->d_name[0] == '.') continue;
    std::ifstream in(std::string(directory) + "/" + entry->d_name, std::ios::binary);
    Run(std::vector<unsigned char>(std::istreambuf_iterator<char>(in), {}));
    ++files;
  }
  closedir(dir);
  return files;
}

}  // namespace

int main(int argc, char** argv) {
  int const files = argc > 1 ? RunCorpus(argv[1]) : 0;
  char const* runsText = std::getenv("KR_FUZZ_RUNS");
  int const runs = runsText ? std::atoi(runsText) : 300;
  std::mt19937 random(20261124);
  for (int run = 0; run < runs; ++run) {
    std::vector<unsigned char> bytes(random() % 4097);
    for (unsigned char& byte : bytes) byte = static_cast<unsigned char>(random());
    Run(bytes);
  }
  std::remove("replay-failure.bin");
  std::printf("%d corpus inputs and %d random inputs passed\n", files, runs);
  return files == 0 && argc > 1 ? 1 : 0;
}
