#include <kr/arrays.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Log = std::vector<std::string>;

const unsigned short kSize = 12;
char gBuffer[8 * kSize];
Log gLog;  // "+2": entry 2 constructed, "-0": entry 0 destroyed

KrTransactionContext* Context() { return reinterpret_cast<KrTransactionContext*>(&gLog); }

char* Entry(int i) { return gBuffer + i * kSize; }

void Record(char sign, KrTransactionContext* context, void* entry) {
  if (context != Context()) {
    gLog.push_back("wrong context");
    return;
  }
  gLog.push_back(sign + std::to_string((static_cast<char*>(entry) - gBuffer) / kSize));
}
void Create(KrTransactionContext* context, void* entry) { Record('+', context, entry); }
void Destroy(KrTransactionContext* context, void* entry) { Record('-', context, entry); }

class EntryStackTest : public ::testing::Test {
 protected:
  void SetUp() override { gLog.clear(); }
};

KrEntryStack* Make(unsigned short count) {
  return new KrEntryStack(Context(), gBuffer, kSize, count, Create, Destroy);
}

TEST_F(EntryStackTest, FirstEntryIsConstructedAtOnce) {
  KrEntryStack stack(Context(), gBuffer, kSize, 3, Create, Destroy);
  EXPECT_EQ(gLog, (Log{"+0"}));
  EXPECT_EQ(stack.begin, Entry(0));
  EXPECT_EQ(stack.last, Entry(2));
  EXPECT_EQ(stack.bottom, Entry(0));
  EXPECT_EQ(stack.current, Entry(0));
  EXPECT_EQ(stack.top, Entry(0));
}

TEST_F(EntryStackTest, ForwardWalkConstructsLazilyAndStopsWhenFull) {
  KrEntryStack stack(Context(), gBuffer, kSize, 3, Create, Destroy);
  EXPECT_EQ(stack.GetNextEntry(), Entry(1));
  EXPECT_EQ(stack.current, Entry(0));         // the step does not move
  EXPECT_EQ(stack.GetNextEntry(), Entry(1));  // already built: no second "+1"
  EXPECT_EQ(gLog, (Log{"+0", "+1"}));

  ASSERT_EQ(stack.SetCurrentEntryWithTest(Entry(1)), Entry(1));
  EXPECT_EQ(stack.GetNextEntry(), Entry(2));
  ASSERT_EQ(stack.SetCurrentEntryWithTest(Entry(2)), Entry(2));
  EXPECT_EQ(stack.GetNextEntry(), nullptr);  // would wrap onto entry 0, the bottom
  EXPECT_EQ(stack.top, Entry(2));
  EXPECT_EQ(stack.GetPrevEntry(), Entry(1));  // inside the built range
  EXPECT_EQ(gLog, (Log{"+0", "+1", "+2"}));
}

TEST_F(EntryStackTest, BackwardWalkWrapsAndStopsAtTheNewestEntry) {
  KrEntryStack stack(Context(), gBuffer, kSize, 3, Create, Destroy);
  EXPECT_EQ(stack.GetPrevEntry(), Entry(2));  // wraps to the last entry
  EXPECT_EQ(stack.bottom, Entry(2));
  ASSERT_EQ(stack.SetCurrentEntryWithTest(Entry(2)), Entry(2));
  EXPECT_EQ(stack.GetPrevEntry(), Entry(1));
  ASSERT_EQ(stack.SetCurrentEntryWithTest(Entry(1)), Entry(1));
  EXPECT_EQ(stack.GetPrevEntry(), nullptr);  // entry 0 is the top
  ASSERT_EQ(stack.SetCurrentEntryWithTest(Entry(0)), Entry(0));
  EXPECT_EQ(stack.GetNextEntry(), nullptr);  // entry 1 is the bottom
  EXPECT_EQ(gLog, (Log{"+0", "+2", "+1"}));
}

TEST_F(EntryStackTest, SingleEntryRingIsFullBothWays) {
  KrEntryStack stack(Context(), gBuffer, kSize, 1, Create, Destroy);
  EXPECT_EQ(stack.last, Entry(0));
  EXPECT_EQ(stack.GetNextEntry(), nullptr);
  EXPECT_EQ(stack.GetPrevEntry(), nullptr);
  EXPECT_EQ(gLog, (Log{"+0"}));
}

TEST_F(EntryStackTest, OnlyConstructedEntriesCanBecomeCurrent) {
  KrEntryStack stack(Context(), gBuffer, kSize, 5, Create, Destroy);
  stack.GetNextEntry();  // 0..1 built
  EXPECT_EQ(stack.SetCurrentEntryWithTest(Entry(2)), nullptr);  // beyond top
  EXPECT_EQ(stack.current, Entry(0));
  EXPECT_EQ(stack.SetCurrentEntryWithTest(Entry(1)), Entry(1));

  // Wrapped: built are 4, 0, 1 (bottom 4 > top 1); 2 and 3 are not.
  ASSERT_EQ(stack.SetCurrentEntryWithTest(Entry(0)), Entry(0));
  EXPECT_EQ(stack.GetPrevEntry(), Entry(4));
  EXPECT_EQ(stack.SetCurrentEntryWithTest(Entry(4)), Entry(4));
  EXPECT_EQ(stack.SetCurrentEntryWithTest(Entry(0)), Entry(0));
  EXPECT_EQ(stack.SetCurrentEntryWithTest(Entry(1)), Entry(1));
  EXPECT_EQ(stack.SetCurrentEntryWithTest(Entry(2)), nullptr);
  EXPECT_EQ(stack.SetCurrentEntryWithTest(Entry(3)), nullptr);
  EXPECT_EQ(stack.SetCurrentEntryWithTest(Entry(5)), nullptr);  // past the ring
  EXPECT_EQ(stack.current, Entry(1));
}

TEST_F(EntryStackTest, DestroysWrappedEntriesFromBeginThenFromBottom) {
  KrEntryStack stack(Context(), gBuffer, kSize, 5, Create, Destroy);
  stack.GetNextEntry();  // 1
  stack.GetPrevEntry();  // 4
  stack.SetCurrentEntryWithTest(Entry(4));
  stack.GetPrevEntry();  // 3
  gLog.clear();
  stack.DestroyAllEntries();
  EXPECT_EQ(gLog, (Log{"-0", "-1", "-3", "-4"}));
  EXPECT_EQ(stack.bottom, Entry(3));  // the pointers are left alone
  EXPECT_EQ(stack.top, Entry(1));

  gLog.clear();
  stack.Destroy(Entry(1), Entry(3));
  EXPECT_EQ(gLog, (Log{"-1", "-2", "-3"}));
  gLog.clear();
  stack.Destroy(Entry(3), Entry(2));  // an empty range
  EXPECT_TRUE(gLog.empty());
}

TEST_F(EntryStackTest, DestructorDestroysTheBuiltRangeInOrder) {
  KrEntryStack* stack = Make(4);
  stack->GetNextEntry();
  stack->SetCurrentEntryWithTest(Entry(1));
  stack->GetNextEntry();
  gLog.clear();
  delete stack;
  EXPECT_EQ(gLog, (Log{"-0", "-1", "-2"}));
}

}  // namespace
