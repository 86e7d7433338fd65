// Result texts: the table, the fallbacks, the formatted line, the login texts and the one
// module callback that may serve a range of codes. The texts fuzz target checks the line
// format for any code and context against text-only mode.
#include <kr/diag.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

struct ErrorText {
  int code;
  char const* text;
};
constexpr ErrorText kTable[] = {
#include "diag/error_table.inc"
};
constexpr int kTableSize = sizeof kTable / sizeof kTable[0];
std::string const kReferral =
    "To get the OQL-Errors, use GetOqlErrMsg(...) at one of the OQL-Interface-Classes";

std::string Text(int code) { return KrError(nullptr, nullptr, code, 1); }

// Every row is found with its exact text; every code between rows reads as its fallback.
TEST(ErrorText, TableRowsAndFallbacks) {
  ASSERT_EQ(kTableSize, 512);
  int between = 0;
  for (int i = 0; i < kTableSize; ++i) {
    EXPECT_EQ(Text(kTable[i].code), kTable[i].text) << kTable[i].code;
    if (i == 0) continue;
    EXPECT_LT(kTable[i - 1].code, kTable[i].code) << "row " << i;
    for (int code = kTable[i - 1].code + 1; code < kTable[i].code; ++code, ++between) {
      if (code == 0) continue;
      bool const query = (code >= -3099 && code <= -3001) || (code >= 3001 && code <= 3003);
      ASSERT_EQ(Text(code), query ? kReferral : code >= 1 && code <= 999 ? "count" : "unknown error")
          << code;
    }
  }
  EXPECT_GT(between, 10000);
  for (int code : {kTable[0].code - 1, kTable[kTableSize - 1].code + 1, -3100, -3000, 3000, 3004})
    EXPECT_EQ(Text(code), "unknown error") << code;
  EXPECT_EQ(std::strlen(KrError(nullptr, nullptr, 2685, 1)), size_t(kKrLongestErrorText));
}

// {code, context, buffer given, text only, expected}. Code 0 in a line shows "ok" (no code);
// the login texts format like the others but for 0, which is a text of its own.
TEST(ErrorText, LinesAndLoginTexts) {
  struct Case {
    bool login;
    int code;
    char const* context;
    bool buffer;
    int textOnly;
    char const* expected;
  } const cases[] = {
      {false, -2008, "Open", true, 0, "Open : -2008 -> database is not opened"},
      {false, -2008, nullptr, true, 0, "database is not opened"},
      {false, 9002, "Op", true, 0,
       "Op : 9002 -> The transaction reached the checkpoint and was committed."},
      {false, 7, "Read", true, 0, "Read : 7 -> count"},
      {false, -7026, nullptr, false, 1, "The schema registry URL is not specified. "},
      {false, 0, nullptr, false, 0, "0"},
      {false, 0, "X", false, 0, "X : ok"},
      {false, 0, nullptr, false, 1, "ok"},
      {false, 0, "X", false, 1, "ok"},
      {true, -2301, nullptr, false, 1, "Password is invalid"},
      {true, -2302, nullptr, false, 1, "Login name is not unique, please contact Admin"},
      {true, -2307, nullptr, false, 1, "Login name is invalid"},
      {true, -2017, nullptr, false, 1, "Login data inconsistent, please contact Admin"},
      {true, 0, nullptr, false, 1, "Login to Database"},
      {true, 1, nullptr, false, 1, "Login to Dictionary"},
      {true, -2008, nullptr, false, 1, "Login failed, Error was: -2008"},
      {true, -2147483647 - 1, nullptr, false, 1, "Login failed, Error was: -2147483648"},
      {true, 2, "Login", true, 0, "Login : 2 -> Login failed, Error was: 2"},
      {true, 0, "X", true, 0, "X : 0 -> Login to Database"},
      {true, 0, nullptr, true, 0, "Login to Database"},
  };
  for (Case const& c : cases) {
    char buffer[512];
    std::memset(buffer, 'Z', sizeof buffer);
    char* const given = c.buffer ? buffer : nullptr;
    char* const line = c.login ? KrLoginError(given, c.context, c.code, c.textOnly)
                               : KrError(given, c.context, c.code, c.textOnly);
    EXPECT_STREQ(line, c.expected) << c.code;
    EXPECT_EQ(line == buffer, c.buffer && !c.textOnly) << c.code;
  }
  for (int code : {-7012, -2526, -2620}) EXPECT_EQ(Text(code - 1), Text(code));  // shared texts
}

// Text-only mode never writes the buffer; a login failure text outlives later calls; each
// function reuses its own static buffer, bounded by its size.
TEST(ErrorText, Buffers) {
  char buffer[64];
  std::memset(buffer, 'Z', sizeof buffer);
  for (int code : {0, 1, -2008, -3050, 424242}) EXPECT_NE(KrError(buffer, "ctx", code, 1), buffer);
  char* const failure = KrLoginError(buffer, nullptr, 77, 1);
  for (char c : buffer) ASSERT_EQ(c, 'Z');
  char* const login = KrLoginError(nullptr, "L", -2307, 0);
  char* const first = KrError(nullptr, "A", -2008, 0);
  char* const second = KrError(nullptr, "B", -2002, 0);
  KrLoginError(buffer, "Y", -2301, 0);
  EXPECT_TRUE(first == second && login != first);
  EXPECT_STREQ(second, "B : -2002 -> One of the parameters passed to this function is not valid.");
  EXPECT_STREQ(login, "L : -2307 -> Login name is invalid");
  EXPECT_STREQ(failure, "Login failed, Error was: 77");
  std::string const longContext(1000, 'c');
  char* const cut = KrError(nullptr, longContext.c_str(), -2008, 0);
  EXPECT_EQ(std::string(cut), longContext.substr(0, kKrErrorBufferSize - 1));
}

char gModuleText[] = "module text";
int gLastAsked = 0;
char* ModuleTexts(int code) {
  gLastAsked = code;
  return code == -8050 ? nullptr : gModuleText;  // -8050: "not mine"
}
char* OtherTexts(int) { return gModuleText; }

// One registration at a time, for an inclusive range that must be registered and removed with
// its exact bounds; its codes (strictly inside) come before the table and the counts, but not
// before the query-language referral; a null answer falls through to the table.
TEST(ErrorText, ModuleCallback) {
  KrModuleErrorCallbackList* const list = KrModuleErrorCallbackList::GetInstance();
  KrModuleErrorCallbackList const fresh;
  EXPECT_TRUE(list == KrModuleErrorCallbackList::GetInstance() && !list->callback &&
              !list->upper && !list->lower && !fresh.callback && !fresh.upper && !fresh.lower);
  for (int code : {-1, 0, 1}) EXPECT_EQ(list->GetError(code), nullptr);
  EXPECT_EQ(list->SetModuleErrorCallback(ModuleTexts, -8100, -8000), -2002);  // upper < lower
  ASSERT_EQ(list->SetModuleErrorCallback(ModuleTexts, -8000, -8100), 0);
  for (auto const& range : {std::pair<int, int>{-8100, -8200}, {-7900, -8000}, {-8050, -8060},
                            {-9000, -9100}})
    EXPECT_EQ(list->SetModuleErrorCallback(OtherTexts, range.first, range.second), -2002);
  EXPECT_TRUE(list->callback == ModuleTexts && list->upper == -8000 && list->lower == -8100);
  EXPECT_EQ(Text(-8099), "module text");
  EXPECT_EQ(gLastAsked, -8099);
  EXPECT_EQ(Text(-8001), "module text");
  gLastAsked = 0;
  EXPECT_TRUE(Text(-8000) == "unknown error" && Text(-8100) == "unknown error" && !gLastAsked);
  EXPECT_TRUE(Text(-8050) == "unknown error" && gLastAsked == -8050);
  EXPECT_TRUE(list->GetError(-8050) == nullptr && list->GetError(-8051) == gModuleText);
  char buffer[128];
  EXPECT_STREQ(KrError(buffer, "Op", -8042, 0), "Op : -8042 -> module text");
  EXPECT_EQ(list->SetModuleErrorCallback(nullptr, -8001, -8100), -2002);
  EXPECT_EQ(list->SetModuleErrorCallback(nullptr, -8000, -8099), -2002);
  EXPECT_EQ(list->SetModuleErrorCallback(nullptr, -8000, -8100), 0);
  EXPECT_TRUE(!list->callback && !list->upper && !list->lower && Text(-8050) == "unknown error");
  ASSERT_EQ(list->SetModuleErrorCallback(OtherTexts, 3100, -3200), 0);  // the range is free
  EXPECT_TRUE(Text(-2008) == "module text" && Text(5) == "module text" &&
              Text(-3100) == "module text");
  EXPECT_TRUE(Text(-3099) == kReferral && Text(3001) == kReferral && Text(0) == "ok");
  EXPECT_EQ(list->SetModuleErrorCallback(nullptr, 3100, -3200), 0);
}

}  // namespace
