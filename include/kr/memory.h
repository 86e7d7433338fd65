// kr95Nbs memory and byte buffers: the resize primitives and the low-memory
// handler, the memory file, CRC-32 checksums, run-length record compression,
// the byte queue, the node pool and the raw buffer.
#ifndef KR_MEMORY_H_
#define KR_MEMORY_H_

#include <kr/export.h>

#endif  // KR_MEMORY_H_
