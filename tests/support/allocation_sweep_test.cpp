// Realistic sequences of operations on every structure that allocates, run for k = 1, 2, ... with
// the k-th allocation failing, and with every allocation from the k-th on failing, until a run no
// longer reaches its k-th allocation. Each failure must give the documented result and leave the
// structure as a model says; no run may leak a block, and the allocator must have failed exactly
// the calls chosen, the library's included.
#include <kr/arrays.h>
#include <kr/containers.h>
#include <kr/diag.h>
#include <kr/memory.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <numeric>
#include <set>
#include <string>
#include <vector>

#include "failing_alloc.h"
#include "recording_handler.h"
#include "tree_test_support.h"

namespace {

using kr_test::Uncounted;

constexpr int kArrayNoMemory = -501;
constexpr int kNoMemory = -2030;

// `sequence` runs the operations and checks each result. Returns the number of
// allocations it makes when none fails.
template <typename Sequence>
unsigned long Sweep(Sequence sequence) {
  kr_test::RecordingHandler handler;  // the default handler would end the process
  for (unsigned long k = 1;; ++k) {
    bool reached = false;
    for (bool fromThereOn : {false, true}) {
      long const live = kr_test::LiveBlocks();
      {
        kr_test::AllocationFailure failure(k, fromThereOn);
        sequence();
        unsigned long const calls = kr_test::AllocationCalls();
        reached = reached || calls >= k;
        EXPECT_EQ(kr_test::FailedAllocations(), calls < k ? 0 : fromThereOn ? calls - k + 1 : 1)
            << "failing allocation " << k;
      }
      bool const leaked = kr_test::LiveBlocks() != live;
      if (leaked || ::testing::Test::HasFatalFailure()) {
        ADD_FAILURE() << (leaked ? "blocks leaked, " : "") << "failing allocation " << k
                      << (fromThereOn ? " and on" : "");
        return k;
      }
    }
    if (!reached) return k - 1;
  }
}

// An object built with its constructor's allocations uncounted: a constructor
// reports a failure by throwing, as any C++ object's, which is not swept here.
template <typename T, typename... Arguments>
std::unique_ptr<T> Make(Arguments... arguments) {
  Uncounted uncounted;
  return std::unique_ptr<T>(new T(arguments...));
}

template <typename Container>
void Reserve(Container& container, size_t n) {  // a model that grows unseen
  Uncounted uncounted;
  container.reserve(n);
}

// The bytes an array holds, in order.
std::string Bytes(KrVArray const& array) {
  Uncounted uncounted;
  std::string bytes;
  for (unsigned long i = 0; i < array.count; ++i) {
    bytes.append(static_cast<char const*>(array.Element(i)), array.width);
  }
  return bytes;
}

// The 4-byte records of the `size` bytes at `data`, in ascending order.
std::string SortedRecords(void const* data, long size) {
  Uncounted uncounted;
  std::multiset<std::string> records;
  for (long at = 0; at + 4 <= size; at += 4) {
    records.emplace(static_cast<char const*>(data) + at, 4);
  }
  return std::accumulate(records.begin(), records.end(), std::string());
}

int CompareBytes(KrVArray const* array, void* a, void* b) {
  return std::memcmp(a, b, array->width);
}

TEST(AllocationSweep, MemoryFileAndQueue) {
  EXPECT_GT(Sweep([] {
    MemFile file(0, 1);
    std::string model;
    Reserve(model, 2048);
    unsigned char bytes[64];
    for (int i = 1; i <= 40; ++i) {
      long const length = i * 7 % 50 + 1;
      std::memset(bytes, 'a' + i % 26, sizeof bytes);
      long const written = file.Put(bytes, file.logicalSize, length);
      if (written == 0) return;  // after a failed growth the file is not used again
      ASSERT_EQ(written, length);
      model.append(reinterpret_cast<char*>(bytes), static_cast<size_t>(length));  // reserved
      ASSERT_EQ(file.logicalSize, static_cast<long>(model.size()));
      ASSERT_EQ(std::memcmp(file.buffer, model.data(), model.size()), 0);
    }
    for (unsigned short compact : {1, 0}) {  // compact queues move the rest at each Get
      MemQueue queue(compact);
      model.clear();
      for (int i = 0; i < 40; ++i) {
        std::memset(bytes, 'A' + i % 26, sizeof bytes);
        size_t const n = i % 4 == 3 ? 0 : static_cast<size_t>(i * 7 % 40 + 1);  // 0: none
        int const put = queue.Put(bytes, n);
        ASSERT_TRUE(put == 0 || put == -12002) << put;
        if (put == 0) model.append(reinterpret_cast<char*>(bytes), n);
        unsigned long const take = static_cast<unsigned long>(i * 5 % 41);
        int const got = queue.Get(bytes, take);
        int const expected = model.empty() ? -12001 : model.size() < take ? -12003 : 0;
        ASSERT_TRUE(got == expected || (got == 12006 && kr_test::FailedAllocations() > 0)) << got;
        if (got == 0 || got == 12006) {
          ASSERT_EQ(std::memcmp(bytes, model.data(), take), 0);
          model.erase(0, take);
        }
        if (i % 10 == 9) queue.Delete(0);  // discards what was read
        ASSERT_EQ(queue.logicalSize - queue.readOffset, static_cast<long>(model.size()));
        ASSERT_TRUE(!compact || queue.readOffset == 0);
      }
    }
  }), 3u);
}

// Inserts (refused with -501, nothing changed), sorted inserts, searches and
// a sort (refused with -2030 when its scratch element cannot be had; from 64
// elements its copies may fail too, which it survives unseen).
template <typename List>
void ListSequence(List& list) {
  list.compare = CompareBytes;
  for (int i = 0; i < 150; ++i) {
    char const element[4] = {static_cast<char>(i * 37 % 101), 'x', static_cast<char>(i), 0};
    std::string const before = Bytes(list);
    unsigned long at = list.count / 2;  // SortedInsert sets it to where it inserts
    int const rc = i % 3 ? list.Insert(at, element) : list.SortedInsert(element, &at, 1, 1);
    ASSERT_TRUE(rc == 0 || rc == kArrayNoMemory) << rc;
    Uncounted uncounted;
    ASSERT_EQ(Bytes(list), rc ? before : std::string(before).insert(at * 4, element, 4)) << i;
  }
  std::string const before = Bytes(list);
  int const sorted = list.Sort(0);
  ASSERT_TRUE(sorted == 0 || sorted == kNoMemory);
  Uncounted uncounted;
  std::string const expected = SortedRecords(before.data(), static_cast<long>(before.size()));
  ASSERT_EQ(Bytes(list), sorted == 0 ? expected : before);
}

TEST(AllocationSweep, Lists) {
  EXPECT_GT(Sweep([] { ListSequence(*Make<KrCList>(4, 0, nullptr)); }), 3u);
  EXPECT_GT(Sweep([] { ListSequence(*Make<SortList>(4, CompareBytes, 0ul)); }), 3u);
  EXPECT_GT(Sweep([] {
    auto inFile = Make<KrLList>(4, 0, nullptr);
    ListSequence(*inFile);
    if (::testing::Test::HasFatalFailure()) return;
    MemFile source(0, 0);
    unsigned char const block[12] = "abcdefghijk";
    if (source.Put(block, 0, 12) != 12) return;
    unsigned long const count = inFile->count;
    int const rc = inFile->Import(3, &source);
    ASSERT_TRUE(rc == 0 || rc == kArrayNoMemory);
    ASSERT_EQ(inFile->count, count + (rc == 0 ? 3 : 0));
  }), 3u);
}

// Inserts (-2030 leaves the tree as it was), searches, deletions, CheckTree
// after each, and the walk against a model.
TEST(AllocationSweep, TreeThroughItsEntryCache) {
  EXPECT_GT(Sweep([] {
    kr_test::ItemTree tree(kKrAllowEqualKeys, 4);
    tree.destructorElement = nullptr;  // the recording one keeps a vector across runs
    std::vector<int> model;
    Reserve(model, 64);
    for (int i = 0; i < 60; ++i) {
      int const key = i * 13 % 41;
      int const rc = kr_test::Insert(tree, {key, i, i});
      ASSERT_TRUE(rc == 0 || rc == kNoMemory) << rc;
      ASSERT_EQ(tree.CheckTree(nullptr), 0);
      if (i % 5 == 4 && !model.empty()) {
        kr_test::Probe probe(kr_test::ItemOf(tree.root));
        ASSERT_EQ(tree.DeleteElement(&probe.it, nullptr, 0, nullptr), 0);
        model.erase(std::find(model.begin(), model.end(), probe.item.serial));
      }
      if (rc == 0) model.push_back(i);  // reserved
      ASSERT_EQ(tree.count, model.size());
    }
    Uncounted uncounted;
    std::vector<int> walked = kr_test::Serials(tree);
    std::sort(walked.begin(), walked.end());
    std::sort(model.begin(), model.end());
    ASSERT_EQ(walked, model);
  }), 3u);
}

// The node pool hands out null when a buffer cannot be had; a raw buffer's
// Reserve says -2030 with no block.
TEST(AllocationSweep, NodePoolAndRawBuffer) {
  EXPECT_GT(Sweep([] {
    KrMemPool pool{};
    pool.nodeSize = 1000;  // four nodes to a buffer
    std::vector<void*> nodes;
    Reserve(nodes, 64);
    for (int i = 0; i < 40; ++i) {
      if (void* node = pool.GetNode()) nodes.push_back(node);
      if (i % 4 == 3 && !nodes.empty()) {
        pool.PutNode(nodes.back());
        nodes.pop_back();
      }
    }
    pool.DeallocateBuffers();
    KrRawBuffer raw(nullptr, 0, KrRawBufferCopy);
    int const rc = raw.EnsureCapacity(4096);
    ASSERT_TRUE((rc == 0 && raw.data) || (rc == kNoMemory && !raw.data));
    KrRawBuffer copy(const_cast<char*>("abc"), 4, KrRawBufferCopy);
    ASSERT_TRUE(copy.data == nullptr || std::memcmp(copy.data, "abc", 4) == 0);
  }), 3u);
}

// The differ with a ready diff list, into recording containers: -2030 (or
// 1 with everything written).
TEST(AllocationSweep, DifferWithDiffList) {
  EXPECT_GT(Sweep([] {
    MemFile a(0, 0), b(0, 0);
    unsigned char const left[] = "ant bee cat dog eel fox gnu hen ";
    unsigned char const right[] = "bee cat cow eel fox yak ";
    if (a.Put(left, 0, 32) != 32 || b.Put(right, 0, 24) != 24) return;
    KrMemFileContainer recordsA(&a, 4, 8), recordsB(&b, 4, 6);
    KrMemFileIterator walkA(&recordsA), walkB(&recordsB);
    auto list = Make<KrDiffList>(4ul, nullptr);
    KrDiffListIterator parked(list.get());
    MemFile onlyA(0, 0), onlyB(0, 0);
    KrRecordingContainer outA(&onlyA, 4), outB(&onlyB, 4);
    KrVContainerDiffer differ;
    differ.diffList = &parked;
    int const rc = differ.Diff(&walkA, &walkB, &outA, &outB, 1.0);
    ASSERT_TRUE(rc == 1 || rc == kNoMemory) << rc;
    if (rc == kNoMemory) return;
    // The records come in no particular order.
    ASSERT_EQ(SortedRecords(onlyA.buffer, onlyA.logicalSize), "ant dog gnu hen ");
    ASSERT_EQ(SortedRecords(onlyB.buffer, onlyB.logicalSize), "cow yak ");
  }), 3u);
}

// Reading a configuration: -2030 leaves the content it had.
TEST(AllocationSweep, IniConfig) {
  if (KR_TEST_ADDRESS_SANITIZER) {
    GTEST_SKIP() << "the sanitizer's operator new bypasses the allocation interposer";
  }
  EXPECT_GT(Sweep([] {
    auto config = Make<KrIniConfig>();
    char const* global[] = {nullptr};
    char const* debug[] = {"debug", nullptr};
    int const set = config->Set("", "defaultModulePath", "/opt");
    ASSERT_TRUE(set == 0 || set == kNoMemory);
    if (set != 0) return;
    int const rc = config->ReadText("x = 1\n[debug]\nassertMode = 4\nloadModule = on\n");
    ASSERT_TRUE(rc == 0 || rc == kNoMemory) << rc;
    char text[1024] = "";
    char* buffer = text;
    int const path = config->GetText("defaultModulePath", buffer, global);
    ASSERT_TRUE(path == kNoMemory || path == (rc == 0 ? -1 : 0)) << path;
    int mode = 0;
    int const got = config->GetInt("assertMode", &mode, debug);
    ASSERT_TRUE(got == kNoMemory || got == (rc == 0 ? 0 : -1)) << got;
    ASSERT_TRUE(got != 0 || mode == 4);
  }), 3u);
}

}  // namespace
