// The process-wide state of the runtime frame, in one place.
//
// Everything here is plain data without locks, by design: settings are read
// once and cached, switches and counters are plain integers, and racing first
// reads only read the configuration twice (with the same result). Objects with
// constructors (the system log, the message box, the statistics) are defined
// in one translation unit, so they are built in a known order when the library
// is loaded and destroyed in reverse order when it is unloaded.
#ifndef KR_SRC_DIAG_PROCESS_STATE_H_
#define KR_SRC_DIAG_PROCESS_STATE_H_

#include <kr/diag.h>

namespace kr_detail {

// Size of the buffer that receives a module's file path.
constexpr int kModulePathSize = 4096;

// The default configuration; null when none is installed.
extern KrConfig* defConfig;
// Cached "disableWin32PriorityBoost"; -1 until read.
extern int disableWin32PriorityBoost;
// Remaining injected growth failures, and whether the count has been read.
extern int GrowErrorCounter;
extern short IsInit;
// The assertion mode; -1 until read.
extern int krassertmode;
// This library's version text, rebuilt by every GETKRBASICSINFO call.
extern char DLL_version_info[256];
// A module's file path, shared by the loader and the module description.
extern char module_buf[kModulePathSize];
// The logging and message-box switches shared by all such objects.
extern int _syslog_allowed;
extern int _msgbox_allowed;
// Set once the product's service has been told to stop.
extern int bServiceHasStopped;

extern KrSysLogPosix krsyslogimpl;
extern KrMsgDummyImpl krmsgimpl;
extern KrStatistics _Statistics;

}  // namespace kr_detail

#endif  // KR_SRC_DIAG_PROCESS_STATE_H_
