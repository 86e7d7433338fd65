// DllNameClass: module file base names.
#include <kr/diag.h>

#include <gtest/gtest.h>

#include <cstring>

namespace {

TEST(DllName, CompositionOrder) {
  EXPECT_STREQ(DllNameClass("Nbs").GetDllName(), "kr95Nbs");
  EXPECT_STREQ(DllNameClass("Nbs", 'd').GetDllName(), "kr95Nbsd");
  EXPECT_STREQ(DllNameClass("Nbs", 'd', 7).GetDllName(), "kr95Nbs7");  // the number wins
  EXPECT_STREQ(DllNameClass("Nbs", 0, -12).GetDllName(), "kr95Nbs-12");
  DllNameClass name(nullptr);
  EXPECT_STREQ(static_cast<char*>(name), "");  // nothing to compose: buffer as it is
  std::strcpy(name.buffer, "kept");
  EXPECT_STREQ(name.GetDllName(), "kept");
  char out[16];
  EXPECT_STREQ(DllNameClass::GetGenericDllName("Nbs", out), "krNbs");
  DllNameClass::second_char = 'q';
  DllNameClass::mayor_vers[1] = '6';
  EXPECT_STREQ(DllNameClass("Nbs", 'd').GetDllName(), "kq96Nbsd");
  EXPECT_STREQ(DllNameClass::GetGenericDllName("Nbs", out), "kqNbs");
  DllNameClass::second_char = 'r';
  DllNameClass::mayor_vers[1] = '5';
}

TEST(DllName, AssignmentFreezesTheComposedName) {
  DllNameClass source("Nbs", 'd');
  DllNameClass copy("Other", 'z', 3);
  copy = source;
  EXPECT_EQ(copy.base, nullptr);
  EXPECT_EQ(copy.letter, 0);
  EXPECT_EQ(copy.number, 0);
  source.letter = 'e';
  EXPECT_STREQ(source.GetDllName(), "kr95Nbse");
  EXPECT_STREQ(copy.GetDllName(), "kr95Nbsd");
}

}  // namespace
