// KrLoginError: the texts of the login prompt and of its failures.
#include <kr/diag.h>

#include "diag/format.h"

namespace {

struct LoginText {
  int code;
  char const* text;
};

constexpr LoginText kLoginTexts[] = {
    {-2301, "Password is invalid"},
    {-2302, "Login name is not unique, please contact Admin"},
    {-2307, "Login name is invalid"},
    {-2017, "Login data inconsistent, please contact Admin"},
    {0, "Login to Database"},
    {1, "Login to Dictionary"},
};

// Holds "Login failed, Error was: <code>"; 40 bytes fit any int.
constexpr int kFailedTextSize = 48;

}  // namespace

char* KrLoginError(char* buffer, char const* context, int code, int textOnly) {
  using kr_detail::FormatInto;
  static char sBuffer[kKrErrorBufferSize];
  // Text-only callers keep the returned pointer, so the failure text has its
  // own static home rather than the caller's (untouched) buffer.
  static char sFailedText[kFailedTextSize];
  std::size_t room = buffer ? 0 : sizeof sBuffer;
  if (!buffer) buffer = sBuffer;

  char const* text = nullptr;
  for (LoginText const& entry : kLoginTexts) {
    if (entry.code == code) text = entry.text;
  }
  if (!text) text = FormatInto(sFailedText, sizeof sFailedText, "Login failed, Error was: %d", code);

  if (textOnly) return const_cast<char*>(text);
  if (context) return FormatInto(buffer, room, "%s : %d -> %s", context, code, text);
  return FormatInto(buffer, room, "%s", text);
}
