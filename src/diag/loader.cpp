// KrDynamicLoader: opening the product's modules and resolving their entries.
#include <dlfcn.h>

#include <cstdio>
#include <cstring>
#include <vector>

#include <kr/diag.h>

#include "diag/format.h"
#include "diag/process_state.h"

using kr_detail::FormatInto;
using kr_detail::module_buf;

namespace {

constexpr int kHandleInvalid = -5001;
constexpr int kCannotLoad = -5002;
constexpr int kNoEntry = -5003;

constexpr int kOpenFlags = RTLD_NOW | RTLD_GLOBAL;
constexpr char kInDirectoryFormat[] = "%s/lib%s.so";
constexpr char kSearchFormat[] = "lib%s.so";
// A symbol no module defines: looking it up makes the dynamic linker name the
// module's file in its error text.
constexpr char kProbeSymbol[] = "__KrThisMethodDoesNotExists";
constexpr char kUnknownPath[] = "<unknown>";

// The settings read at every LoadModule and GetEntryPoint call.
struct LoaderSettings {
  static constexpr int kDirectorySize = 1024;
  short trace = 0;
  char directory[kDirectorySize] = "";
};

void ReadSettings(LoaderSettings* settings) {
  KrConfig* config = DefaultConfig(KrQueryConfig());
  if (!config) return;
  config->GetBool("loadModule", &settings->trace, debugSection);
  char* directory = settings->directory;
  config->GetText("defaultModulePath", directory, globalSection);
  settings->directory[LoaderSettings::kDirectorySize - 1] = '\0';
}

char const* TextOrEmpty(char const* text) { return text ? text : ""; }

char* UnknownPath() {
  std::memcpy(module_buf, kUnknownPath, sizeof kUnknownPath);
  return module_buf;
}

}  // namespace

KrDynamicLoader::KrDynamicLoader() {}

KrDynamicLoader::~KrDynamicLoader() {}

int KrDynamicLoader::LoadModule(char const* name, int /*flags: ignored*/,
                                KrModuleHandle*& handle) {
  handle = nullptr;
  if (!name) return kCannotLoad;  // guard: a null name cannot name a file

  std::vector<char> file(std::strlen(name) + std::strlen(kInDirectoryFormat) +
                         LoaderSettings::kDirectorySize);
  LoaderSettings settings;
  ReadSettings(&settings);

  void* library = nullptr;
  if (settings.directory[0] != '\0') {
    FormatInto(file.data(), file.size(), kInDirectoryFormat, settings.directory, name);
    library = dlopen(file.data(), kOpenFlags);
  }
  if (!library) {
    FormatInto(file.data(), file.size(), kSearchFormat, name);
    library = dlopen(file.data(), kOpenFlags);
  }

  if (!library) {
    // Only the error of the last attempt is reported.
    if (settings.trace) {
      std::fprintf(stderr, "Loading module '%s' failed %s\n", name, TextOrEmpty(dlerror()));
    }
    return kCannotLoad;
  }
  handle = new KrModuleHandle{library, 0};
  if (settings.trace) {
    std::fprintf(stderr, "Loading module '%s' as '%s' succeeded\n", name,
                 GetPhysicalModuleName(handle));
  }
  return 0;
}

int KrDynamicLoader::UnloadModule(KrModuleHandle*& handle) {
  if (!handle) return kHandleInvalid;
  int result = handle->keepLoaded ? 0 : dlclose(handle->library);
  delete handle;
  handle = nullptr;
  return result;
}

int KrDynamicLoader::GetEntryPoint(char const* name, KrModuleHandle* handle, void*& address) {
  address = nullptr;
  if (!handle) return kHandleInvalid;
  LoaderSettings settings;  // the directory is read and not used
  ReadSettings(&settings);
  dlerror();  // forget a stale error, so that a failure reports its own
  address = dlsym(handle->library, name);
  if (address) return 0;
  if (settings.trace) {
    std::fprintf(stderr, "GetEntryPoint(%s) failed: %s\n", TextOrEmpty(name),
                 TextOrEmpty(dlerror()));
  }
  return kNoEntry;
}

char* KrDynamicLoader::GetErrText() { return dlerror(); }

char* KrDynamicLoader::GetPhysicalModuleName(KrModuleHandle* handle) {
  if (!handle) return UnknownPath();  // guard for a caller's mistake

  dlerror();
  if (dlsym(handle->library, kProbeSymbol)) return UnknownPath();
  // The error text reads "<file>: undefined symbol: ..."; the next dynamic
  // linking call frees it, so it is used before anything else is called.
  char const* error = dlerror();
  char const* colon = error ? std::strchr(error, ':') : nullptr;
  if (!colon) return UnknownPath();
  int length = static_cast<int>(colon - error);
  if (length > kr_detail::kModulePathSize - 1) length = kr_detail::kModulePathSize - 1;
  FormatInto(module_buf, sizeof module_buf, "%*.*s", length, length, error);

  if (!zvmIsAbsolutePath(module_buf)) {
    char absolute[kr_detail::kModulePathSize];
    if (zvmabspath(module_buf, absolute, kr_detail::kModulePathSize - 1)) {
      std::memcpy(module_buf, absolute, std::strlen(absolute) + 1);
    }
  }
  return module_buf;
}
