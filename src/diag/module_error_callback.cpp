// KrModuleErrorCallbackList: one module's texts for its own code range.
#include <kr/diag.h>

namespace {
constexpr int kBadParameter = -2002;
}  // namespace

KrModuleErrorCallbackList::KrModuleErrorCallbackList() : callback(nullptr), upper(0), lower(0) {}

KrModuleErrorCallbackList* KrModuleErrorCallbackList::GetInstance() {
  // Process-wide, unsynchronised by design: first use from two threads at
  // once is not guarded. Zero-initialised storage is the constructed state.
  static KrModuleErrorCallbackList instance;
  return &instance;
}

int KrModuleErrorCallbackList::SetModuleErrorCallback(Callback newCallback, int newUpper,
                                                      int newLower) {
  if (newUpper < newLower) return kBadParameter;
  if (!newCallback) {
    if (newUpper != upper || newLower != lower) return kBadParameter;
    callback = nullptr;
    upper = 0;
    lower = 0;
    return 0;
  }
  // Room for one registration: a second one is refused, and touching or
  // overlapping ranges (inclusive comparison) would be refused anyway.
  if (callback) return kBadParameter;
  callback = newCallback;
  upper = newUpper;
  lower = newLower;
  return 0;
}

char* KrModuleErrorCallbackList::GetError(int code) {
  if (callback && lower < code && code < upper) return callback(code);
  return nullptr;
}
