// Message boxes: KrMsg and the dummy of a platform without them.
#include <cstdarg>
#include <cstdio>

#include <kr/diag.h>

#include "diag/process_state.h"

using kr_detail::_msgbox_allowed;

const unsigned long KrMsg::kShowAlways;
const unsigned long KrMsg::kNotAllowed;
const unsigned long KrMsg::kNoAnswer;
const int KrMsg::kTextSize;

int KrMsg::AllowMessageBoxes(int on) {
  int previous = _msgbox_allowed;
  _msgbox_allowed = on != 0;
  return previous;
}

unsigned long KrMsg::Box(char const* title, unsigned long flags, char const* format, ...) {
  if (!_msgbox_allowed && !(flags & kShowAlways)) return kNotAllowed;
  char text[kTextSize];
  va_list args;
  va_start(args, format);
  std::vsnprintf(text, sizeof text, format, args);  // cuts and terminates
  va_end(args);
  return _Box(title, flags, text);
}

KrMsg::~KrMsg() {}

int KrMsgDummyImpl::AllowMessageBoxes(int) { return -1; }

unsigned long KrMsgDummyImpl::Box(char const*, unsigned long, char const*, ...) {
  return kNoAnswer;
}

unsigned long KrMsgDummyImpl::_Box(char const*, unsigned long, char const*) { return kNoAnswer; }

KrMsg* KrMessage() { return &kr_detail::krmsgimpl; }
