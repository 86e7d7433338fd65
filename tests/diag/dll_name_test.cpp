// DllNameClass: module file base names.
#include <kr/diag.h>

#include <gtest/gtest.h>

#include <cstring>

namespace {

TEST(DllName, CompositionOrder) {
  EXPECT_STREQ(DllNameClass("Nbs").GetDllName(), "kr95Nbs");
  EXPECT_STREQ(DllNameClass("Nbs", 'd').GetDllName(), "kr95Nbsd");
  EXPECT_STREQ(DllNameClass("Nbs", 'd', 7).GetDllName(), "kr95Nbs7");  // the number wins
  EXPECT_STREQ(DllNameClass("Nbs", 0, 7).GetDllName(), "kr95Nbs7");
  EXPECT_STREQ(DllNameClass("Nbs", 0, -12).GetDllName(), "kr95Nbs-12");
  EXPECT_STREQ(DllNameClass("").GetDllName(), "kr95");
  DllNameClass name("Sys", 'x');
  EXPECT_STREQ(static_cast<char*>(name), "kr95Sysx");
  EXPECT_EQ(name.GetDllName(), name.buffer);
}

TEST(DllName, NothingToComposeLeavesTheBuffer) {
  DllNameClass name(nullptr);
  EXPECT_STREQ(name.GetDllName(), "");
  std::strcpy(name.buffer, "kept");
  EXPECT_STREQ(name.GetDllName(), "kept");
  name.base = "Nbs";
  EXPECT_STREQ(name.GetDllName(), "kr95Nbs");
  name.base = nullptr;
  EXPECT_STREQ(name.GetDllName(), "kr95Nbs");
}

TEST(DllName, StaticPartsAreUsed) {
  EXPECT_EQ(DllNameClass::second_char, 'r');
  EXPECT_STREQ(DllNameClass::mayor_vers, "95");
  EXPECT_STREQ(DllNameClass::compiler_suffix, "");
  DllNameClass::second_char = 'q';
  DllNameClass::mayor_vers[1] = '6';
  EXPECT_STREQ(DllNameClass("Nbs", 'd').GetDllName(), "kq96Nbsd");
  char out[32];
  EXPECT_STREQ(DllNameClass::GetGenericDllName("Nbs", out), "kqNbs");
  DllNameClass::second_char = 'r';
  DllNameClass::mayor_vers[1] = '5';
}

TEST(DllName, GenericNameHasNoVersion) {
  char out[32] = "garbage";
  EXPECT_EQ(DllNameClass::GetGenericDllName("Nbs", out), out);
  EXPECT_STREQ(out, "krNbs");
  EXPECT_STREQ(DllNameClass::GetGenericDllName("", out), "kr");
}

TEST(DllName, AssignmentFreezesTheComposedName) {
  DllNameClass source("Nbs", 'd');
  DllNameClass copy("Other", 'z', 3);
  copy = source;
  EXPECT_EQ(copy.base, nullptr);
  EXPECT_EQ(copy.letter, 0);
  EXPECT_EQ(copy.number, 0);
  EXPECT_STREQ(copy.GetDllName(), "kr95Nbsd");
  source.letter = 'e';
  EXPECT_STREQ(source.GetDllName(), "kr95Nbse");
  EXPECT_STREQ(copy.GetDllName(), "kr95Nbsd");  // frozen
  EXPECT_STREQ(source.base, "Nbs");             // the source keeps its parts

  DllNameClass& self = copy;
  copy = self;
  EXPECT_STREQ(copy.GetDllName(), "kr95Nbsd");
}

}  // namespace
