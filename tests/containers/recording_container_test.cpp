#include <kr/containers.h>

#include <gtest/gtest.h>

#include <string>

#include "../memory/recording_handler.h"
#include "diff_test_support.h"
#include "failing_alloc.h"

namespace {

int RefuseElement(KrVContainer*, void*, KrVIterator const*, void const*, void const*,
                  KrVParameter*) {
  return -77;
}

// Elements go to the file's logical end in the order of insertion, built by
// the constructor function from the probe's key; the position stays.
TEST(RecordingContainer, AppendsElementsAndUndoesFailedOnes) {
  MemFile file(0, 0);
  kr_test::Append(file, "head:");
  file.position = 2;
  KrRecordingContainer out(&file, 3);
  kr_test::Records records("abcdef", 3);
  ASSERT_EQ(records.walk.First(), 0);
  KrOneEntryContainer one("xyz", nullptr, 0);
  KrOneEntryIterator probe(&one, nullptr);
  EXPECT_EQ(out.InsertElement(&records.walk, nullptr, 0, nullptr), 0);
  EXPECT_EQ(out.InsertElement(&probe, nullptr, 0, nullptr), 0);
  ASSERT_EQ(records.walk.Next(), 0);
  EXPECT_EQ(out.InsertElement(&records.walk, nullptr, 0, nullptr), 0);
  EXPECT_EQ(records.walk.Next(), -522);
  EXPECT_EQ(out.InsertElement(&records.walk, nullptr, 0, nullptr), -522);  // no element
  EXPECT_EQ(kr_test::Contents(file), "head:abcxyzdef");
  EXPECT_EQ(out.count, 3u);
  EXPECT_EQ(file.position, 2);

  out.constructorElement = RefuseElement;
  EXPECT_EQ(out.InsertElement(&probe, nullptr, 0, nullptr), -77);
  out.constructorElement = nullptr;
  EXPECT_EQ(out.InsertElement(&probe, nullptr, 0, nullptr), kKrNotImplemented);
  out.constructorElement = DefaultConstructorElement;
  {
    kr_test::RecordingHandler handler;
    kr_test::AllocationFailure failure(1, true);
    MemFile empty(0, 0);
    KrRecordingContainer into(&empty, 3);
    EXPECT_EQ(into.InsertElement(&probe, nullptr, 0, nullptr), kKrNoMemory);
    EXPECT_EQ(empty.logicalSize, 0);
    EXPECT_EQ(into.count, 0u);
    EXPECT_EQ(handler.calls, 1);
  }
  EXPECT_EQ(kr_test::Contents(file), "head:abcxyzdef");
  EXPECT_EQ(out.count, 3u);
}

}  // namespace
