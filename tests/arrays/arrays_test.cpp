// The arrays (capacities, limits, copies, out-of-memory paths, the sort), the entry cache and the
// entry stack by worked sequences; the intrusive lists and the bit string against standard
// containers. Random operations on the arrays against a model run in the lists fuzz replay.
#include <gtest/gtest.h>
#include <kr/arrays.h>
#include <kr/memory.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdint>
#include <cstring>
#include <functional>
#include <list>
#include <memory>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "failing_alloc.h"
#include "recording_handler.h"

namespace {

int CompareBytes(KrVArray const* array, void* a, void* b) {
  return std::memcmp(a, b, array->width);
}

std::string Contents(KrVArray const& list) {
  char const* first = static_cast<char const*>(list.Element(0));
  return first ? std::string(first, list.count * list.width) : "";
}

// Doubling; the last steps halve the increment until it fits under 32767.
TEST(CList, GrowsByDoublingUpToItsLimit) {
  int error = 1;
  KrCList none(0, 10, &error);
  EXPECT_TRUE(error == -503 && none.maxCount == 0 && none.Insert(0, "x") == -502);
  for (int asked : {40000, -1, 65541}) EXPECT_EQ(KrCList(2, asked, nullptr).capacity, 32767);
  KrCList list(1, 0, nullptr);
  std::vector<unsigned long> capacities = {0};
  for (unsigned long i = 0; i < 32767; ++i) {
    ASSERT_EQ(list.Insert(i, &i), 0);
    if (capacities.back() != list.capacity) capacities.push_back(list.capacity);
  }
  std::vector<unsigned long> const expected = {0,    1,     2,     4,     8,     16,   32,
                                               64,   128,   256,   512,   1024,  2048, 4096,
                                               8192, 16384, 24576, 30720, 32640, 32767};
  EXPECT_EQ(capacities, expected);
  EXPECT_EQ(list.Insert(0, "x"), -501);      // full
  EXPECT_EQ(list.Insert(32767, "x"), -502);  // an index at the limit is out of range first
}

// Delete with shrink halves the capacity once the count is down to half of it. A copy takes the
// whole buffer, empty slots included, but not the compare function.
TEST(CList, ShrinksSizesCopiesAndPreparesSlots) {
  KrCList list(2, 8, nullptr);
  for (char const* element : {"a0", "a1", "a2", "a3", "a4"}) list.Insert(list.count, element);
  unsigned long const capacities[] = {8, 4, 2};  // counts 4 (no shrink asked), 3, 2
  for (int i = 0; i < 3; ++i)
    EXPECT_TRUE(list.Delete(i ? 0 : 4, i) == 0 && list.capacity == capacities[i]);
  EXPECT_TRUE(list.SizeSet(1) == -502 && list.SizeSet(32768) == -501);
  EXPECT_TRUE(list.SizeSet(4) == 0 && list.SizeSet(2) == 0 && list.capacity == 2);
  void* const slot = list.PrepareInsert(1);  // opened, left for the caller to fill
  EXPECT_TRUE(slot == list.buffer + 2 && list.PrepareInsert(4) == nullptr && list.count == 3);
  std::memcpy(slot, "cd", 2);
  std::memcpy(list.buffer + 6, "ef", 2);  // the empty slot
  list.compare = CompareBytes;
  KrCList target(8, 1, nullptr), copy(list);
  EXPECT_TRUE(target.Copy(&list) == 0 && target.Copy(&target) == 0);
  for (KrCList const* c : {&target, &copy}) {
    EXPECT_TRUE(c->width == 2 && c->capacity == 4 && c->count == 3 && c->maxCount == 32767);
    EXPECT_TRUE(c->compare == nullptr && std::memcmp(c->buffer, "a2cda3ef", 8) == 0);
  }
}

// One slot more when full; ten fewer on Delete with shrink once ten stand empty (all of them
// below ten). Import grows by the whole new count and copies what the source holds.
TEST(LList, CapacitiesAndImport) {
  KrLList list(1, 7, nullptr);
  for (int i = 0; i < 16; ++i) list.Insert(0, "x");
  EXPECT_TRUE(list.capacity == 16 && list.memFile->logicalSize == 16);
  for (int count = 15; count >= 0; --count)  // 16 slots down to 6 at 6 elements, 0 at none
    EXPECT_TRUE(list.Delete(0, 1) == 0 && list.capacity == (count > 6 ? 16u : count ? 6u : 0u));
  KrLList target(2, 5, nullptr);
  for (char const* element : {"a0", "a1", "a2", "a3"}) target.Insert(target.count, element);
  MemFile source(0, 0);
  source.Put(reinterpret_cast<unsigned char const*>("b0b1b2b3"), 0, 8);
  source.position = 2;
  EXPECT_TRUE(target.Import(3, &source) == 0 && target.count == 7 && target.capacity == 12);
  EXPECT_TRUE(target.Import(3, &source) == 0 && source.position == 2);  // the same again
  source.position = 6;  // one element left: it is copied, and the count grows by 3
  EXPECT_TRUE(target.Import(3, &source) == 0 && target.count == 13 && target.capacity == 25);
  EXPECT_EQ(Contents(target).substr(0, 22), "a0a1a2a3b1b2b3b1b2b3b3");
  source.position = 8;  // nothing left to read
  EXPECT_TRUE(target.Import(1, &source) == -501 && target.count == 13);
  EXPECT_TRUE(target.Clear() == 0 && target.capacity == 0 && target.memFile->logicalSize == 0);
}

// The whole storage moves, into a list of the source's dynamic type; PtrElement strides by a
// pointer (4 bytes on i386), whatever the width. A SortList has its compare function at once; a
// sorted insert without copying opens its slot after the equal element and leaves it as it was.
// A copy has no compare function; a list of the other kind is no source. No sort without a
// compare function.
TEST(LList, SortListCopiesAndCreateCopyAndClear) {
  SortList sorted(2, CompareBytes, 3);  // then re-initialised
  EXPECT_TRUE(sorted.Init(3, CompareBytes, 0) == 0 && sorted.width == 3);
  for (char const* element : {"a00", "b00", "c00"}) sorted.Insert(sorted.count, element);
  EXPECT_EQ(sorted.SortedInsert("b00", nullptr, 1, 0), 0);  // the slot shows in the copy
  SortList const copy(sorted);
  KrCList contiguous(3, 0, nullptr);
  EXPECT_TRUE(Contents(copy) == "a00b00c00c00" && !copy.compare && copy.capacity == 4);
  EXPECT_TRUE(sorted.Copy(&contiguous) == -506 && contiguous.Copy(&sorted) == -506);
  MemFile* const file = sorted.memFile;
  EXPECT_TRUE(sorted.PtrElement(3) == file->buffer + 3 * sizeof(void*) && !sorted.PtrElement(4));
  std::unique_ptr<KrLList> moved(sorted.CreateCopyAndClear());
  EXPECT_TRUE(moved->memFile == file && moved->count == 4 && moved->compare == CompareBytes);
  EXPECT_TRUE(dynamic_cast<SortList*>(moved.get()) && sorted.memFile != file && !sorted.capacity);
  moved.reset(KrLList(3, 0, nullptr).CreateCopyAndClear());
  EXPECT_TRUE(!dynamic_cast<SortList*>(moved.get()) && moved->Sort(0) == -2106);
}

// Each failed allocation: the error, the list as it was, the handler called once (with the
// bytes a contiguous list asked for, or 0: the memory file's own choice); a failed shrink goes
// unnoticed. A sort allocates its scratch element even for no elements.
TEST(Lists, OutOfMemory) {
  kr_test::RecordingHandler handler;
  KrCList list(3, 0, nullptr), grown(3, 8, nullptr);
  KrLList inFile(3, 4, nullptr);
  for (char const* element : {"ab0", "ab1", "ab2", "ab3"}) {
    list.Insert(list.count, element);
    inFile.Insert(inFile.count, element);
  }
  std::tuple<std::function<int()>, int, unsigned long> const cases[] = {
      {[&] { return list.Insert(1, "xyz"); }, -501, 24},
      {[&] { return list.SizeSet(9); }, -501, 27},
      {[&] { return list.Copy(&grown); }, -501, 24},
      {[&] { return inFile.Insert(1, "xyz"); }, -501, 0},
      {[&] { return inFile.SizeSet(40); }, -10001, 0},
      {[&] { return inFile.Import(20, inFile.memFile); }, -501, 0}};  // never read: no room
  for (auto const& [operation, result, size] : cases) {
    handler.calls = 0;
    kr_test::FailNthAllocation(1);
    EXPECT_EQ(operation(), result) << size;
    kr_test::StopFailingAllocations();
    EXPECT_TRUE(handler.calls == 1 && (size == 0 || handler.sizes[0] == size)) << size;
    EXPECT_TRUE(list.capacity == 4 && inFile.capacity == 4 && inFile.memFile->logicalSize == 12);
    EXPECT_TRUE(Contents(list) == "ab0ab1ab2ab3" && Contents(inFile) == "ab0ab1ab2ab3");
  }
  kr_test::FailNthAllocation(1);
  EXPECT_TRUE(list.Delete(3, 0) + list.Delete(2, 1) == 0 && list.capacity == 2);
  handler.calls = 0;
  int error = 0;
  grown.compare = CompareBytes;
  kr_test::FailNthAllocation(1);
  KrCList failed(5, 10, &error);  // -501, no block, after the handler
  kr_test::FailNthAllocation(1);
  KrCList emptyCopy(grown);  // nothing reported: it stays empty, of width 0
  kr_test::FailNthAllocation(1);
  int const sorted = grown.Sort(0);
  kr_test::StopFailingAllocations();
  EXPECT_TRUE(error == -501 && !failed.buffer && failed.capacity == 10 && handler.calls == 2);
  EXPECT_TRUE(failed.Insert(0, "abcde") == 0 && failed.capacity == 10);  // the block now
  EXPECT_EQ(Contents(failed), "abcde");
  EXPECT_TRUE(handler.sizes[0] == 50 && handler.sizes[1] == 24 && sorted == -2030);
  EXPECT_TRUE(emptyCopy.width == 0 && emptyCopy.capacity == 0 && emptyCopy.maxCount == 0);
}

using Item = std::array<int32_t, 2>;  // a key, all that orders it, and a payload
using Call = std::tuple<KrVArray const*, void*, void*>;
std::vector<Call> gCalls;

int CompareItems(KrVArray const* array, void* a, void* b) {
  gCalls.emplace_back(array, a, b);
  return static_cast<Item*>(a)->front() - static_cast<Item*>(b)->front();
}

// Elements back to front, not in index order (as a caller's own array may keep them).
struct ReversedList : KrCList {
  using KrCList::KrCList;
  void* Element(unsigned long i) const override { return KrCList::Element(count - 1 - i); }
  int Insert(unsigned long i, void const* e) override { return KrCList::Insert(count - i, e); }
};

// The defined quicksort (the first element the pivot, compared in place after the element), the
// smaller side sorted first as by Sort below 64 (the right one on a tie): the same result.
struct ReferenceSort {
  std::vector<Item> items;
  KrVArray const* list = nullptr;  // when set, each comparison as the list under test gets it
  std::vector<Call> calls;

  long Partition(long first, long last) {
    auto const compare = [&](long i) {
      if (list) calls.emplace_back(list, list->Element(i), list->Element(first));
      return items[i][0] - items[first][0];
    };
    long i = first, j = last;
    while (first < last) {
      while (compare(i) <= 0 && i < last) ++i;
      while (compare(j) > 0 && j > first) --j;
      if (i >= j) break;
      std::swap(items[i], items[j]);
    }
    std::swap(items[first], items[j]);
    return j;
  }
  void QuickSort(long first, long last) {
    if (last <= first) return;
    long const p = Partition(first, last);
    bool const left = p - first < last - p;
    QuickSort(left ? first : p + 1, left ? p - 1 : last);
    QuickSort(left ? p + 1 : first, left ? last : p - 1);
  }
};

// 2000 arrays of up to 40 elements with one to five keys, then 64 elements and more in every
// shape: the sort gives the plain recursion's permutation byte for byte. Below 64 every
// partition makes the same comparisons in the same order (element second, pivot third); from
// 64 on a faster path (or the defined algorithm with shortcuts) stays within a bound on them.
template <typename List>
void CheckAgainstTheReference(unsigned seed) {
  std::mt19937 random(seed);
  // Shapes: random, sorted, reversed, seven keys (with distinct payloads too), one key, zigzag,
  // mostly sorted and one key with distinct payloads; the small arrays' few keys.
  unsigned long const compares[] = {20, 1, 1, 8, 16, 1, 16, 40, 4};  // per element, at most
  long const sizes[] = {64, 65, 200, 2500};
  for (int round = 0; round < 2000 + 4 * 9; ++round) {
    bool const small = round < 2000;
    long const size = small ? static_cast<long>(random() % 41) : sizes[(round - 2000) / 9];
    int const shape = small ? 9 : (round - 2000) % 9, few = 1 + static_cast<int>(random() % 5);
    List list(sizeof(Item), 0, nullptr);
    ReferenceSort reference;
    reference.list = small ? &list : nullptr;
    for (int32_t i = 0; i < size; ++i) {
      int32_t const r = static_cast<int32_t>(random() % 1000000);
      int32_t const keys[] = {r, i, -i, r % 7, r % 7, 5, i < size / 2 ? i : -i, r % 3 ? i : r, 5,
                              r % few};
      reference.items.push_back({keys[shape], shape == 4 || shape >= 7 ? i : 0});
    }
    list.compare = CompareItems;
    for (Item const& item : reference.items) list.Insert(list.count, &item);
    SCOPED_TRACE(testing::Message() << "size " << size << " shape " << shape);
    gCalls.clear();
    ASSERT_EQ(list.Sort(0), 0);
    reference.QuickSort(0, size - 1);
    for (long i = 0; i < size; ++i)
      ASSERT_EQ(*static_cast<Item*>(list.Element(i)), reference.items[i]) << "element " << i;
    ASSERT_TRUE(small ? gCalls == reference.calls : gCalls.size() <= compares[shape] * size)
        << gCalls.size() << " comparisons";
  }
}

TEST(VArray, SortGivesThePermutationOfThePlainRecursion) {
  CheckAgainstTheReference<KrCList>(1);
  CheckAgainstTheReference<KrLList>(2);
  CheckAgainstTheReference<ReversedList>(3);
}

std::string gLog;  // destroyed nodes' ids; entries built ("+2 ") and destroyed ("-0 ")

// Linked into both kinds of list at once: the doubly linked one owns it, the simple one not.
struct Node : KrLinkedListItem, KrSimpleLinkedListItem {
  explicit Node(int nodeId) : id(nodeId) {}
  ~Node() override { gLog += std::to_string(id) + " "; }
  int id;
};

// Inserts; removals (unlinked) or deletions at an end or of a chosen node, perhaps of no list
// (-502, left alone); a destroyed inner node unlinks itself; Clear runs head to tail. The simple
// list holds the same nodes and hands removed ones back unlinked (null when absent).
TEST(LinkedLists, AgreeWithAStdListModel) {
  std::mt19937 random(5);
  KrLinkedList list;
  KrSimpleLinkedList simple;
  std::list<Node*> model;
  Node foreign(-1);
  for (int step = 0; step < 5000; ++step) {
    Node* chosen = &foreign;
    if (!model.empty() && random() % 8) chosen = *std::next(model.begin(), random() % model.size());
    unsigned const way = random() % 3, operation = random() % 5;  // way: first, last, chosen
    Node* const end = model.empty() ? nullptr : way ? model.back() : model.front();
    Node* const target = way == 2 ? chosen : end;
    bool const present = target && target != &foreign, remove = operation == 2;
    std::string const destroyed = present && !remove ? std::to_string(target->id) + " " : "";
    gLog.clear();
    if (operation < 2) {
      Node* const node = new Node(step);
      operation == 0 ? list.InsertFirst(node) : list.Append(node);
      operation == 0 ? simple.InsertFirst(node) : simple.Append(node);
      operation == 0 ? model.push_front(node) : model.push_back(node);
    } else if (operation < 4) {
      KrSimpleLinkedListItem* const handed =
          way == 2 ? simple.RemoveItem(chosen) : way ? simple.RemoveLast() : simple.RemoveFirst();
      ASSERT_TRUE(handed == (present ? target : nullptr) && (!handed || !handed->next));
      int result = 0;
      if (way == 0) remove ? list.RemoveFirst() : list.DeleteFirst();
      if (way == 1) remove ? list.RemoveLast() : list.DeleteLast();
      if (way == 2) result = remove ? list.RemoveItem(chosen) : list.DeleteItem(chosen);
      ASSERT_TRUE(result == (present || way < 2 ? 0 : -502) && gLog == destroyed) << step;
      if (present) model.remove(target);
      ASSERT_TRUE(!remove || !present || (!target->previous && !target->KrLinkedListItem::next));
      if (remove && present) delete target;
    } else if (chosen != &foreign && chosen != model.front() && chosen != model.back()) {
      simple.RemoveItem(chosen);
      model.remove(chosen);
      delete chosen;
    }
    std::vector<Node*> walked;
    KrSimpleLinkedListItem* simply = simple.head;  // walked alongside: the same nodes
    for (KrLinkedListItem* at = list.head; at; at = at->next, simply = simply->next) {
      ASSERT_EQ(at->previous, walked.empty() ? nullptr : walked.back());
      walked.push_back(static_cast<Node*>(at));
      ASSERT_EQ(static_cast<Node*>(simply), walked.back()) << step;
    }
    ASSERT_TRUE(list.tail == (walked.empty() ? nullptr : walked.back()) && !simply) << step;
    ASSERT_EQ(walked, std::vector<Node*>(model.begin(), model.end())) << step;
  }
  std::string order;
  for (Node const* node : model) order += std::to_string(node->id) + " ";
  gLog.clear();
  list.Clear();
  EXPECT_TRUE(!list.head && !list.tail && gLog == order);
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
      if (operation < 2) {
        ASSERT_EQ(operation == 0 ? bits.Set(i) : bits.Reset(i), ok);
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
        int const expected = !fits ? -2005 : found < n ? -1 : 0;
        ASSERT_TRUE(result == expected && at == (expected == -1 ? found : 99));
        if (expected == 0) std::fill_n(model.begin() + i, n, wanted);
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
  unsigned long const shapes[][5] = {
      {3, 0, 0, least, 494 / least}, {10, 0, 8, 16, 30}, {1000, 0, 0, 1000, 1},
      {10, 0, 3, 12, 41}, {ULONG_MAX - 1, 0, 3, ULONG_MAX, 1}, {ULONG_MAX - 2, 9, 8, 0, 9}};
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
  kr_test::FailNthAllocation(1);
  EXPECT_TRUE(cache.GetEntry() == nullptr && kr_test::LastFailedSize() == 64 + link);
  kr_test::StopFailingAllocations();
  EXPECT_TRUE(cache.GetEntry() == cache.usedBlocks + link + 48 && cache.oldestUsedBlock == block);
  char* const newest = cache.usedBlocks;
  cache.UngetEntry(cache.GetEntry());
  cache.UngetAllEntries();
  void* again[9];
  kr_test::FailAllocationsFrom(1);
  for (void*& entry : again) entry = cache.GetEntry();
  kr_test::StopFailingAllocations();
  EXPECT_EQ(kr_test::AllocationCalls(), 1u);  // only the ninth entry needed memory
  EXPECT_TRUE(again[0] == newest + link + 48 && again[4] == block + link + 48 && !again[8]);
  cache.Clear();
  EXPECT_TRUE(!cache.usedBlocks && !cache.freeBlocks);  // leaks would show under ASan
}

const unsigned short kSize = 12;
char gBuffer[5 * kSize];
char* Entry(int i) { return gBuffer + i * kSize; }
KrTransactionContext* const gContext = reinterpret_cast<KrTransactionContext*>(&gLog);
template <char kSign>  // '+' builds, '-' destroys
void Record(KrTransactionContext* context, void* entry) {
  long const i = (static_cast<char*>(entry) - gBuffer) / kSize;
  gLog += context == gContext ? kSign + std::to_string(i) + " " : "?";
}

// Steps build entries on first visit and fail when the ring is full that way; the current
// entry moves only to a built one; destruction runs from `begin` when the ring has wrapped.
TEST(EntryStack, WalksBothWaysAroundTheRing) {
  gLog.clear();
  {
    KrEntryStack stack(gContext, gBuffer, kSize, 5, Record<'+'>, Record<'-'>);
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
  }
  EXPECT_EQ(gLog, "+0 +1 +4 +3 +2 -1 -2 -3 -0 -1 -2 -3 -4 ");  // Destroy, then the destructor
}

}  // namespace
