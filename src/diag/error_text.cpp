// KrError and the fixed table of result-code texts.
#include <kr/diag.h>

#include "diag/error_table.h"
#include "diag/format.h"

namespace kr_detail {
namespace {

// Sorted ascending by code, unique codes (the tests check both).
constexpr ErrorText kErrorTexts[] = {
#include "diag/error_table.inc"
};

constexpr int kQueryLanguageReferralFirst = -3099;
constexpr int kQueryLanguageReferralLast = -3001;
constexpr int kQueryLanguageWarningFirst = 3001;
constexpr int kQueryLanguageWarningLast = 3003;
constexpr int kCountFirst = 1;
constexpr int kCountLast = 999;

char const kQueryLanguageReferral[] =
    "To get the OQL-Errors, use GetOqlErrMsg(...) at one of the OQL-Interface-Classes";
char const kCount[] = "count";
char const kUnknown[] = "unknown error";
char const kOk[] = "ok";

bool IsQueryLanguageCode(int code) {
  return (code >= kQueryLanguageReferralFirst && code <= kQueryLanguageReferralLast) ||
         (code >= kQueryLanguageWarningFirst && code <= kQueryLanguageWarningLast);
}

// The message text of a nonzero code, by the first source that has one.
char const* MessageText(int code) {
  if (IsQueryLanguageCode(code)) return kQueryLanguageReferral;
  if (char const* text = KrModuleErrorCallbackList::GetInstance()->GetError(code)) return text;
  if (char const* text = FindErrorText(code)) return text;
  if (code >= kCountFirst && code <= kCountLast) return kCount;
  return kUnknown;
}

}  // namespace

char const* FindErrorText(int code) {
  int lo = 0;
  int hi = static_cast<int>(sizeof kErrorTexts / sizeof kErrorTexts[0]) - 1;
  while (lo <= hi) {
    int mid = lo + (hi - lo) / 2;
    if (kErrorTexts[mid].code == code) return kErrorTexts[mid].text;
    if (kErrorTexts[mid].code < code) {
      lo = mid + 1;
    } else {
      hi = mid - 1;
    }
  }
  return nullptr;
}

}  // namespace kr_detail

char* KrError(char* buffer, char const* context, int code, int textOnly) {
  using namespace kr_detail;
  static char sBuffer[kKrErrorBufferSize];
  // The static buffer's size is known, so lines formatted there are bounded;
  // a caller's buffer must hold the whole line (see the header).
  std::size_t room = buffer ? 0 : sizeof sBuffer;
  if (!buffer) buffer = sBuffer;

  if (code == 0) {
    if (textOnly) return const_cast<char*>(kOk);
    if (context) return FormatInto(buffer, room, "%s : ok", context);
    return FormatInto(buffer, room, "0");
  }

  char const* text = MessageText(code);
  if (textOnly) return const_cast<char*>(text);
  if (context) return FormatInto(buffer, room, "%s : %d -> %s", context, code, text);
  return FormatInto(buffer, room, "%s", text);
}
