// kr95Nbs diagnostics: result codes and their texts.
//
// Every operation of the product reports a signed 32-bit result code: 0 is
// success, a negative code an error, a positive code a warning, and 1 to 999
// may be a count returned in place of a status. KrError turns any code of any
// module of the product into its English text.
#ifndef KR_DIAG_H_
#define KR_DIAG_H_

#include <kr/export.h>

// Size of the static buffers that KrError and KrLoginError format into when
// the caller passes no buffer of its own.
const int kKrErrorBufferSize = 256;

// Longest text of the fixed table (code 2685), without the terminating NUL.
const int kKrLongestErrorText = 189;

// Formats the text of `code`.
//
// With `textOnly` nonzero, returns the bare text (constant text, or the text a
// registered module callback returned) and never touches `buffer`.
// Otherwise formats into `buffer`, or into a static 256-byte buffer when
// `buffer` is null (shared by all callers and threads; each call overwrites
// it), and returns that buffer: "<context> : <code> -> <text>" with a context,
// just "<text>" without one. Code 0 formats as "<context> : ok", or as the
// digit "0" when there is no context.
//
// Requires: a caller's buffer holds the whole line. Formatting into a caller's
// buffer is not bounded: allow kKrLongestErrorText + strlen(context) + 20
// bytes. Only the static buffer is protected (long contexts are cut there).
KR_API char* KrError(char* buffer, char const* context, int code, int textOnly);

// The texts of the login prompt and its failures, with KrError's contract.
// Codes without a text of their own read "Login failed, Error was: <code>";
// in text-only mode that text lives in a static buffer that stays valid until
// the next such call. Unlike KrError, code 0 goes through the general format.
KR_API char* KrLoginError(char* buffer, char const* context, int code, int textOnly);

// Lets one module of the product supply the texts of its own code range.
//
// A process-wide singleton with room for exactly one registration: a second
// registration is refused with -2002 while one is held, whether or not the
// ranges overlap (no caller needs two, and replacing the first silently would
// lose its texts). KrError asks the registered callback for codes strictly
// between `lower` and `upper`; a null answer falls through to the fixed table.
// Unsynchronised by design: register during start-up.
class KR_API KrModuleErrorCallbackList {
 public:
  typedef char* (*Callback)(int code);

  KrModuleErrorCallbackList();

  // The process's instance, built (all fields zero) at the first call.
  static KrModuleErrorCallbackList* GetInstance();

  // Registers `callback` for lower < code < upper, or with a null callback
  // removes the registration whose bounds are exactly `upper` and `lower`.
  // Returns 0, or -2002 (nothing changes) when upper < lower, when removing
  // with other bounds, or when registering while a registration is held
  // (whether the ranges touch or overlap, tested inclusively, or not).
  int SetModuleErrorCallback(Callback callback, int upper, int lower);

  // The callback's text for `code` when lower < code < upper, else null.
  char* GetError(int code);

  Callback callback;  // null when nothing is registered
  int upper;          // codes strictly below it are served
  int lower;          // codes strictly above it are served
};

#endif  // KR_DIAG_H_
