#include <kr/memory.h>

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "failing_alloc.h"

namespace {

TEST(KrMemPool, NodesPerBufferAndStatistics) {
  struct { unsigned long nodeSize, perBuffer; } const cases[] = {
      {1000, 4}, {1, 4096}, {2048, 2}, {4096, 1}, {5000, 1}};
  for (auto const& c : cases) {
    KrMemPool pool{};
    pool.nodeSize = c.nodeSize;
    std::vector<unsigned char*> nodes;
    for (unsigned long i = 0; i < 2 * c.perBuffer + 1; ++i) {
      nodes.push_back(static_cast<unsigned char*>(pool.GetNode()));
      std::memset(nodes.back(), static_cast<int>(i), c.nodeSize);  // the whole node is ours
      ASSERT_EQ(pool.NodesAvailable(), c.perBuffer - 1 - i % c.perBuffer) << c.nodeSize;
      void* const expected = i % c.perBuffer ? nodes[i - 1] + c.nodeSize : pool.buffers->block;
      ASSERT_EQ(nodes[i], expected) << c.nodeSize << " " << i;
    }
    EXPECT_EQ(pool.buffersAllocated, 3u);
    EXPECT_EQ(pool.nodesRequested, 2 * c.perBuffer + 1);
    pool.DeallocateBuffers();
    EXPECT_TRUE(!pool.buffers && !pool.freeNodes && !pool.nextNode && !pool.lastNode);
    EXPECT_EQ(pool.buffersFreed, 3u);
    EXPECT_EQ(pool.buffersAllocated, 3u);
  }
}

TEST(KrMemPool, ReturnedNodesComeBackLastFirstUntouched) {
  KrMemPool pool{};
  pool.nodeSize = 64;
  char* nodes[3];
  for (int i = 0; i < 3; ++i) std::memset(nodes[i] = static_cast<char*>(pool.GetNode()), 'a' + i, 64);
  for (char* node : nodes) pool.PutNode(node);
  EXPECT_EQ(pool.FreeListLength(), 3u);
  EXPECT_EQ(pool.NodesAvailable(), 61u);
  for (int i = 2; i >= 0; --i) {
    ASSERT_EQ(pool.GetNode(), nodes[i]);
    EXPECT_EQ(std::string(nodes[i], 64), std::string(64, static_cast<char>('a' + i)));
  }
  EXPECT_EQ(pool.GetNode(), nodes[2] + 64);
  EXPECT_TRUE(pool.nodesRequested == 7 && pool.nodesReturned == 3 && pool.FreeListLength() == 0);

  pool.AddNewBuffer();  // its first node counts as handed out
  EXPECT_EQ(pool.buffersAllocated, 2u);
  EXPECT_EQ(pool.NodesAvailable(), 63u);
  EXPECT_EQ(pool.GetNode(), static_cast<unsigned char*>(pool.buffers->block) + 64);

  pool.nextNode = pool.lastNode;  // the newest buffer is used up
  void* node;
  {
    kr_test::AllocationFailure failure(1);
    node = pool.GetNode();
    pool.PutNode(nodes[0]);
  }
  EXPECT_EQ(node, nullptr);
  EXPECT_EQ(pool.nextNode, pool.lastNode);
  EXPECT_EQ(pool.FreeListLength(), 1u);  // the second record could be allocated
  pool.DeallocateBuffers();
  EXPECT_EQ(pool.buffersFreed, 2u);
}

}  // namespace
