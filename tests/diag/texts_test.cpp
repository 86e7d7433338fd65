// Result texts: the fixed table and its fallbacks, login texts, buffers and the
// module error callback. Line formats of any code (and that text-only mode
// leaves the buffer alone) are replayed by the texts fuzz target.
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

// What a code the table lacks reads as.
std::string Fallback(int code) {
  if ((code >= -3099 && code <= -3001) || (code >= 3001 && code <= 3003)) return kReferral;
  return code >= 1 && code <= 999 ? "count" : "unknown error";
}

TEST(ErrorText, EveryCodeAgainstTheModel) {
  ASSERT_EQ(kRows, 512);
  int gaps = 0;
  for (int i = 0; i < kRows; ++i) {
    EXPECT_EQ(Text(kTable[i].code), kTable[i].text) << "code " << kTable[i].code;
    ASSERT_TRUE(i == 0 || kTable[i - 1].code < kTable[i].code) << "row " << i;
    int const gapStart = i ? kTable[i - 1].code + 1 : kTable[0].code;
    for (int code = gapStart; code < kTable[i].code; ++code, ++gaps) {
      ASSERT_TRUE(code == 0 || Text(code) == Fallback(code)) << "code " << code;
    }
  }
  EXPECT_GT(gaps, 10000);
  for (int code : {kTable[0].code - 1, kTable[kRows - 1].code + 1, -2147483647 - 1, 12345}) {
    EXPECT_EQ(Text(code), "unknown error") << code;
  }
  EXPECT_EQ(Text(-7026), "The schema registry URL is not specified. ");  // trailing blank
  EXPECT_EQ(std::strlen(KrError(nullptr, nullptr, 2685, 1)), kKrLongestErrorText + 0u);
  // Code 0, and the static buffer that cuts what would not fit.
  EXPECT_STREQ(KrError(nullptr, nullptr, 0, 0), "0");  // the digit without a context
  EXPECT_STREQ(KrError(nullptr, "X", 0, 0), "X : ok");
  char* first = KrError(nullptr, "A", -2008, 0);
  char* cut = KrError(nullptr, std::string(1000, 'c').c_str(), -2008, 0);
  EXPECT_EQ(cut, first);
  EXPECT_EQ(std::string(cut), std::string(kKrErrorBufferSize - 1, 'c'));
}

TEST(LoginError, TextsAndItsOwnBuffers) {
  ErrorText const cases[] = {{-2301, "Password is invalid"}, {-2307, "Login name is invalid"},
                             {-2302, "Login name is not unique, please contact Admin"},
                             {-2017, "Login data inconsistent, please contact Admin"},
                             {0, "Login to Database"}, {1, "Login to Dictionary"},
                             {-2147483647 - 1, "Login failed, Error was: -2147483648"}};
  for (auto const& c : cases) EXPECT_STREQ(KrLoginError(nullptr, nullptr, c.code, 1), c.text);
  // The failure text outlives calls that format lines; the line buffer is not KrError's.
  char buffer[128];
  char* text = KrLoginError(buffer, nullptr, 77, 1);
  char* login = KrLoginError(nullptr, "L", -2307, 0);
  char* error = KrError(nullptr, "E", -2008, 0);
  EXPECT_STREQ(KrLoginError(buffer, "X", 0, 0), "X : 0 -> Login to Database");
  EXPECT_STREQ(text, "Login failed, Error was: 77");
  EXPECT_STREQ(login, "L : -2307 -> Login name is invalid");
  EXPECT_STREQ(error, "E : -2008 -> database is not opened");
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
  // Touching, overlapping and disjoint second registrations are all refused,
  // and so are removals with other bounds.
  int const refused[][2] = {{-8100, -8200}, {-7900, -8000}, {-8050, -8060}, {-9000, -9100}};
  for (auto const& r : refused) {
    EXPECT_EQ(list->SetModuleErrorCallback(ModuleTexts, r[0], r[1]), -2002) << r[0];
  }
  EXPECT_EQ(list->SetModuleErrorCallback(nullptr, -8001, -8100), -2002);
  EXPECT_EQ(list->SetModuleErrorCallback(nullptr, -8000, -8099), -2002);
  EXPECT_EQ(Text(-8099) + "|" + Text(-8000) + "|" + Text(-8100),
            "module text|unknown error|unknown error");
  EXPECT_EQ(Text(-8050), "unknown error");  // the callback's null falls through
  EXPECT_EQ(gLastAsked, -8050);
  ASSERT_EQ(list->SetModuleErrorCallback(nullptr, -8000, -8100), 0);
  EXPECT_TRUE(!list->callback && list->upper == 0 && list->lower == 0);
  // The range is free again; the callback comes before table and count, not
  // before the query-language referral or code 0.
  ASSERT_EQ(list->SetModuleErrorCallback(ModuleTexts, 3100, -3200), 0);
  EXPECT_EQ(Text(-2008) + "|" + Text(5) + "|" + Text(-3099) + "|" + Text(3001) + "|" + Text(0),
            "module text|module text|" + kReferral + "|" + kReferral + "|ok");
  EXPECT_EQ(list->SetModuleErrorCallback(nullptr, 3100, -3200), 0);
}

}  // namespace
