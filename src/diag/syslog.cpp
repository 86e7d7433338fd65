// The system log: KrSysLog and its system-logger implementation.
#include <syslog.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <kr/diag.h>

#include "diag/format.h"
#include "diag/module_identity.h"
#include "diag/process_state.h"

using kr_detail::_syslog_allowed;

namespace {

// System-logger priority of a level; other values are notices.
int Priority(KrSysLogLevel level) {
  switch (level) {
    case KrSysLogInformational:
      return LOG_INFO;
    case KrSysLogNotice:
      return LOG_NOTICE;
    case KrSysLogWarning:
      return LOG_WARNING;
    case KrSysLogError:
      return LOG_ERR;
  }
  return LOG_NOTICE;
}

}  // namespace

const int KrSysLog::kMaxTextLength;

int KrSysLog::AllowLogging(int on) {
  int previous = _syslog_allowed;
  _syslog_allowed = on;
  return previous;
}

void KrSysLog::SetApplicationName(char const*) {}

void KrSysLog::LogPermanent(KrSysLogLevel level, char const* format, ...) {
  if (_syslog_allowed == 0) return;
  char text[kMaxTextLength + 1];
  va_list args;
  va_start(args, format);
  int length = std::vsnprintf(text, sizeof text, format, args);
  va_end(args);
  if (length < 0) {
    text[kMaxTextLength] = '\0';
    length = kMaxTextLength + 1;
  } else if (length > kMaxTextLength) {
    // The would-be length of a cut text: report what the buffer holds, so
    // that implementations using the length stay inside it.
    length = kMaxTextLength;
  }
  _LogPermanent(level, length, text);
}

KrSysLog::~KrSysLog() {}

KrSysLogPosix::KrSysLogPosix() : opened(0), ident_(nullptr) {}

KrSysLogPosix::~KrSysLogPosix() {
  if (opened) closelog();
  std::free(ident_);
}

void KrSysLogPosix::Init(char const* ident) {
  if (opened || _syslog_allowed == 0) return;
  // The logger keeps the pointer it is given: hand it our own copy.
  ident_ = strdup(ident ? ident : kr_detail::LibString);
  openlog(ident_, LOG_PID, LOG_USER);
  opened = 1;
}

void KrSysLogPosix::SetApplicationName(char const* ident) { Init(ident); }

void KrSysLogPosix::_LogPermanent(KrSysLogLevel level, int /*length: not used*/,
                                  char const* text) {
  if (!opened) {
    if (_syslog_allowed == 0) return;
    Init(nullptr);
  }
  char version[64];
  kr_detail::FormatInto(version, sizeof version, "(Norvane %d.%d.%d.%d.%d)",
                        static_cast<int>(kr_detail::kVersionMajor),
                        static_cast<int>(kr_detail::kVersionMinor),
                        static_cast<int>(kr_detail::kVersionRevision),
                        static_cast<int>(kr_detail::kVersionBuild),
                        static_cast<int>(kr_detail::kVersionPatch));
  syslog(LOG_USER | Priority(level), "%s\n%s\n", text, version);
}

KrSysLog* KrSystemLog() { return &kr_detail::krsyslogimpl; }
