// The intrusive lists and the bit string against standard containers; the entry cache and the
// entry stack by worked sequences.
#include <gtest/gtest.h>
#include <kr/arrays.h>

#include <algorithm>
#include <climits>
#include <list>
#include <random>
#include <string>
#include <vector>

#include "failing_alloc.h"

namespace {

std::string gLog;  // destroyed items' ids; entries built ("+2 ") and destroyed ("-0 ")

struct Item : KrLinkedListItem {
  explicit Item(int itemId) : id(itemId) {}
  ~Item() override { gLog += std::to_string(id) + " "; }
  int id;
};

// Insertions at either end; removals (unlinked, not deleted) and deletions at either end or of
// a chosen item, perhaps of no list (-502, left alone); an inner item unlinks itself when
// destroyed. Every link and both ends are checked after each step; Clear runs head to tail.
TEST(LinkedList, AgreesWithAStdListModel) {
  std::mt19937 random(5);
  KrLinkedList list;
  std::list<KrLinkedListItem*> model;
  Item foreign(-1);
  for (int step = 0; step < 5000; ++step) {
    KrLinkedListItem* chosen = &foreign;
    if (!model.empty() && random() % 8) chosen = *std::next(model.begin(), random() % model.size());
    unsigned const way = random() % 3, operation = random() % 5;  // way: first, last, chosen
    KrLinkedListItem* const target = way == 0 ? list.head : way == 1 ? list.tail : chosen;
    bool const present = target && (way < 2 || chosen != &foreign), remove = operation == 2;
    std::string const destroyed =
        present ? std::to_string(static_cast<Item*>(target)->id) + " " : "";
    gLog.clear();
    if (operation < 2) {
      operation == 0 ? list.InsertFirst(new Item(step)) : list.Append(new Item(step));
      operation == 0 ? model.push_front(list.head) : model.push_back(list.tail);
    } else if (operation < 4) {
      int result = 0;
      if (way == 0) remove ? list.RemoveFirst() : list.DeleteFirst();
      if (way == 1) remove ? list.RemoveLast() : list.DeleteLast();
      if (way == 2) result = remove ? list.RemoveItem(chosen) : list.DeleteItem(chosen);
      ASSERT_EQ(result, present || way < 2 ? 0 : -502);
      if (present) model.remove(target);
      ASSERT_TRUE(!remove || !present || (!target->previous && !target->next && gLog.empty()));
      if (remove && present) delete target;
      ASSERT_EQ(gLog, destroyed) << step;
    } else if (chosen != &foreign && chosen != list.head && chosen != list.tail) {
      model.remove(chosen);
      delete chosen;
    }
    std::vector<KrLinkedListItem*> walked;
    for (KrLinkedListItem* at = list.head; at; walked.push_back(at), at = at->next) {
      ASSERT_EQ(at->previous, walked.empty() ? nullptr : walked.back());
    }
    ASSERT_EQ(list.tail, walked.empty() ? nullptr : walked.back());
    ASSERT_EQ(walked, std::vector<KrLinkedListItem*>(model.begin(), model.end())) << step;
  }
  std::string order;
  for (KrLinkedListItem* at = list.head; at; at = at->next)
    order += std::to_string(static_cast<Item*>(at)->id) + " ";
  gLog.clear();
  list.Clear();
  EXPECT_TRUE(!list.head && !list.tail && gLog == order);
}

// The singly linked list owns nothing: removals hand the item back unlinked (null when absent).
TEST(SimpleLinkedList, InsertsAppendsAndRemoves) {
  KrSimpleLinkedListItem a, b, c, d, absent;
  KrSimpleLinkedList list;
  EXPECT_TRUE(!list.RemoveFirst() && !list.RemoveLast() && !list.RemoveItem(&a));
  list.Append(&b);
  list.InsertFirst(&a);
  list.Append(&c);
  list.Append(&d);  // a b c d
  EXPECT_TRUE(list.RemoveItem(&absent) == nullptr && list.RemoveItem(&c) == &c && !c.next);
  EXPECT_TRUE(list.RemoveLast() == &d && b.next == nullptr && list.RemoveFirst() == &a);
  EXPECT_TRUE(!a.next && list.head == &b && list.RemoveItem(&b) == &b && !list.head);
  EXPECT_TRUE(list.RemoveLast() == nullptr);
}

// Random operations on strings of 0 to 70 bits against a std::vector<bool>: results, values
// (Get's masked byte value, not 0/1), `at` and the set count.
TEST(BitString, AgreesWithAVectorModel) {
  std::mt19937 random(3);
  for (unsigned long length : {0ul, 1ul, 7ul, 8ul, 16ul, 23ul, 64ul, 70ul}) {
    _KrBitString bits(length);
    std::vector<bool> model(length);
    auto const first = [&](unsigned long from, unsigned long end, bool value) {  // or `end`
      return static_cast<unsigned long>(
          std::find(model.begin() + from, model.begin() + end, value) - model.begin());
    };
    for (int step = 0; step < 3000; ++step) {
      unsigned long const i = random() % (length + 3), n = random() % 6;  // a few past the end
      bool const inside = i < length, wanted = random() % 2, fits = i + n <= length;
      int const ok = inside ? 0 : -2005;
      int value = -1;
      unsigned long at = 99, found = first(std::min(i, length), length, wanted);
      unsigned const operation = random() % 8;
      SCOPED_TRACE(testing::Message() << "length " << length << " step " << step);
      if (operation == 0) {
        ASSERT_EQ(bits.Set(i), ok);
      } else if (operation == 1) {
        ASSERT_EQ(bits.Reset(i), ok);
      } else if (operation == 2) {
        ASSERT_TRUE(bits.Flip(i, value) == ok && (!inside || value == model[i]));
      } else if (operation == 3) {
        ASSERT_TRUE(bits.Get(i, value) == ok && (!inside || value == model[i] << (i & 7)));
      } else if (operation == 4) {  // any non-zero value looks for a set bit
        ASSERT_TRUE(bits.Find(i, wanted ? 4 : 0, at) == (found < length ? 0 : -2005) &&
                    at == found);
      } else if (operation < 7) {  // claim (set) or release an area; `at`: the bit in the way
        int const result = wanted ? bits.TestAndSetArea(i, n, at) : bits.TestAndResetArea(i, n, at);
        found = fits ? first(i, i + n, wanted) - i : 0;
        ASSERT_TRUE(result == (!fits       ? -2005
                               : found < n ? -1
                                           : 0) &&
                    at == (fits && found < n ? found : 99));
        if (fits && found == n) std::fill_n(model.begin() + i, n, wanted);
      } else if (random() % 4 == 0) {
        ASSERT_TRUE((wanted ? bits.SetAll() : bits.ResetAll()) == 0 &&
                    bits.bytes[length >> 3] == (wanted ? 0xFF : 0));
        model.assign(length, wanted);  // the spare bits too
      }
      if (operation < 3 && inside) model[i] = operation == 0 || (operation == 2 && !model[i]);
      long const set = std::count(model.begin(), model.end(), true);
      ASSERT_TRUE(bits.GetNum() == static_cast<unsigned long>(set) && bits.Length() == length);
    }
  }
}

// Entry sizes rounded up to the alignment (at least a link word; too large to round: 0);
// without a count a block holds 494 bytes of entries, at least one. Entries come from the end
// of the newest block, given-back ones first; UngetAllEntries keeps the blocks for reuse.
TEST(EntryCache, ShapesAndHandingOut) {
  unsigned long const link = sizeof(void*), least = std::max(3ul, link);
  unsigned long const shapes[][5] = {{3, 0, 0, least, 494 / least},
                                     {10, 0, 8, 16, 30},
                                     {1000, 0, 0, 1000, 1},
                                     {10, 0, 3, 12, 41},
                                     {ULONG_MAX - 1, 0, 3, ULONG_MAX, 1},
                                     {ULONG_MAX - 2, 9, 8, 0, 9}};
  for (auto const& s : shapes) {
    KrEntryCache cache(s[0], s[1], static_cast<unsigned short>(s[2]));
    EXPECT_TRUE(cache.entrySize == s[3] && cache.entriesPerBlock == s[4]) << s[0];
    EXPECT_TRUE(s[0] <= 1000 || !cache.GetEntry()) << s[0];  // no block can be had
  }
  KrEntryCache cache(16, 4, 0), copy(cache);  // a copy takes the shape, no entries
  char* first = static_cast<char*>(cache.GetEntry());
  char* block = cache.usedBlocks;  // a link word, then the entries
  EXPECT_TRUE(first == block + link + 48 && cache.GetEntry() == block + link + 32);
  cache.UngetEntry(first);
  EXPECT_TRUE(cache.GetEntry() == first && cache.GetEntry() == block + link + 16);
  EXPECT_TRUE(cache.GetEntry() == block + link && copy.entrySize == 16 && !copy.usedBlocks);
  {
    kr_test::AllocationFailure failure(1);
    EXPECT_TRUE(cache.GetEntry() == nullptr && kr_test::LastFailedSize() == 64 + link);
  }
  EXPECT_TRUE(cache.GetEntry() == cache.usedBlocks + link + 48 && cache.oldestUsedBlock == block);
  EXPECT_EQ(*reinterpret_cast<char**>(cache.usedBlocks), block);  // the blocks are chained
  char* const newest = cache.usedBlocks;
  cache.UngetEntry(cache.GetEntry());
  cache.UngetAllEntries();
  EXPECT_TRUE(!cache.usedBlocks && !cache.oldestUsedBlock && !cache.remaining);
  EXPECT_TRUE(!cache.returnedEntries && cache.freeBlocks == newest);
  void* again[9];
  {
    kr_test::AllocationFailure failure(1, true);
    for (void*& entry : again) entry = cache.GetEntry();
    EXPECT_EQ(kr_test::AllocationCalls(), 1u);  // only the ninth entry needed memory
  }
  EXPECT_TRUE(again[0] == newest + link + 48 && again[4] == block + link + 48 && !again[8]);
  cache.Clear();
  EXPECT_TRUE(!cache.usedBlocks && !cache.freeBlocks);  // leaks would show under ASan
}

const unsigned short kSize = 12;
char gBuffer[5 * kSize];
char* Entry(int i) { return gBuffer + i * kSize; }
void Record(char sign, KrTransactionContext* context, void* entry) {
  long const i = (static_cast<char*>(entry) - gBuffer) / kSize;
  gLog += context == reinterpret_cast<KrTransactionContext*>(&gLog) ? sign + std::to_string(i) + " "
                                                                    : "?";
}

// Steps build entries on first visit and fail when the ring is full that way; the current
// entry moves only to a built one; destruction runs from `begin` when the ring has wrapped.
TEST(EntryStack, WalksBothWaysAroundTheRing) {
  auto const create = [](KrTransactionContext* c, void* e) { Record('+', c, e); };
  auto const destroy = [](KrTransactionContext* c, void* e) { Record('-', c, e); };
  gLog.clear();
  {
    KrEntryStack stack(reinterpret_cast<KrTransactionContext*>(&gLog), gBuffer, kSize, 5, create,
                       destroy);
    EXPECT_TRUE(stack.last == Entry(4) && stack.GetNextEntry() == Entry(1));
    EXPECT_TRUE(stack.current == Entry(0) && stack.GetPrevEntry() == Entry(4));  // wraps
    EXPECT_EQ(stack.SetCurrentEntryWithTest(Entry(2)), nullptr);
    for (int i : {4, 3, 2}) {
      EXPECT_EQ(stack.SetCurrentEntryWithTest(Entry(i)), Entry(i));
      EXPECT_EQ(stack.GetPrevEntry(), i > 2 ? Entry(i - 1) : nullptr);  // entry 1 is the top
    }
    EXPECT_EQ(stack.GetNextEntry(), Entry(3));  // built already
    EXPECT_TRUE(stack.SetCurrentEntryWithTest(Entry(1)) && stack.GetNextEntry() == nullptr);
    stack.Destroy(Entry(1), Entry(3));
    EXPECT_EQ(gLog, "+0 +1 +4 +3 +2 -1 -2 -3 ");
    gLog.clear();
    KrEntryStack single(nullptr, gBuffer, kSize, 1, nullptr, nullptr);
    EXPECT_TRUE(single.GetNextEntry() == nullptr && single.GetPrevEntry() == nullptr);
  }
  EXPECT_EQ(gLog, "-0 -1 -2 -3 -4 ");
}

}  // namespace
