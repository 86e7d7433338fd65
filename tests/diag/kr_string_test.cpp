// KrString: the console's owned text.
#include <kr/diag.h>

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(KrString, OwnsACopyOfItsText) {
  char source[] = "norvane";
  KrString text(source);
  source[0] = 'X';
  EXPECT_STREQ(text.Text(), "norvane");
  EXPECT_EQ(text.Length(), 7u);
  EXPECT_NE(text.Text(), source);
}

TEST(KrString, EmptyAndNull) {
  KrString empty;
  EXPECT_STREQ(empty.Text(), "");
  EXPECT_EQ(empty.Length(), 0u);
  KrString null(nullptr);
  EXPECT_STREQ(null.Text(), "");
  EXPECT_EQ(null.Length(), 0u);
}

TEST(KrString, CopiesAreIndependent) {
  KrString a("first");
  KrString b(a);
  EXPECT_STREQ(b.Text(), "first");
  EXPECT_NE(a.Text(), b.Text());
  KrString c("a much longer second text");
  b = c;
  EXPECT_STREQ(b.Text(), "a much longer second text");
  EXPECT_EQ(b.Length(), 25u);
  EXPECT_STREQ(a.Text(), "first");
  KrString& self = b;
  b = self;
  EXPECT_STREQ(b.Text(), "a much longer second text");
}

}  // namespace
