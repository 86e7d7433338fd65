// Typed output streams: KrOutStreamStub and its stdio implementation.
#include <cstdio>

#include <kr/diag.h>

KrOutStreamStub::~KrOutStreamStub() {}

KrOutStreamStub& KrOutStreamStub::operator<<(KrOutStreamStub& (*manipulator)(KrOutStreamStub&)) {
  return manipulator(*this);
}

KrOutStreamStub& endl(KrOutStreamStub& stream) { return stream.endl(); }

KrOutStreamStub& flush(KrOutStreamStub& stream) { return stream.flush(); }

KrOutStreamFILE::KrOutStreamFILE(std::FILE* stream) : stream(stream) {}

KrOutStreamFILE::~KrOutStreamFILE() { stream = nullptr; }

KrOutStreamStub& KrOutStreamFILE::operator<<(char const* value) {
  std::fprintf(stream, "%s", value);
  return *this;
}

KrOutStreamStub& KrOutStreamFILE::operator<<(int value) {
  std::fprintf(stream, "%d", value);
  return *this;
}

KrOutStreamStub& KrOutStreamFILE::operator<<(short value) {
  std::fprintf(stream, "%d", value);
  return *this;
}

KrOutStreamStub& KrOutStreamFILE::operator<<(long value) {
  std::fprintf(stream, "%ld", value);
  return *this;
}

KrOutStreamStub& KrOutStreamFILE::operator<<(unsigned int value) {
  std::fprintf(stream, "%u", value);
  return *this;
}

KrOutStreamStub& KrOutStreamFILE::operator<<(unsigned short value) {
  std::fprintf(stream, "%u", value);
  return *this;
}

KrOutStreamStub& KrOutStreamFILE::operator<<(unsigned long value) {
  std::fprintf(stream, "%lu", value);
  return *this;
}

KrOutStreamStub& KrOutStreamFILE::operator<<(float value) {
  std::fprintf(stream, "%f", static_cast<double>(value));
  return *this;
}

KrOutStreamStub& KrOutStreamFILE::operator<<(double value) {
  std::fprintf(stream, "%lf", value);
  return *this;
}

KrOutStreamStub& KrOutStreamFILE::operator<<(char value) {
  std::fprintf(stream, "%c", value);
  return *this;
}

KrOutStreamStub& KrOutStreamFILE::operator<<(void* value) {
  std::fprintf(stream, "0x%lx", reinterpret_cast<unsigned long>(value));
  return *this;
}

KrOutStreamStub& KrOutStreamFILE::endl() {
  std::fputs("\n", stream);  // deliberately no flush
  return *this;
}

KrOutStreamStub& KrOutStreamFILE::flush() {
  std::fflush(stream);
  return *this;
}
