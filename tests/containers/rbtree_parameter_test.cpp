#include <kr/containers.h>

#include <gtest/gtest.h>

namespace {

TEST(RBTreeParameter, IsABaseParameterOfTypeOne) {
  KrRBTreeParameter parameter;
  EXPECT_EQ(parameter.GetType(), 1);
  EXPECT_EQ(parameter.entry, nullptr);
  EXPECT_EQ(parameter.aux, nullptr);
  int a = 0, b = 0;
  parameter.entry = &a;
  parameter.aux = &a;
  KrRBTreeParameter copy(parameter);
  EXPECT_EQ(copy.entry, &a);
  KrRBTreeParameter assigned;
  assigned.aux = &b;
  assigned = parameter;
  EXPECT_EQ(assigned.entry, &a);
  EXPECT_EQ(assigned.aux, &b);  // assignment leaves aux alone
  KrVParameter& base = assigned;
  EXPECT_EQ(base.GetType(), 1);
}

}  // namespace
