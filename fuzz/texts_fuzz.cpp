// Result texts and absolute paths into heap blocks of exactly their size (one byte more is caught):
// KrError and KrLoginError lines of any code and context, zvmabspath of any path.
#include <kr/diag.h>

#include <unistd.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "fuzz_input.h"

namespace {

using kr_fuzz::FuzzInput;
using Formatter = char* (*)(char*, char const*, int, int);

// "<context> : <code> -> <text>" (or ": ok"), the text as text-only mode returns it, untouched.
void CheckLine(Formatter format, std::string const& context, int code) {
  char const* const contextArg = context.empty() ? nullptr : context.c_str();
  std::string text = format(nullptr, nullptr, code, 1);
  std::string expected = contextArg ? context + " : " + std::to_string(code) + " -> " + text : text;
  if (code == 0 && format == KrError) expected = contextArg ? context + " : ok" : "0";
  std::vector<char> block(expected.size() + 1, 'Z');  // text-only mode leaves it alone
  KR_FUZZ_CHECK(format(block.data(), contextArg, code, 1) == text);
  KR_FUZZ_CHECK(std::string(block.begin(), block.end()) == std::string(block.size(), 'Z'));
  char* line = format(block.data(), contextArg, code, 0);
  KR_FUZZ_CHECK(line == block.data() && expected == line);
}

// The lexical normal form of `path` below `directory`.
std::string Normal(std::string const& directory, std::string const& path) {
  std::istringstream whole(path.size() && path[0] == '/' ? path : directory + "/" + path);
  std::string normal;  // "/a/b", or empty at the root
  for (std::string part; std::getline(whole, part, '/');) {
    if (part == "..") normal.erase(std::min(normal.size(), normal.rfind('/')));
    if (part != ".." && part != "." && !part.empty()) normal += "/" + part;
  }
  return normal.empty() ? "/" : normal;
}

// zvmabspath gives it, also in place, into its length plus one; one byte less is refused.
void CheckPath(std::string path) {
  char directory[4096];
  if (!getcwd(directory, sizeof directory)) return;
  std::string const expected = Normal(directory, path);
  int const size = static_cast<int>(expected.size()) + 1;
  std::vector<char> exact(expected.size() + 1), shorter(expected.size(), 'x');
  KR_FUZZ_CHECK(zvmabspath(&path[0], exact.data(), size) == exact.data() && expected == &exact[0]);
  KR_FUZZ_CHECK(zvmabspath(nullptr, exact.data(), size) == nullptr && exact[0] == '\0');
  for (int none : {0, -size}) {  // no room at all: not even emptied
    KR_FUZZ_CHECK(zvmabspath(&path[0], shorter.data(), none) == nullptr && shorter[0] == 'x');
  }
  KR_FUZZ_CHECK(zvmabspath(&path[0], shorter.data(), size - 1) == nullptr && shorter[0] == '\0');
  // Input and output may be one buffer.
  std::string both = path;
  both.resize(std::max(path.size(), expected.size()) + 1);
  KR_FUZZ_CHECK(zvmabspath(&both[0], &both[0], size) == &both[0] && expected == both.c_str());
  KR_FUZZ_CHECK((zvmIsAbsolutePath(path.c_str()) != 0) == (path[0] == '/'));
  KR_FUZZ_CHECK(!zvmIsAbsolutePath(nullptr));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  FuzzInput in(data, size);
  unsigned const any = in.Byte() | in.Byte() << 8 | in.Byte() << 16 | in.Byte() << 24;
  // Codes near the table's ranges most of the time, any int now and then.
  int const near = static_cast<int>(in.Pick(20000)) - 8000;
  int const chosen = in.Pick(4) == 0 ? static_cast<int>(any) : near;
  std::string context;
  for (unsigned char c : in.Bytes(in.Pick(40))) context += static_cast<char>(' ' + c % 95);
  for (Formatter format : {KrError, KrLoginError}) CheckLine(format, context, chosen);
  std::string path;
  for (unsigned char c : in.Bytes(300)) path += "/./ab.."[c % 7];
  CheckPath(path);
  return 0;
}
