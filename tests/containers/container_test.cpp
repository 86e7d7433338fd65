#include <kr/containers.h>

#include <gtest/gtest.h>

#include <cstring>

namespace {

void DestroyNothing(KrVContainer*, void*) {}

TEST(Container, StartsWithTheDefaultElementFunctions) {
  KrVContainer container(12, 0x0003);
  EXPECT_EQ(container.count, 0u);
  EXPECT_EQ(container.elementSize, 12u);
  EXPECT_EQ(container.flags, 0x0003);
  EXPECT_EQ(container.constructorElement, &DefaultConstructorElement);
  EXPECT_EQ(container.destructorElement, nullptr);
  EXPECT_EQ(container.compareElement, &DefaultCompareElement);
  EXPECT_EQ(container.keyOfElement, &DefaultKeyOfElement);
  EXPECT_EQ(container.datOfElement, &DefaultDatOfElement);
  EXPECT_EQ(container.flagsOfElement, &DefaultFlagsOfElement);
}

TEST(Container, CopyTakesEveryField) {
  KrVContainer source(8, 1);
  source.count = 5;
  source.destructorElement = DestroyNothing;
  source.compareElement = nullptr;
  KrVContainer copy(source);
  EXPECT_EQ(copy.count, 5u);
  EXPECT_EQ(copy.elementSize, 8u);
  EXPECT_EQ(copy.flags, 1);
  EXPECT_EQ(copy.destructorElement, &DestroyNothing);
  EXPECT_EQ(copy.compareElement, nullptr);
  EXPECT_EQ(copy.keyOfElement, &DefaultKeyOfElement);
}

TEST(Container, BaseOperationsAreNotImplemented) {
  KrVContainer container(4, 0);
  KrVIterator probe(nullptr, &container);
  KrVParameter parameter;
  unsigned long count = 99;
  EXPECT_EQ(container.GetType(), 0);
  EXPECT_EQ(container.Clone(nullptr), nullptr);
  EXPECT_EQ(container.Clone(&container), nullptr);
  EXPECT_EQ(container.Clear(nullptr, &count, nullptr), -2999);
  EXPECT_EQ(count, 99u);
  EXPECT_EQ(container.SearchElement(&probe, nullptr, 0, &parameter, &probe), -2999);
  EXPECT_EQ(container.InsertElement(&probe, nullptr, 0, &parameter), -2999);
  EXPECT_EQ(container.DeleteElement(&probe, nullptr, 0, &parameter), -2999);
  EXPECT_EQ(container.CreateIterator(nullptr), nullptr);
  int entry = 0;
  EXPECT_EQ(container.GetElementOfEntry(&entry), &entry);
  EXPECT_EQ(container.GetElementOfEntry(nullptr), nullptr);
}

TEST(DefaultElementFunctions, BehaveAsDocumented) {
  KrVContainer container(6, 0);
  char const source[6] = {'a', 'b', 'c', 'd', 'e', 'f'};
  char destination[8] = {'x', 'x', 'x', 'x', 'x', 'x', 'x', 'x'};
  EXPECT_EQ(DefaultConstructorElement(&container, destination, nullptr, source, nullptr, nullptr),
            0);
  EXPECT_EQ(std::memcmp(destination, "abcdefxx", 8), 0);  // exactly elementSize bytes

  int keyComparison = 7, order = 7;
  EXPECT_EQ(DefaultCompareElement(&container, keyComparison, order, nullptr, source, nullptr,
                                  destination, nullptr),
            0);
  EXPECT_EQ(keyComparison, 0);
  EXPECT_EQ(order, 0);

  int status = 99;
  EXPECT_EQ(DefaultKeyOfElement(&container, source, status, nullptr), source);
  EXPECT_EQ(status, 0);
  status = 99;
  EXPECT_EQ(DefaultDatOfElement(&container, source, status, nullptr), nullptr);
  EXPECT_EQ(status, -519);
  status = 99;
  EXPECT_EQ(DefaultFlagsOfElement(&container, source, status, nullptr), 1u);
  EXPECT_EQ(status, 0);
}

}  // namespace
