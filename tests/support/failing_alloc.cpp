// Process-wide replacement of malloc, calloc and realloc that forwards to the
// next definition (the C library's, or the sanitizer runtime's) and fails the
// calls a test has chosen. Interposition works because the executable's
// definitions come first in the dynamic linker's search order for every
// module, libkr95Nbs.so included. Under AddressSanitizer these functions run
// before the sanitizer is initialised, so this file is built uninstrumented
// and calls no intercepted function on the bootstrap path.
#include "failing_alloc.h"

#include <dlfcn.h>

#include <cstdint>
#include <cstring>

namespace {

using MallocFunction = void* (*)(std::size_t);
using CallocFunction = void* (*)(std::size_t, std::size_t);
using ReallocFunction = void* (*)(void*, std::size_t);
using FreeFunction = void (*)(void*);

MallocFunction gRealMalloc = nullptr;
CallocFunction gRealCalloc = nullptr;
ReallocFunction gRealRealloc = nullptr;
FreeFunction gRealFree = nullptr;

// dlsym may allocate while the real functions are being looked up; those few
// early requests are served from here and never freed.
alignas(16) unsigned char gBootstrap[16384];
std::size_t gBootstrapUsed = 0;
bool gResolving = false;

// Unsynchronised by design: tests arm and disarm from one thread.
unsigned long gCalls = 0;
unsigned long gFailFrom = 0;      // 0: not armed
bool gFailOnlyOne = false;
unsigned long gFailed = 0;
std::size_t gLastFailedSize = 0;
bool gSuspended = false;  // calls neither count nor fail
long gLiveBlocks = 0;     // blocks handed out and not yet freed

bool IsBootstrap(void* p) {
  auto* bytes = static_cast<unsigned char*>(p);
  return bytes >= gBootstrap && bytes < gBootstrap + sizeof gBootstrap;
}

void* BootstrapAllocate(std::size_t size) {
  std::size_t rounded = (size + 15) & ~static_cast<std::size_t>(15);
  if (gBootstrapUsed + rounded > sizeof gBootstrap) return nullptr;
  void* p = gBootstrap + gBootstrapUsed;
  gBootstrapUsed += rounded;
  return p;
}

void Resolve() {
  if (gRealFree || gResolving) return;
  gResolving = true;
  gRealMalloc = reinterpret_cast<MallocFunction>(dlsym(RTLD_NEXT, "malloc"));
  gRealCalloc = reinterpret_cast<CallocFunction>(dlsym(RTLD_NEXT, "calloc"));
  gRealRealloc = reinterpret_cast<ReallocFunction>(dlsym(RTLD_NEXT, "realloc"));
  gRealFree = reinterpret_cast<FreeFunction>(dlsym(RTLD_NEXT, "free"));
  gResolving = false;
}

// Counts the call and tells whether it is to fail.
bool ShouldFail(std::size_t size) {
  if (gSuspended) return false;
  ++gCalls;
  if (gFailFrom == 0 || gCalls < gFailFrom) return false;
  if (gFailOnlyOne && gCalls != gFailFrom) return false;
  ++gFailed;
  gLastFailedSize = size;
  return true;
}

}  // namespace

extern "C" {

void* malloc(std::size_t size) {
  Resolve();
  if (!gRealMalloc) return BootstrapAllocate(size);
  if (ShouldFail(size)) return nullptr;
  void* block = gRealMalloc(size);
  if (block) ++gLiveBlocks;
  return block;
}

void* calloc(std::size_t count, std::size_t size) {
  Resolve();
  if (!gRealCalloc) {
    // Fresh bootstrap memory is still zero (static storage, never reused).
    return BootstrapAllocate(count * size);
  }
  if (ShouldFail(count * size)) return nullptr;
  void* block = gRealCalloc(count, size);
  if (block) ++gLiveBlocks;
  return block;
}

void* realloc(void* block, std::size_t size) {
  Resolve();
  if (block && IsBootstrap(block)) {  // never happens after start-up
    void* moved = malloc(size);
    std::size_t room = gBootstrap + sizeof gBootstrap - static_cast<unsigned char*>(block);
    if (moved) std::memcpy(moved, block, size < room ? size : room);
    return moved;
  }
  if (size != 0 && ShouldFail(size)) return nullptr;
  void* moved = gRealRealloc(block, size);
  if (!block && moved) ++gLiveBlocks;  // realloc(null, n) allocates
  if (block && size == 0 && !moved) --gLiveBlocks;  // realloc(p, 0) frees
  return moved;
}

void free(void* block) {
  if (!block || IsBootstrap(block)) return;
  Resolve();
  --gLiveBlocks;
  gRealFree(block);
}

}  // extern "C"

namespace kr_test {

void FailNthAllocation(unsigned long n) {
  FailAllocationsFrom(n);
  gFailOnlyOne = true;
}

void FailAllocationsFrom(unsigned long n) {
  gCalls = gFailed = 0;
  gFailFrom = n;
  gFailOnlyOne = false;
}

void StopFailingAllocations() { gFailFrom = 0; }

unsigned long AllocationCalls() { return gCalls; }
unsigned long FailedAllocations() { return gFailed; }
std::size_t LastFailedSize() { return gLastFailedSize; }
long LiveBlocks() { return gLiveBlocks; }

Uncounted::Uncounted() : outer_(gSuspended) { gSuspended = true; }
Uncounted::~Uncounted() { gSuspended = outer_; }

}  // namespace kr_test
