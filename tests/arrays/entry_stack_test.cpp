#include <kr/arrays.h>

#include <gtest/gtest.h>

#include <string>

namespace {

const unsigned short kSize = 12;
char gBuffer[5 * kSize];
std::string gLog;  // "+2 " entry 2 constructed, "-0 " entry 0 destroyed

KrTransactionContext* Context() { return reinterpret_cast<KrTransactionContext*>(&gLog); }
char* Entry(int i) { return gBuffer + i * kSize; }
void Record(char sign, KrTransactionContext* context, void* entry) {
  gLog += context == Context()
              ? sign + std::to_string((static_cast<char*>(entry) - gBuffer) / kSize) + " "
              : "bad context ";
}
void Create(KrTransactionContext* c, void* e) { Record('+', c, e); }
void Destroy(KrTransactionContext* c, void* e) { Record('-', c, e); }

TEST(EntryStack, WalksForwardsLazilyUntilTheRingIsFull) {
  gLog.clear();
  KrEntryStack stack(Context(), gBuffer, kSize, 3, Create, Destroy);
  EXPECT_EQ(stack.last, Entry(2));
  EXPECT_EQ(stack.GetNextEntry(), Entry(1));
  EXPECT_EQ(stack.current, Entry(0));                           // a step does not move
  EXPECT_EQ(stack.SetCurrentEntryWithTest(Entry(2)), nullptr);  // beyond top
  EXPECT_EQ(stack.SetCurrentEntryWithTest(Entry(1)), Entry(1));
  EXPECT_EQ(stack.GetNextEntry(), Entry(2));
  stack.SetCurrentEntryWithTest(Entry(2));
  EXPECT_EQ(stack.GetNextEntry(), nullptr);   // would wrap onto the bottom
  EXPECT_EQ(stack.GetPrevEntry(), Entry(1));  // built already
  EXPECT_EQ(gLog, "+0 +1 +2 ");
  KrEntryStack single(Context(), gBuffer, kSize, 1, nullptr, nullptr);
  EXPECT_EQ(single.GetNextEntry(), nullptr);
  EXPECT_EQ(single.GetPrevEntry(), nullptr);
}

TEST(EntryStack, WrapsBackwardsUntilTheRingIsFull) {
  gLog.clear();
  KrEntryStack stack(Context(), gBuffer, kSize, 5, Create, nullptr);
  stack.GetNextEntry();                       // 1
  EXPECT_EQ(stack.GetPrevEntry(), Entry(4));  // wraps: built 4, 0, 1
  EXPECT_EQ(stack.SetCurrentEntryWithTest(Entry(4)), Entry(4));
  EXPECT_EQ(stack.SetCurrentEntryWithTest(Entry(2)), nullptr);
  EXPECT_EQ(stack.GetPrevEntry(), Entry(3));
  stack.SetCurrentEntryWithTest(Entry(3));
  EXPECT_EQ(stack.GetPrevEntry(), Entry(2));
  stack.SetCurrentEntryWithTest(Entry(2));
  EXPECT_EQ(stack.GetPrevEntry(), nullptr);  // entry 1 is the top
  EXPECT_EQ(gLog, "+0 +1 +4 +3 +2 ");
}

TEST(EntryStack, DestroysWrappedEntriesFromBeginThenFromBottom) {
  gLog.clear();
  {
    KrEntryStack stack(Context(), gBuffer, kSize, 5, nullptr, Destroy);
    stack.GetNextEntry();
    stack.GetPrevEntry();  // built: 4, 0, 1
    stack.Destroy(Entry(1), Entry(3));
    EXPECT_EQ(gLog, "-1 -2 -3 ");
    gLog.clear();
  }
  EXPECT_EQ(gLog, "-0 -1 -4 ");
}

// The largest ring: 65535 entries fill up going forwards (or backwards), one
// construction each, and are destroyed once each.
int gCounted = 0;
void Count(KrTransactionContext*, void*) { ++gCounted; }

TEST(EntryStack, LargestRingFillsBothWays) {
  std::string buffer(65535u * 4, '\0');
  for (bool forwards : {true, false}) {
    gCounted = 0;
    {
      KrEntryStack stack(nullptr, &buffer[0], 4, 65535, Count, Count);
      EXPECT_EQ(stack.last, &buffer[0] + 65534 * 4);
      for (void* entry; (entry = forwards ? stack.GetNextEntry() : stack.GetPrevEntry());) {
        ASSERT_EQ(stack.SetCurrentEntryWithTest(entry), entry);
      }
      EXPECT_EQ(gCounted, 65535);
      EXPECT_EQ(stack.current, forwards ? stack.last : &buffer[4]);
    }
    EXPECT_EQ(gCounted, 2 * 65535);
  }
}

}  // namespace
