// Process-wide malloc, calloc and realloc that forward to the next definition (the C library's, or
// the sanitizer runtime's) and fail the calls a test has chosen. Interposition works because the
// executable's definitions come first in the dynamic linker's search order for every module,
// libkr95Nbs.so included. Under AddressSanitizer these run before the sanitizer is set up, so this
// file is built uninstrumented and calls nothing intercepted while the real functions are looked
// up.
#include "failing_alloc.h"

#include <dlfcn.h>

#include <cstring>

namespace {

void* (*gRealMalloc)(std::size_t) = nullptr;
void* (*gRealCalloc)(std::size_t, std::size_t) = nullptr;
void* (*gRealRealloc)(void*, std::size_t) = nullptr;
void (*gRealFree)(void*) = nullptr;

// dlsym may allocate while the real functions are looked up; those few early
// requests are served from here (zero, as calloc wants) and never freed.
alignas(16) unsigned char gBootstrap[16384];
std::size_t gBootstrapUsed = 0;
bool gResolving = false;

unsigned long gCalls = 0, gFailFrom = 0, gFailed = 0;  // gFailFrom 0: not armed
bool gFailOnlyOne = false, gSuspended = false;          // suspended: calls neither count nor fail
std::size_t gLastFailedSize = 0;
long gLiveBlocks = 0;

bool IsBootstrap(void* p) {
  unsigned char const* const byte = static_cast<unsigned char const*>(p);
  return byte >= gBootstrap && byte < gBootstrap + sizeof gBootstrap;
}

// True while the real functions are unknown; the caller serves the request
// from the bootstrap area then.
bool Unresolved() {
  if (!gRealFree && !gResolving) {
    gResolving = true;
    gRealMalloc = reinterpret_cast<decltype(gRealMalloc)>(dlsym(RTLD_NEXT, "malloc"));
    gRealCalloc = reinterpret_cast<decltype(gRealCalloc)>(dlsym(RTLD_NEXT, "calloc"));
    gRealRealloc = reinterpret_cast<decltype(gRealRealloc)>(dlsym(RTLD_NEXT, "realloc"));
    gRealFree = reinterpret_cast<decltype(gRealFree)>(dlsym(RTLD_NEXT, "free"));
    gResolving = false;
  }
  return !gRealFree;
}

void* Bootstrap(std::size_t size) {
  std::size_t const rounded = (size + 15) & ~static_cast<std::size_t>(15);
  if (gBootstrapUsed + rounded > sizeof gBootstrap) return nullptr;
  gBootstrapUsed += rounded;
  return gBootstrap + gBootstrapUsed - rounded;
}

// Counts the call and tells whether it is to fail.
bool ShouldFail(std::size_t size) {
  if (gSuspended) return false;
  ++gCalls;
  if (gFailFrom == 0 || gCalls < gFailFrom || (gFailOnlyOne && gCalls != gFailFrom)) return false;
  ++gFailed;
  gLastFailedSize = size;
  return true;
}

void* Counted(void* block) { return block ? (++gLiveBlocks, block) : block; }

}  // namespace

extern "C" {

void* malloc(std::size_t size) {
  if (Unresolved()) return Bootstrap(size);
  return ShouldFail(size) ? nullptr : Counted(gRealMalloc(size));
}

void* calloc(std::size_t count, std::size_t size) {
  if (Unresolved()) return Bootstrap(count * size);
  return ShouldFail(count * size) ? nullptr : Counted(gRealCalloc(count, size));
}

void* realloc(void* block, std::size_t size) {
  if (Unresolved() || IsBootstrap(block)) {  // neither happens after start-up
    void* moved = malloc(size);
    std::size_t const room = gBootstrap + sizeof gBootstrap - static_cast<unsigned char*>(block);
    if (moved && block) std::memcpy(moved, block, size < room ? size : room);
    return moved;
  }
  if (size != 0 && ShouldFail(size)) return nullptr;
  void* moved = gRealRealloc(block, size);
  if (!block && moved) ++gLiveBlocks;               // realloc(null, n) allocates
  if (block && size == 0 && !moved) --gLiveBlocks;  // realloc(p, 0) frees
  return moved;
}

void free(void* block) {
  if (!block || IsBootstrap(block) || Unresolved()) return;
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
