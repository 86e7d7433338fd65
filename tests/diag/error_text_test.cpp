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

std::string Text(int code) { return KrError(nullptr, nullptr, code, 1); }

TEST(ErrorTable, HoldsAllCodesSortedAndUnique) {
  ASSERT_EQ(kTableSize, 512);
  for (int i = 1; i < kTableSize; ++i) {
    EXPECT_LT(kTable[i - 1].code, kTable[i].code) << "at row " << i;
  }
}

TEST(ErrorTable, EveryRowIsFoundWithItsExactText) {
  for (ErrorText const& row : kTable) {
    EXPECT_EQ(Text(row.code), row.text) << "code " << row.code;
  }
}

// What a code the table lacks reads as.
std::string FallbackText(int code) {
  if ((code >= -3099 && code <= -3001) || (code >= 3001 && code <= 3003)) {
    return "To get the OQL-Errors, use GetOqlErrMsg(...) at one of the OQL-Interface-Classes";
  }
  if (code >= 1 && code <= 999) return "count";
  return "unknown error";
}

TEST(ErrorTable, CodesBetweenRowsFallBack) {
  int checked = 0;
  for (int i = 1; i < kTableSize; ++i) {
    for (int code = kTable[i - 1].code + 1; code < kTable[i].code; ++code) {
      if (code == 0) continue;
      ASSERT_EQ(Text(code), FallbackText(code)) << "code " << code;
      ++checked;
    }
  }
  EXPECT_GT(checked, 10000);
  EXPECT_EQ(Text(kTable[0].code - 1), "unknown error");
  EXPECT_EQ(Text(kTable[kTableSize - 1].code + 1), "unknown error");
}

TEST(ErrorText, KnownTextsAreByteExact) {
  EXPECT_EQ(Text(-2002), "One of the parameters passed to this function is not valid.");
  EXPECT_EQ(Text(-2008), "database is not opened");
  EXPECT_EQ(Text(-7026), "The schema registry URL is not specified. ");  // trailing blank
  EXPECT_EQ(Text(-5004), "A module has an incompatible version.");
  EXPECT_EQ(std::strlen(KrError(nullptr, nullptr, 2685, 1)),
            static_cast<std::size_t>(kKrLongestErrorText));
}

TEST(ErrorText, SharedTextsAreShared) {
  EXPECT_EQ(Text(-7013), Text(-7012));
  EXPECT_EQ(Text(-2527), Text(-2526));
  EXPECT_EQ(Text(-2621), Text(-2620));
  EXPECT_NE(Text(-7013), "unknown error");
}

TEST(ErrorText, CodeZero) {
  char* line = KrError(nullptr, nullptr, 0, 0);
  EXPECT_STREQ(line, "0");  // the digit, not "ok"
  EXPECT_STREQ(KrError(nullptr, "X", 0, 0), "X : ok");
  EXPECT_STREQ(KrError(nullptr, nullptr, 0, 1), "ok");
  EXPECT_STREQ(KrError(nullptr, "X", 0, 1), "ok");
}

TEST(ErrorText, FormatsWithAndWithoutContext) {
  char buffer[512];
  EXPECT_EQ(KrError(buffer, "Open", -2008, 0), buffer);
  EXPECT_STREQ(buffer, "Open : -2008 -> database is not opened");
  EXPECT_EQ(KrError(buffer, nullptr, -2008, 0), buffer);
  EXPECT_STREQ(buffer, "database is not opened");
  KrError(buffer, "Op", 9002, 0);
  EXPECT_STREQ(buffer, "Op : 9002 -> The transaction reached the checkpoint and was committed.");
}

TEST(ErrorText, CountsAndUnknownCodes) {
  EXPECT_EQ(Text(1), "count");
  EXPECT_EQ(Text(999), "count");
  EXPECT_EQ(Text(1000), "unknown error");
  EXPECT_EQ(Text(-1), "unknown error");
  EXPECT_EQ(Text(12345), "unknown error");
  EXPECT_EQ(Text(-2147483647 - 1), "unknown error");
  char buffer[64];
  EXPECT_STREQ(KrError(buffer, "Read", 7, 0), "Read : 7 -> count");
}

TEST(ErrorText, QueryLanguageRangeHasItsReferralAndExactBounds) {
  std::string const referral =
      "To get the OQL-Errors, use GetOqlErrMsg(...) at one of the OQL-Interface-Classes";
  for (int code : {-3099, -3050, -3001, 3001, 3002, 3003}) EXPECT_EQ(Text(code), referral) << code;
  for (int code : {-3100, -3000, 3000, 3004}) EXPECT_NE(Text(code), referral) << code;
}

TEST(ErrorText, TextOnlyNeverTouchesTheBuffer) {
  char buffer[64];
  std::memset(buffer, 'Z', sizeof buffer);
  for (int code : {0, 1, -2008, -3050, 424242}) {
    char* text = KrError(buffer, "ctx", code, 1);
    EXPECT_NE(text, buffer);
  }
  for (char c : buffer) ASSERT_EQ(c, 'Z');
}

TEST(ErrorText, StaticBufferIsReusedAndBounded) {
  char* first = KrError(nullptr, "A", -2008, 0);
  char* second = KrError(nullptr, "B", -2002, 0);
  EXPECT_EQ(first, second);
  EXPECT_STREQ(second, "B : -2002 -> One of the parameters passed to this function is not valid.");
  std::string longContext(1000, 'c');
  char* cut = KrError(nullptr, longContext.c_str(), -2008, 0);
  EXPECT_EQ(std::strlen(cut), static_cast<std::size_t>(kKrErrorBufferSize - 1));
  EXPECT_EQ(std::string(cut, 10), std::string(10, 'c'));
}

}  // namespace
