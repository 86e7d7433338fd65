// kr95Nbs arrays and lists: the abstract indexed array with its search, sorted
// insert and sort, the contiguous and memory-file lists, the sorted list, the
// intrusive linked lists, the bit string, the entry cache and entry stack.
#ifndef KR_ARRAYS_H_
#define KR_ARRAYS_H_

#include <kr/export.h>

#endif  // KR_ARRAYS_H_
