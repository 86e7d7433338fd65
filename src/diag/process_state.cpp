// Definitions of the runtime frame's process-wide state (see the header).
#include "diag/process_state.h"

// Exported state.
KrFatalErrorCallback fatalErrorCallback = nullptr;
char const* assFmtU = "Assertion '%s' failed.\nFile '%s' \nLine %d \n";
char const* assFmtW = "Assertion '%s' failed.\nFile '%s' \nLine %d \nPress retry TO DEBUG.";
char const* assHeader = "Norvane Runtime Debugging";
char const* globalSection[1] = {nullptr};
char const* debugSection[2] = {"debug", nullptr};
char const* ERR_KR[4] = {nullptr, "ERR_KR_COULD_NOT_LOAD_MODULE", "ERR_KR_COULD_NOT_GET_ENTRY",
                         "ERR_KR_MODULE_HANDLE_INVALID"};

namespace kr_detail {

KrConfig* defConfig = nullptr;
int disableWin32PriorityBoost = -1;
int GrowErrorCounter = 0;
short IsInit = 0;
int krassertmode = -1;
char DLL_version_info[256];
char module_buf[kModulePathSize];
int _syslog_allowed = 1;
int _msgbox_allowed = 1;
int bServiceHasStopped = 0;

// Built at load in this order, destroyed at unload in reverse.
KrSysLogPosix krsyslogimpl;
KrMsgDummyImpl krmsgimpl;
KrStatistics _Statistics;

}  // namespace kr_detail
