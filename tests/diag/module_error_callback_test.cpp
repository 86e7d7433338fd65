#include <kr/diag.h>

#include <gtest/gtest.h>

#include <string>

namespace {

std::string Text(int code) { return KrError(nullptr, nullptr, code, 1); }

char gModuleText[] = "module text";
int gLastAsked = 0;

char* ModuleTexts(int code) {
  gLastAsked = code;
  return code == -8050 ? nullptr : gModuleText;  // -8050: "not mine"
}

char* OtherTexts(int) { return gModuleText; }

// Every test leaves the singleton empty again.
class ModuleErrorCallback : public ::testing::Test {
 protected:
  KrModuleErrorCallbackList* list = KrModuleErrorCallbackList::GetInstance();
  void TearDown() override {
    if (list->callback) list->SetModuleErrorCallback(nullptr, list->upper, list->lower);
    ASSERT_EQ(list->callback, nullptr);
  }
};

TEST_F(ModuleErrorCallback, SingletonStartsEmpty) {
  EXPECT_EQ(list, KrModuleErrorCallbackList::GetInstance());
  EXPECT_EQ(list->callback, nullptr);
  EXPECT_EQ(list->upper, 0);
  EXPECT_EQ(list->lower, 0);
  for (int code : {-1, 0, 1}) EXPECT_EQ(list->GetError(code), nullptr);
  KrModuleErrorCallbackList fresh;
  EXPECT_EQ(fresh.callback, nullptr);
  EXPECT_EQ(fresh.upper, 0);
  EXPECT_EQ(fresh.lower, 0);
}

TEST_F(ModuleErrorCallback, ServesItsRangeStrictly) {
  ASSERT_EQ(list->SetModuleErrorCallback(ModuleTexts, -8000, -8100), 0);
  EXPECT_EQ(Text(-8099), "module text");
  EXPECT_EQ(gLastAsked, -8099);
  EXPECT_EQ(Text(-8001), "module text");
  gLastAsked = 0;
  EXPECT_EQ(Text(-8000), "unknown error");
  EXPECT_EQ(Text(-8100), "unknown error");
  EXPECT_EQ(gLastAsked, 0);
  EXPECT_EQ(Text(-8050), "unknown error");  // the callback's null falls through
  EXPECT_EQ(gLastAsked, -8050);
  EXPECT_EQ(list->GetError(-8050), nullptr);
  EXPECT_EQ(list->GetError(-8051), gModuleText);
  char buffer[128];
  EXPECT_STREQ(KrError(buffer, "Op", -8042, 0), "Op : -8042 -> module text");
}

TEST_F(ModuleErrorCallback, ComesBeforeTableAndCountButNotQueryLanguage) {
  ASSERT_EQ(list->SetModuleErrorCallback(OtherTexts, 3100, -3200), 0);
  EXPECT_EQ(Text(-2008), "module text");
  EXPECT_EQ(Text(5), "module text");
  EXPECT_EQ(Text(-3099).substr(0, 15), "To get the OQL-");
  EXPECT_EQ(Text(3001).substr(0, 15), "To get the OQL-");
  EXPECT_EQ(Text(-3100), "module text");
  EXPECT_STREQ(KrError(nullptr, nullptr, 0, 1), "ok");
}

TEST_F(ModuleErrorCallback, NullAnswerFallsBackToTheTable) {
  ASSERT_EQ(list->SetModuleErrorCallback(ModuleTexts, -8049, -8051), 0);
  EXPECT_EQ(Text(-8050), "unknown error");
  ASSERT_EQ(list->SetModuleErrorCallback(nullptr, -8049, -8051), 0);
}

TEST_F(ModuleErrorCallback, RefusesBadRegistrationsAndKeepsTheFirst) {
  EXPECT_EQ(list->SetModuleErrorCallback(ModuleTexts, -8100, -8000), -2002);  // upper < lower
  EXPECT_EQ(list->callback, nullptr);
  ASSERT_EQ(list->SetModuleErrorCallback(ModuleTexts, -8000, -8100), 0);
  // Touching ranges are refused by the inclusive test.
  EXPECT_EQ(list->SetModuleErrorCallback(OtherTexts, -8100, -8200), -2002);
  EXPECT_EQ(list->SetModuleErrorCallback(OtherTexts, -7900, -8000), -2002);
  EXPECT_EQ(list->SetModuleErrorCallback(OtherTexts, -8050, -8060), -2002);
  // Room for one registration: a disjoint second one is refused too.
  EXPECT_EQ(list->SetModuleErrorCallback(OtherTexts, -9000, -9100), -2002);
  EXPECT_EQ(list->callback, ModuleTexts);
  EXPECT_EQ(list->upper, -8000);
  EXPECT_EQ(list->lower, -8100);
  EXPECT_EQ(Text(-9050), "unknown error");
}

TEST_F(ModuleErrorCallback, UnregistersOnlyWithTheExactBounds) {
  ASSERT_EQ(list->SetModuleErrorCallback(ModuleTexts, -8000, -8100), 0);
  EXPECT_EQ(list->SetModuleErrorCallback(nullptr, -8001, -8100), -2002);
  EXPECT_EQ(list->SetModuleErrorCallback(nullptr, -8000, -8099), -2002);
  EXPECT_EQ(list->callback, ModuleTexts);
  EXPECT_EQ(list->SetModuleErrorCallback(nullptr, -8000, -8100), 0);
  EXPECT_EQ(list->callback, nullptr);
  EXPECT_EQ(list->upper, 0);
  EXPECT_EQ(list->lower, 0);
  EXPECT_EQ(Text(-8050), "unknown error");
  // The range is free again.
  EXPECT_EQ(list->SetModuleErrorCallback(OtherTexts, -9000, -9100), 0);
}

}  // namespace
