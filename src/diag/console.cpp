// The server console: KrServCons in front of a _KrServCons implementation.
#include <cstdarg>
#include <cstdio>

#include <kr/diag.h>

_KrServCons::~_KrServCons() {}

void _KrServCons::write(char const* text, int /*length: not used*/) {
  if (text) std::fputs(text, stderr);
}

void _KrServCons::terminateLine() { write("\n", 1); }

void _KrServCons::flush() {}

const int KrServCons::kEnabled;
const int KrServCons::kLineSize;

KrServCons::KrServCons() : impl(nullptr), flags(kEnabled) {}

KrServCons::KrServCons(_KrServCons* impl) : impl(impl), flags(kEnabled) {}

KrServCons::~KrServCons() {}

_KrServCons* KrServCons::setImplementation(_KrServCons* implementation) {
  _KrServCons* previous = impl;
  impl = implementation;
  return previous;
}

KrServCons& KrServCons::operator<<(char const* text) {
  if (impl && (flags & kEnabled) && text) impl->write(text, -1);
  return *this;
}

KrServCons& KrServCons::operator<<(KrString const& text) {
  if (impl && (flags & kEnabled)) impl->writeString(text);
  return *this;
}

KrServCons& KrServCons::operator<<(long value) {
  if (impl && (flags & kEnabled)) printf("%ld", value);
  return *this;
}

KrServCons& KrServCons::printf(char const* format, ...) {
  if (!impl || !(flags & kEnabled)) return *this;
  char line[kLineSize];
  va_list args;
  va_start(args, format);
  std::vsnprintf(line, sizeof line, format, args);  // cuts and terminates
  va_end(args);
  impl->write(line, -1);
  return *this;
}

KrServCons& KrServCons::terminateLine() {
  if (impl && (flags & kEnabled)) impl->terminateLine();
  return *this;
}

KrServCons& KrServCons::flush() {
  if (impl && (flags & kEnabled)) impl->flush();
  return *this;
}

KrServCons& endl(KrServCons& console) { return console.terminateLine().flush(); }
