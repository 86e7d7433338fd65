#include <kr/containers.h>

#include <gtest/gtest.h>

#include "tree_test_support.h"

namespace {

using kr_test::Item;

TEST(OneEntryContainer, StoresTheTripleAndItsElementFunctions) {
  int key = 5, dat = 6;
  KrOneEntryContainer container(&key, &dat, 0x99);
  EXPECT_EQ(container.GetType(), 4);
  EXPECT_EQ(container.elementSize, 0u);
  EXPECT_EQ(container.flags, 0);
  EXPECT_EQ(container.count, 0u);
  EXPECT_EQ(container.keyOfElement, &OneEntryKeyOfElement);
  EXPECT_EQ(container.datOfElement, &OneEntryDatOfElement);
  EXPECT_EQ(container.flagsOfElement, &OneEntryFlagsOfElement);
  EXPECT_EQ(container.constructorElement, &DefaultConstructorElement);
  EXPECT_EQ(container.compareElement, &DefaultCompareElement);
  EXPECT_EQ(container.destructorElement, nullptr);
  EXPECT_EQ(container.CreateIterator(nullptr), nullptr);
  EXPECT_EQ(container.Clear(nullptr, nullptr, nullptr), -2999);
}

TEST(OneEntryContainer, ElementFunctionsIgnoreTheElement) {
  int key = 5, dat = 6, other = 7;
  KrOneEntryContainer container(&key, &dat, 0x99);
  int status = 123;
  EXPECT_EQ(OneEntryKeyOfElement(&container, &other, status, nullptr), &key);
  EXPECT_EQ(status, 0);
  status = 123;
  EXPECT_EQ(OneEntryDatOfElement(&container, &other, status, nullptr), &dat);
  EXPECT_EQ(status, 0);
  status = 123;
  EXPECT_EQ(OneEntryFlagsOfElement(&container, nullptr, status, nullptr), 0x99u);
  EXPECT_EQ(status, 0);

  KrOneEntryContainer noDat(&key, nullptr, 0);
  EXPECT_EQ(OneEntryDatOfElement(&noDat, &other, status, nullptr), nullptr);
  EXPECT_EQ(status, -519);
}

TEST(OneEntryContainer, SearchFindsNothingAndPutsTheResultAfterTheEnd) {
  int key = 1;
  KrOneEntryContainer container(&key, nullptr, 0);
  KrOneEntryIterator probe(&container, nullptr);
  KrOneEntryIterator result(&container, nullptr);
  ASSERT_EQ(result.status, 0);
  EXPECT_EQ(container.SearchElement(&probe, nullptr, 0, nullptr, &result), -510);
  EXPECT_EQ(result.status, -522);
  EXPECT_EQ(container.SearchElement(&probe, nullptr, 0x40, nullptr, nullptr), -510);
}

TEST(OneEntryContainer, ReadsThroughTheBaseGettersLikeAnyContainer) {
  int key = 5, dat = 6;
  KrOneEntryContainer container(&key, &dat, 0x1234);
  KrOneEntryIterator iterator(&container, nullptr);
  int status = 1;
  EXPECT_EQ(iterator.GetFlags(status, nullptr), 0x1234u);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(iterator.GetElement(status, nullptr), &key);  // the key is the entry

  void const* element = nullptr;
  void const* gotKey = nullptr;
  void const* gotDat = nullptr;
  unsigned long flags = 0;
  EXPECT_EQ(iterator.GetEntryParts(&key, &element, &gotKey, &gotDat, &flags, nullptr), 0);
  EXPECT_EQ(element, &key);
  EXPECT_EQ(gotKey, &key);
  EXPECT_EQ(gotDat, &dat);
  EXPECT_EQ(flags, 0x1234u);
}

TEST(OneEntryContainer, IsTheProbeOfTreeOperations) {
  kr_test::ItemTree tree(0);
  Item value = {7, 1, 0};
  KrOneEntryContainer container(&value, nullptr, 0);
  KrOneEntryIterator probe(&container, nullptr);
  ASSERT_EQ(tree.InsertElement(&probe, nullptr, 0, nullptr), 0);

  Item wanted = {7, 1, 99};  // the serial is not compared
  KrOneEntryContainer wantedContainer(&wanted, nullptr, 0);
  KrOneEntryIterator wantedProbe(&wantedContainer, nullptr);
  KrRBTreeIterator result(&tree, nullptr);
  ASSERT_EQ(tree.SearchElement(&wantedProbe, nullptr, 0, nullptr, &result), 0);
  int status = 0;
  Item const* found = static_cast<Item const*>(result.GetElement(status, nullptr));
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(found->serial, 0);
  EXPECT_EQ(tree.DeleteElement(&wantedProbe, nullptr, 0, nullptr), 0);
  EXPECT_EQ(tree.count, 0u);

  // A probe that is not positioned passes its status out.
  KrOneEntryContainer empty(nullptr, nullptr, 0);
  KrOneEntryIterator emptyProbe(&empty, nullptr);
  EXPECT_EQ(tree.InsertElement(&emptyProbe, nullptr, 0, nullptr), -521);
  EXPECT_EQ(tree.count, 0u);
}

}  // namespace
