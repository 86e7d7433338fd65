// KrMemFileContainer and KrMemFileIterator: records lying back to back in a
// memory file, walked forwards and compared bytewise.
#include <kr/containers.h>

namespace {

const unsigned short kSeekFromStart = 0;
const unsigned short kSeekFromPosition = 1;

// -1, 0 or +1: the first differing byte decides, as unsigned bytes.
int CompareBytes(unsigned char const* a, unsigned char const* b, unsigned long size) {
  for (unsigned long i = 0; i < size; ++i) {
    if (a[i] != b[i]) return a[i] < b[i] ? -1 : 1;
  }
  return 0;
}

}  // namespace

KrMemFileContainer::KrMemFileContainer(MemFile* file, unsigned long recordSize,
                                       unsigned long recordCount)
    : KrVContainer(recordSize, 0),
      memFile(file),
      startOffset(static_cast<unsigned long>(file->position)),
      currentIndex(0) {
  count = recordCount;
}

KrMemFileContainer::~KrMemFileContainer() {}

KrMemFileIterator::KrMemFileIterator(KrMemFileContainer* owner)
    : KrVIterator(nullptr, owner), currentRecord(nullptr) {}

KrMemFileIterator::~KrMemFileIterator() {}

int KrMemFileIterator::First() {
  KrMemFileContainer* records = MemFileContainer();
  if (!records) return status;  // guard: no container to walk, status stays -520
  if (records->count == 0) {
    status = kKrBeforeFirst;
    return status;
  }
  records->currentIndex = 0;
  currentRecord = records->memFile->Seek(static_cast<long>(records->startOffset),
                                         kSeekFromStart, nullptr, 0);
  status = currentRecord ? kKrPositioned : kKrBeforeFirst;
  return status;
}

// Seeks on from the memory file's position, where First or the last Next
// left it: the current record.
int KrMemFileIterator::Next() {
  KrMemFileContainer* records = MemFileContainer();
  if (!records) return status;  // guard: no container to walk, status stays -520
  currentRecord = records->memFile->Seek(static_cast<long>(records->elementSize),
                                         kSeekFromPosition, nullptr, 0);
  if (currentRecord && ++records->currentIndex < records->count) {
    status = kKrPositioned;
  } else {
    status = kKrAfterLast;
  }
  return status;
}

int KrMemFileIterator::CompareElement(KrVIterator const* other, KrVParameter*,
                                      int& keyComparison, int& order, KrVParameter*) const {
  int entryStatus = 0;
  void const* a = GetEntry(entryStatus, nullptr);
  if (entryStatus < 0) return entryStatus;
  void const* b = other->GetEntry(entryStatus, nullptr);
  if (entryStatus < 0) return entryStatus;
  // Guard: an entry that claims a position but has no element (a one-entry
  // iterator stepped onto an empty container) is refused as having no element.
  if (!a || !b) return kKrNotImplemented;
  int result = CompareBytes(static_cast<unsigned char const*>(a),
                            static_cast<unsigned char const*>(b), container->elementSize);
  keyComparison = result;
  order = result;
  return entryStatus;
}

void const* KrMemFileIterator::GetEntry(int& entryStatus, KrVParameter*) const {
  entryStatus = status;
  return currentRecord;
}

void const* KrMemFileIterator::GetKey(int& keyStatus, KrVParameter* parameter) const {
  return GetEntry(keyStatus, parameter);
}
