#include <kr/diag.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

TEST(LoginError, FixedTexts) {
  EXPECT_STREQ(KrLoginError(nullptr, nullptr, -2301, 1), "Password is invalid");
  EXPECT_STREQ(KrLoginError(nullptr, nullptr, -2302, 1),
               "Login name is not unique, please contact Admin");
  EXPECT_STREQ(KrLoginError(nullptr, nullptr, -2307, 1), "Login name is invalid");
  EXPECT_STREQ(KrLoginError(nullptr, nullptr, -2017, 1),
               "Login data inconsistent, please contact Admin");
  EXPECT_STREQ(KrLoginError(nullptr, nullptr, 0, 1), "Login to Database");
  EXPECT_STREQ(KrLoginError(nullptr, nullptr, 1, 1), "Login to Dictionary");
}

TEST(LoginError, OtherCodesReportTheCode) {
  EXPECT_STREQ(KrLoginError(nullptr, nullptr, -2008, 1), "Login failed, Error was: -2008");
  EXPECT_STREQ(KrLoginError(nullptr, nullptr, -2147483647 - 1, 1),
               "Login failed, Error was: -2147483648");
  char buffer[128];
  EXPECT_STREQ(KrLoginError(buffer, "Login", 2, 0), "Login : 2 -> Login failed, Error was: 2");
}

TEST(LoginError, FailureTextOutlivesTheCallInTextOnlyMode) {
  char buffer[128];
  std::memset(buffer, 'Z', sizeof buffer);
  char* text = KrLoginError(buffer, nullptr, 77, 1);
  EXPECT_NE(text, buffer);
  EXPECT_EQ(buffer[0], 'Z');
  // Calls that format lines do not disturb it.
  KrLoginError(nullptr, "X", 0, 0);
  KrLoginError(buffer, "Y", -2301, 0);
  KrError(nullptr, "Z", -2008, 0);
  EXPECT_STREQ(text, "Login failed, Error was: 77");
}

TEST(LoginError, CodeZeroUsesTheGeneralFormat) {
  char buffer[128];
  EXPECT_EQ(KrLoginError(buffer, "X", 0, 0), buffer);
  EXPECT_STREQ(buffer, "X : 0 -> Login to Database");
  EXPECT_STREQ(KrLoginError(buffer, nullptr, 0, 0), "Login to Database");
}

TEST(LoginError, HasItsOwnStaticBuffer) {
  char* login = KrLoginError(nullptr, "L", -2307, 0);
  char* error = KrError(nullptr, "E", -2008, 0);
  EXPECT_NE(login, error);
  EXPECT_STREQ(login, "L : -2307 -> Login name is invalid");
  EXPECT_STREQ(error, "E : -2008 -> database is not opened");
}

}  // namespace
