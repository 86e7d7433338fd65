// The resize primitives and the process-wide low-memory handler.
#include <kr/diag.h>
#include <kr/memory.h>

#include <stdio.h>
#include <stdlib.h>

namespace {

// The report of the default handler: format and arguments, on every channel.
constexpr char kReportFormat[] = "\n%s\n%s %lu %s\n";
constexpr char kReportTitle[] = "Norvane runs out of memory.";
constexpr char kReportLead[] = "Tried to allocate";
constexpr char kReportUnit[] = "bytes of memory.";
// Level of the report in the system log (logged as a notice).
constexpr KrSysLogLevel kReportLogLevel = static_cast<KrSysLogLevel>(10);
constexpr unsigned long kReportBoxFlags = 0;
// The assertion the default handler fails, and where it says it failed.
constexpr char kAbortCondition[] = "\"Out of memory. Aborting!\" && 0";
constexpr char kAbortFile[] = "src/resize";
constexpr int kAbortLine = 73;

constexpr int kResizeFailed = -1;

// The three steps shared by both primitives; `report` is called once, with
// the requested size, when the heap refuses.
template <typename Report>
int Resize(void** block, unsigned long size, Report report) {
  if (size == 0) {
    if (*block) {
      free(*block);
      *block = nullptr;
    }
    return 0;
  }
  if (!*block) {
    *block = malloc(size);
    if (*block) return 0;
    report(size);
    return kResizeFailed;
  }
  void* moved = realloc(*block, size);
  if (!moved) {
    report(size);  // the old block stays the caller's, contents intact
    return kResizeFailed;
  }
  *block = moved;
  return 0;
}

}  // namespace

// Process-wide and unsynchronised by design: a plain pointer, set at load.
KrMemoryHandler mmKrMemExc = mmKrMemExcHdl;

int mmResize(void** block, unsigned long size) {
  // The handler's answer is ignored: the allocation is never retried.
  return Resize(block, size, [](unsigned long failed) { mmKrMemExc(failed); });
}

int mmFarResize(void** block, unsigned long size) {
  return Resize(block, size, [](unsigned long failed) { KrCallMemoryHandler(failed); });
}

KrMemoryHandler mmKrSetHandler(KrMemoryHandler handler) {
  KrMemoryHandler previous = mmKrMemExc;
  mmKrMemExc = handler;
  return previous;
}

int KrCallMemoryHandler(unsigned long size) { return mmKrMemExc(size); }

int mmKrMemExcHdl(unsigned long size) {
  fprintf(stderr, kReportFormat, kReportTitle, kReportLead, size, kReportUnit);
  KrSystemLog()->LogPermanent(kReportLogLevel, kReportFormat, kReportTitle, kReportLead, size,
                              kReportUnit);
  KrMessage()->Box(nullptr, kReportBoxFlags, kReportFormat, kReportTitle, kReportLead, size,
                   kReportUnit);
  // The assertion mode decides what happens now; in the modes that return,
  // the failing primitive goes on to return -1.
  KIRO_assert(kAbortCondition, kAbortFile, kAbortLine);
  return 0;
}

int KiroCheckMemory() { return -1; }
