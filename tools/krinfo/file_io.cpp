#include "file_io.h"

#include <cerrno>
#include <cstring>
#include <new>

namespace krinfo {

namespace {

constexpr std::size_t kChunkSize = 1 << 20;

bool IsStandardStream(char const* name) { return std::strcmp(name, "-") == 0; }

std::string Describe(char const* verb, char const* name, int error) {
  return std::string("cannot ") + verb + " '" + name + "': " + std::strerror(error);
}

}  // namespace

bool ResizeBuffer(std::vector<unsigned char>* bytes, std::size_t size) {
  try {
    bytes->resize(size);
    return true;
  } catch (std::bad_alloc const&) {
    return false;
  }
}

std::FILE* OpenInput(char const* name, std::string* error) {
  if (IsStandardStream(name)) return stdin;
  std::FILE* file = std::fopen(name, "rb");
  if (!file) *error = Describe("open", name, errno);
  return file;
}

void CloseInput(std::FILE* file) {
  if (file && file != stdin) std::fclose(file);
}

bool ReadWholeFile(char const* name, std::size_t limit, std::vector<unsigned char>* bytes,
                   std::string* error) {
  std::FILE* file = OpenInput(name, error);
  if (!file) return false;
  bytes->clear();
  bool ok = true;
  while (ok) {
    std::size_t const size = bytes->size();
    if (!ResizeBuffer(bytes, size + kChunkSize)) {
      *error = std::string("'") + name + "' does not fit in memory";
      ok = false;
      break;
    }
    std::size_t const got = std::fread(bytes->data() + size, 1, kChunkSize, file);
    bytes->resize(size + got);
    if (bytes->size() > limit) {
      *error = std::string("'") + name + "' is too large (more than " + std::to_string(limit) +
               " bytes)";
      ok = false;
    } else if (got < kChunkSize) {
      if (std::ferror(file)) {
        *error = Describe("read", name, errno);
        ok = false;
      }
      break;
    }
  }
  CloseInput(file);
  return ok;
}

bool WriteWholeFile(char const* name, unsigned char const* data, std::size_t size,
                    std::string* error) {
  bool const toStdout = IsStandardStream(name);
  std::FILE* file = toStdout ? stdout : std::fopen(name, "wb");
  if (!file) {
    *error = Describe("create", name, errno);
    return false;
  }
  bool ok = std::fwrite(data, 1, size, file) == size;
  ok = (toStdout ? std::fflush(file) : std::fclose(file)) == 0 && ok;
  if (!ok) *error = Describe("write", name, errno);
  return ok;
}

}  // namespace krinfo
