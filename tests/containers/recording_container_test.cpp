#include <kr/containers.h>

#include <gtest/gtest.h>

#include "recording_handler.h"
#include "diff_test_support.h"
#include "failing_alloc.h"

namespace {

int RefuseElement(KrVContainer*, void*, KrVIterator const*, void const*, void const*,
                  KrVParameter*) {
  return -77;
}

// Appended at the logical end in the order of insertion, built from the
// probe's key; the position stays. A failed insertion leaves the file alone.
TEST(RecordingContainer, AppendsElementsAndUndoesFailedOnes) {
  MemFile file(0, 0);
  kr_test::Append(file, "head:");
  file.position = 2;
  KrRecordingContainer out(&file, 3);
  kr_test::Records records("abcdef", 3);
  KrOneEntryContainer one("xyz", nullptr, 0);
  KrOneEntryIterator probe(&one, nullptr);
  EXPECT_EQ(out.InsertElement(&records.walk, nullptr, 0, nullptr), -521);  // no element yet
  records.walk.First();
  EXPECT_EQ(out.InsertElement(&records.walk, nullptr, 0, nullptr), 0);
  EXPECT_EQ(out.InsertElement(&probe, nullptr, 0, nullptr), 0);
  records.walk.Next();
  EXPECT_EQ(out.InsertElement(&records.walk, nullptr, 0, nullptr), 0);
  out.constructorElement = RefuseElement;
  EXPECT_EQ(out.InsertElement(&probe, nullptr, 0, nullptr), -77);
  {
    kr_test::RecordingHandler handler;
    kr_test::AllocationFailure failure(1, true);
    out.constructorElement = DefaultConstructorElement;
    KrRecordingContainer more(&file, 4096);
    EXPECT_EQ(more.InsertElement(&probe, nullptr, 0, nullptr), kKrNoMemory);
    EXPECT_EQ(handler.calls, 1);
  }
  EXPECT_EQ(kr_test::Contents(file), "head:abcxyzdef");
  EXPECT_EQ(out.count, 3u);
  EXPECT_EQ(file.position, 2);
}

}  // namespace
