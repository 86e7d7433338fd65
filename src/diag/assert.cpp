// Failed assertions and the fatal-error callback.
#include <cstdint>
#include <cstdio>

#include <kr/diag.h>

#include "diag/process_state.h"

// The C library's assertion failure: prints the standard message and aborts.
// Declared here because <assert.h> hides it when NDEBUG is defined.
extern "C" void __assert_fail(char const* assertion, char const* file, unsigned int line,
                              char const* function) noexcept __attribute__((noreturn));

namespace {

constexpr int kModeAbort = 0;
constexpr int kModeIgnore = 1;
constexpr int kModeLastFault = 3;  // modes 2 and 3 fault
constexpr int kModeUnread = -1;
constexpr int kTextSize = 256;

// Read through an object the compiler cannot see to be null, so that the
// read really happens (and faults) instead of being folded into a trap.
std::int32_t const* volatile nullWord = nullptr;

int ReadAssertMode() {
  static char const* debug[] = {"debug", nullptr};
  int mode = kModeAbort;
  if (KrConfig* config = DefaultConfig(KrQueryConfig())) config->GetInt("assertMode", &mode, debug);
  return mode;
}

}  // namespace

KrFatalErrorCallback SetFatalErrorCallback(KrFatalErrorCallback callback) {
  KrFatalErrorCallback previous = fatalErrorCallback;
  fatalErrorCallback = callback;
  return previous;
}

KrFatalErrorCallback GetFatalErrorCallback() { return fatalErrorCallback; }

int KIRO_assert(char const* condition, char const* file, int line) {
  if (KrFatalErrorCallback callback = GetFatalErrorCallback()) callback(condition, file, line);

  int& mode = kr_detail::krassertmode;
  if (mode == kModeUnread) mode = ReadAssertMode();

  // The text a message box would show. This platform has none, so it is built
  // and dropped (bounded, since assFmtU may be any caller's format).
  char text[kTextSize];
  std::snprintf(text, sizeof text, assFmtU, condition, file, line);

  if (mode == kModeIgnore) return 0;
  if (mode > kModeIgnore) {
    if (mode <= kModeLastFault) {
      // Deliberate segmentation fault: a debugger stops here, or the system
      // writes a core image.
      std::int32_t word = *nullWord;
      return word;
    }
    return 1;
  }
  if (mode == kModeAbort) __assert_fail(condition, file, static_cast<unsigned>(line), "");
  return 1;
}
