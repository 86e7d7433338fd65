#include "file_io.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>

namespace krinfo {

namespace {

constexpr std::size_t kChunkSize = 1 << 20;

bool IsStandardStream(char const* name) { return std::strcmp(name, "-") == 0; }

std::string TooLarge(char const* name, std::size_t limit) {
  return std::string("'") + name + "' is too large (more than " + std::to_string(limit) + " bytes)";
}

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
  // A regular file's size is known at once: one past the limit is refused
  // before anything is read.
  struct stat status;
  if (fstat(fileno(file), &status) == 0 && S_ISREG(status.st_mode) &&
      static_cast<unsigned long long>(status.st_size) > limit) {
    *error = TooLarge(name, limit);
    CloseInput(file);
    return false;
  }
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
      *error = TooLarge(name, limit);
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

namespace {

// Writes all of data to `file`; the first error's errno is kept in `*error`.
bool WriteAll(std::FILE* file, unsigned char const* data, std::size_t size, int* error) {
  // fwrite of nothing is not called: data may be null then.
  if (size != 0 && std::fwrite(data, 1, size, file) != size) {
    *error = errno;
    return false;
  }
  if (std::fflush(file) != 0) {
    *error = errno;
    return false;
  }
  return true;
}

// Writes straight into an existing file that is not a regular one (a device,
// a pipe): there is nothing to replace atomically.
bool WriteInPlace(char const* name, unsigned char const* data, std::size_t size,
                  std::string* error) {
  std::FILE* file = std::fopen(name, "wb");
  if (!file) {
    *error = Describe("open", name, errno);
    return false;
  }
  int failure = 0;
  bool ok = WriteAll(file, data, size, &failure);
  if (std::fclose(file) != 0 && ok) {
    failure = errno;
    ok = false;
  }
  if (!ok) *error = Describe("write", name, failure);
  return ok;
}

// The permissions a file created by fopen would get.
mode_t CreationMode() {
  mode_t const mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

}  // namespace

bool WriteWholeFile(char const* name, unsigned char const* data, std::size_t size,
                    std::string* error) {
  if (IsStandardStream(name)) {
    int failure = 0;
    if (WriteAll(stdout, data, size, &failure)) return true;
    *error = Describe("write", name, failure);
    return false;
  }
  // The target is replaced only once its new content is complete: a temporary
  // file in the same directory is written, flushed and closed, then renamed
  // over it. On any failure the temporary file goes and the target keeps its
  // old content. A symbolic link is followed to the file it names.
  std::string target = name;
  struct stat status;
  mode_t mode = CreationMode();
  if (stat(name, &status) == 0) {
    if (!S_ISREG(status.st_mode)) return WriteInPlace(name, data, size, error);
    mode = status.st_mode & 07777;
    if (char* resolved = realpath(name, nullptr)) {
      target = resolved;
      std::free(resolved);
    }
  }
  std::size_t const slash = target.rfind('/');
  std::string const directory = slash == std::string::npos ? "" : target.substr(0, slash + 1);
  std::string const base = slash == std::string::npos ? target : target.substr(slash + 1);
  std::string temporary = directory + "." + base + ".XXXXXX";
  int const fd = mkstemp(&temporary[0]);
  if (fd < 0) {
    *error = Describe("create a temporary file for", name, errno);
    return false;
  }
  std::FILE* file = fdopen(fd, "wb");
  int failure = file ? 0 : errno;
  bool ok = file != nullptr;
  if (ok && fchmod(fd, mode) != 0) {
    failure = errno;
    ok = false;
  }
  ok = ok && WriteAll(file, data, size, &failure);
  if (!file) {
    close(fd);
  } else if (std::fclose(file) != 0 && ok) {
    failure = errno;
    ok = false;
  }
  if (ok && std::rename(temporary.c_str(), target.c_str()) != 0) {
    failure = errno;
    ok = false;
  }
  if (!ok) {
    std::remove(temporary.c_str());
    *error = Describe("write", name, failure != 0 ? failure : EIO);
  }
  return ok;
}

}  // namespace krinfo
