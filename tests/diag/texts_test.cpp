// Result texts: the fixed table and its fallbacks, login texts, buffers and the module error
// callback; line formats of any code are replayed by the texts fuzz target.
#include <kr/diag.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "diag/error_table.h"

namespace {

using kr_detail::ErrorText;

constexpr ErrorText kTable[] = {
#include "diag/error_table.inc"
};
constexpr int kRows = sizeof kTable / sizeof kTable[0];
std::string const kReferral =
    "To get the OQL-Errors, use GetOqlErrMsg(...) at one of the OQL-Interface-Classes";

std::string Text(int code) { return KrError(nullptr, nullptr, code, 1); }

// What a code the table lacks reads as (0 reads as "ok").
std::string Fallback(int code) {
  if ((code >= -3099 && code <= -3001) || (code >= 3001 && code <= 3003)) return kReferral;
  if (code == 0) return "ok";
  return code >= 1 && code <= 999 ? "count" : "unknown error";
}

// Every code around the table; meeting each row on the way shows the rows sorted for the search.
TEST(ErrorText, EveryCodeAgainstTheModel) {
  ASSERT_EQ(kRows, 512);
  int row = 0;
  for (int code = kTable[0].code - 1; code <= kTable[kRows - 1].code + 1; ++code) {
    bool const listed = row < kRows && kTable[row].code == code;
    ASSERT_EQ(Text(code), listed ? kTable[row++].text : Fallback(code)) << "code " << code;
  }
  EXPECT_EQ(row, kRows);
  EXPECT_EQ(std::strlen(KrError(nullptr, nullptr, 2685, 1)), kKrLongestErrorText + 0u);
  // The static buffer cuts what would not fit (lines of code 0 are in the fuzz corpus).
  char* first = KrError(nullptr, "A", -2008, 0);
  EXPECT_EQ(KrError(nullptr, std::string(1000, 'c').c_str(), -2008, 0), first);
  EXPECT_EQ(std::string(first), std::string(kKrErrorBufferSize - 1, 'c'));
}

TEST(LoginError, TextsAndItsOwnBuffers) {
  ErrorText const cases[] = {{-2301, "Password is invalid"}, {-2307, "Login name is invalid"},
      {-2302, "Login name is not unique, please contact Admin"}, {0, "Login to Database"},
      {-2017, "Login data inconsistent, please contact Admin"}, {1, "Login to Dictionary"},
      {-2147483647 - 1, "Login failed, Error was: -2147483648"}};
  for (auto const& c : cases) EXPECT_STREQ(KrLoginError(nullptr, nullptr, c.code, 1), c.text);
  // The failure text outlives calls that format lines; the line buffer is not KrError's.
  char* text = KrLoginError(nullptr, nullptr, 77, 1);
  char* login = KrLoginError(nullptr, "L", -2307, 0);
  char* error = KrError(nullptr, "E", -2008, 0);
  EXPECT_EQ(std::string(text) + "|" + login + "|" + error, "Login failed, Error was: 77|"
            "L : -2307 -> Login name is invalid|E : -2008 -> database is not opened");
}

int gLastAsked = 0;
char gModuleText[] = "module text";
char* ModuleTexts(int code) {
  gLastAsked = code;
  return code == -8050 ? nullptr : gModuleText;  // -8050: "not mine"
}

TEST(ModuleErrorCallback, OneRegistrationServesItsOpenRangeFirst) {
  KrModuleErrorCallbackList* list = KrModuleErrorCallbackList::GetInstance();
  ASSERT_EQ(list->callback, nullptr);
  EXPECT_EQ(list->SetModuleErrorCallback(ModuleTexts, -8100, -8000), -2002);  // upper < lower
  ASSERT_EQ(list->SetModuleErrorCallback(ModuleTexts, -8000, -8100), 0);
  // Touching, overlapping and disjoint second ones are refused, as are removals with other bounds.
  int const refused[][3] = {{1, -8100, -8200}, {1, -7900, -8000}, {1, -8050, -8060},
                            {1, -9000, -9100}, {0, -8001, -8100}, {0, -8000, -8099}};
  for (auto const& [own, upper, lower] : refused)
    EXPECT_EQ(list->SetModuleErrorCallback(own ? ModuleTexts : nullptr, upper, lower), -2002);
  EXPECT_EQ(Text(-8099) + "|" + Text(-8000) + "|" + Text(-8100),
            "module text|unknown error|unknown error");
  EXPECT_EQ(Text(-8050), "unknown error");  // the callback's null falls through
  EXPECT_EQ(gLastAsked, -8050);
  ASSERT_EQ(list->SetModuleErrorCallback(nullptr, -8000, -8100), 0);
  EXPECT_TRUE(!list->callback && list->upper == 0 && list->lower == 0);
  // The range is free again; the callback comes before table and count, not referral or 0.
  ASSERT_EQ(list->SetModuleErrorCallback(ModuleTexts, 3100, -3200), 0);
  EXPECT_EQ(Text(-2008) + "|" + Text(5) + "|" + Text(-3099) + "|" + Text(3001) + "|" + Text(0),
            "module text|module text|" + kReferral + "|" + kReferral + "|ok");
  EXPECT_EQ(list->SetModuleErrorCallback(nullptr, 3100, -3200), 0);
}

}  // namespace
