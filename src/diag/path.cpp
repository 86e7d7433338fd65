// Absolute paths: the test and the lexical normalisation the loader needs.
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include <kr/diag.h>

int zvmIsAbsolutePath(char const* path) { return path && path[0] == '/'; }

char* zvmabspath(char* in, char* out, int size) {
  if (!out || size <= 0) return nullptr;
  if (!in) {
    out[0] = '\0';
    return nullptr;
  }
  // `in` is read completely before `out` is written, so they may be the same.
  std::string full;
  if (!zvmIsAbsolutePath(in)) {
    std::vector<char> cwd(4096);
    while (!getcwd(cwd.data(), cwd.size())) {
      if (errno != ERANGE) {
        out[0] = '\0';
        return nullptr;
      }
      cwd.resize(cwd.size() * 2);
    }
    full = cwd.data();
    full += '/';
  }
  full += in;

  // Components between slashes: empty ones and "." vanish, ".." removes the
  // one before it (and stays at the root).
  std::vector<std::string> parts;
  std::size_t start = 0;
  while (start <= full.size()) {
    std::size_t slash = full.find('/', start);
    if (slash == std::string::npos) slash = full.size();
    std::string part = full.substr(start, slash - start);
    if (part == "..") {
      if (!parts.empty()) parts.pop_back();
    } else if (!part.empty() && part != ".") {
      parts.push_back(part);
    }
    start = slash + 1;
  }
  std::string result;
  for (std::string const& part : parts) result += "/" + part;
  if (result.empty()) result = "/";

  if (result.size() + 1 > static_cast<std::size_t>(size)) {
    out[0] = '\0';
    return nullptr;
  }
  std::memcpy(out, result.c_str(), result.size() + 1);
  return out;
}
