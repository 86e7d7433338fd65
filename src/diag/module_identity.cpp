// This library's self-description and the product's version rule.
#include "diag/module_identity.h"

#include <kr/diag.h>

#include "diag/format.h"
#include "diag/process_state.h"

using namespace kr_detail;

namespace {

constexpr int kIncompatible = -5004;

// Flags of CheckKrVersionNumber and the bits that waive their tests.
constexpr int kCheckRevision = 0x2;
constexpr int kCheckPatchAgainstBuild = 0x4;
constexpr int kCheckPatchIsZero = 0x8;
constexpr int kWaiveRevision = 0x10000000;
constexpr int kWaivePatchAgainstBuild = 0x20000000;
constexpr int kWaivePatchIsZero = 0x40000000;
// KrCheckDll forces these on, so that its own check never has flags 0.
constexpr int kCheckDllForcedFlags = 0x3;

template <typename T>
void Put(T* out, T value) {
  if (out) *out = value;
}

}  // namespace

int CheckKrVersionNumber(unsigned long major, unsigned long minor, unsigned long revision,
                         unsigned long /*build: never examined*/, unsigned long patch,
                         int flags) {
  if (major != kVersionMajor) return kIncompatible;
  if (minor != kVersionMinor) return kIncompatible;
  if (flags == 0) return kIncompatible;
  int result = 0;
  if ((flags & kCheckRevision) && revision != kVersionRevision && !(flags & kWaiveRevision)) {
    result = kIncompatible;
  }
  // Compares the fifth component with the build number on purpose: a module
  // of this very version (patch 0) fails unless the waiver bit is given.
  if ((flags & kCheckPatchAgainstBuild) && patch != kVersionBuild &&
      !(flags & kWaivePatchAgainstBuild)) {
    result = kIncompatible;
  }
  if ((flags & kCheckPatchIsZero) && patch != kVersionPatch && !(flags & kWaivePatchIsZero)) {
    result = kIncompatible;
  }
  return result;
}

int KrCheckDll(int flags) {
  return CheckKrVersionNumber(kVersionMajor, kVersionMinor, kVersionRevision, kVersionBuild,
                              kVersionPatch, flags | kCheckDllForcedFlags);
}

// Null outputs are skipped (the loader always passes all of them).
char const* KrDescribeDll(unsigned long* major, unsigned long* minor, unsigned long* revision,
                          unsigned long* build, unsigned long* patch, char const** name,
                          char const** dateTime, char const** text8, int* compilerNum,
                          char const** compilerName, char const** text11) {
  Put(major, kVersionMajor);
  Put(minor, kVersionMinor);
  Put(revision, kVersionRevision);
  Put(build, kVersionBuild);
  Put(patch, kVersionPatch);
  Put(name, static_cast<char const*>(DLLname));
  Put(dateTime, static_cast<char const*>(DLLdateTime));
  Put(text8, static_cast<char const*>(DLLtext8));
  Put(compilerNum, DLLcompilerNum);
  Put(compilerName, static_cast<char const*>(DLLcompilerName));
  Put(text11, static_cast<char const*>(DLLtext11));
  return DLLtitle;
}

void GETKRBASICSINFO(char const** compilerName, int* compilerNum, char const** versionInfo,
                     char const** date, char const** name) {
  Put(compilerName, static_cast<char const*>(DLLcompilerName));
  Put(compilerNum, DLLcompilerNum);
  if (versionInfo) {
    *versionInfo = FormatInto(DLL_version_info, sizeof DLL_version_info, "%s %lu.%lu.%lu.%lu.%lu ",
                              DLLtitle, kVersionMajor, kVersionMinor, kVersionRevision,
                              kVersionBuild, kVersionPatch);
  }
  Put(date, static_cast<char const*>(DLLdate));
  Put(name, static_cast<char const*>(DLLname));
}

void ___KrBasicsContext(int) {}
