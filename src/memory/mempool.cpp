// KrMemPool: fixed-size nodes carved from 4096-byte buffers, with reuse.
#include <kr/memory.h>

#include <stdlib.h>

void* KrMemPool::GetNode() {
  ++nodesRequested;
  if (KrMemPoolFreeNode* record = freeNodes) {
    freeNodes = record->next;
    void* node = record->node;
    free(record);
    return node;
  }
  if (nextNode == lastNode) {
    KrMemPoolBuffer* const newest = buffers;
    AddNewBuffer();
    if (buffers == newest) return nullptr;  // no new buffer could be had
    return nextNode;
  }
  nextNode += nodeSize;
  return nextNode;
}

void KrMemPool::PutNode(void* node) {
  ++nodesReturned;
  // The node itself is never written: the record is a separate object.
  KrMemPoolFreeNode* record = static_cast<KrMemPoolFreeNode*>(malloc(sizeof(KrMemPoolFreeNode)));
  if (!record) return;  // the node is not reused; its buffer still releases it
  record->next = freeNodes;
  record->node = node;
  freeNodes = record;
}

void KrMemPool::AddNewBuffer() {
  ++buffersAllocated;
  unsigned long perBuffer = kBufferBytes / nodeSize;
  if (perBuffer == 0) perBuffer = 1;  // a large node gets a buffer of its own
  unsigned char* block = static_cast<unsigned char*>(malloc(perBuffer * nodeSize));
  if (!block) return;
  KrMemPoolBuffer* record = static_cast<KrMemPoolBuffer*>(malloc(sizeof(KrMemPoolBuffer)));
  if (!record) {
    free(block);
    return;
  }
  record->next = buffers;
  record->block = block;
  buffers = record;
  nextNode = block;
  lastNode = block + (perBuffer - 1) * nodeSize;
}

void KrMemPool::DeallocateBuffers() {
  while (KrMemPoolBuffer* record = buffers) {
    buffers = record->next;
    if (record->block) {
      free(record->block);
      ++buffersFreed;
    }
    free(record);
  }
  while (KrMemPoolFreeNode* record = freeNodes) {
    freeNodes = record->next;
    free(record);
  }
  nextNode = nullptr;
  lastNode = nullptr;
}

unsigned long KrMemPool::FreeListLength() {
  unsigned long length = 0;
  for (KrMemPoolFreeNode* record = freeNodes; record; record = record->next) ++length;
  return length;
}

unsigned long KrMemPool::NodesAvailable() {
  if (!nextNode || nodeSize == 0) return 0;
  return static_cast<unsigned long>(lastNode - nextNode) / nodeSize;
}
