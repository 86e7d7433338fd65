// KrRecordingContainer: an output container appending its elements to a
// memory file.
#include <kr/containers.h>

#include "containers/probe.h"

KrRecordingContainer::KrRecordingContainer(MemFile* file, unsigned long size)
    : KrVContainer(size, 0), memFile(file) {}

KrRecordingContainer::~KrRecordingContainer() {}

int KrRecordingContainer::InsertElement(KrVIterator const* probe, KrVParameter* probeParameter,
                                        unsigned short, KrVParameter* parameter) {
  void const* key = nullptr;
  void const* dat = nullptr;
  int status = kr_detail::ReadProbeParts(probe, probeParameter, key, dat);
  if (status < 0) return status;
  if (!constructorElement) return kKrNotImplemented;

  long const end = memFile->logicalSize;
  long const size = static_cast<long>(elementSize);
  // Guard: a size that would wrap the file's signed length is out of memory.
  if (size < 0 || end > static_cast<long>(~0ul >> 1) - size) return kKrNoMemory;
  if (memFile->SizeSetDontShrink(end + size, 0) < 0) {
    memFile->SetLogicalSize(end);  // a failed growth has set the size already
    return kKrNoMemory;
  }
  status = constructorElement(this, memFile->buffer + end, probe, key, dat, parameter);
  if (status < 0) {
    memFile->SetLogicalSize(end);
    return status;
  }
  ++count;
  return 0;
}
