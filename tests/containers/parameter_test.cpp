#include <kr/containers.h>

#include <gtest/gtest.h>

namespace {

TEST(Parameter, StartsEmpty) {
  KrVParameter parameter;
  EXPECT_EQ(parameter.entry, nullptr);
  EXPECT_EQ(parameter.aux, nullptr);
  EXPECT_EQ(parameter.GetType(), 0);
}

TEST(Parameter, CopyingCarriesTheEntryOnly) {
  int a = 0, b = 0, c = 0;
  KrVParameter source;
  source.entry = &a;
  source.aux = &b;
  KrVParameter copy(source);
  EXPECT_EQ(copy.entry, &a);  // aux is left uninitialised by design: not read

  KrVParameter target;
  target.aux = &c;
  target = source;
  EXPECT_EQ(target.entry, &a);
  EXPECT_EQ(target.aux, &c);
}

}  // namespace
