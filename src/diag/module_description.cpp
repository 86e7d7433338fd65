// KrGetDescription: reading another module's self-description.
#include <cstring>

#include <kr/diag.h>

namespace {

// Copies without a length check: callers size their buffers for a full path
// and the longest descriptive text.
void CopyText(char* out, char const* text) {
  if (out && text) std::strcpy(out, text);
}

}  // namespace

int KrGetDescription(char const* moduleName, char* path, unsigned long& major,
                     unsigned long& minor, unsigned long& revision, unsigned long& build,
                     unsigned long& patch, char* title, char* name, char* dateTime, char* text8,
                     char* compilerName, char* text11, int& compilerNum) {
  KrModuleHandle* handle = nullptr;
  int result = KrDynamicLoader::LoadModule(moduleName, 0, handle);
  if (result < 0) return result;

  CopyText(path, KrDynamicLoader::GetPhysicalModuleName(handle));

  void* entry = nullptr;
  result = KrDynamicLoader::GetEntryPoint("KrDescribeDll", handle, entry);
  if (result == 0 && entry) {
    char const* moduleNameText = nullptr;
    char const* dateTimeText = nullptr;
    char const* text8Text = nullptr;
    char const* compilerNameText = nullptr;
    char const* text11Text = nullptr;
    KrDescribeDllFunction describe = reinterpret_cast<KrDescribeDllFunction>(entry);
    char const* titleText =
        describe(&major, &minor, &revision, &build, &patch, &moduleNameText, &dateTimeText,
                 &text8Text, &compilerNum, &compilerNameText, &text11Text);
    CopyText(name, moduleNameText);
    CopyText(dateTime, dateTimeText);
    CopyText(title, titleText);
    CopyText(compilerName, compilerNameText);
    CopyText(text11, text11Text);
    CopyText(text8, text8Text);
  }
  KrDynamicLoader::UnloadModule(handle);
  return result;
}
