// KrString: the minimal text class the server console writes.
#include <cstring>

#include <kr/diag.h>

namespace {

char* Copy(char const* text, unsigned long length) {
  char* copy = new char[length + 1];
  std::memcpy(copy, text, length);
  copy[length] = '\0';
  return copy;
}

}  // namespace

KrString::KrString() : text_(Copy("", 0)), length_(0) {}

KrString::KrString(char const* text)
    : text_(nullptr), length_(text ? std::strlen(text) : 0) {
  text_ = Copy(text ? text : "", length_);
}

KrString::KrString(KrString const& other)
    : text_(Copy(other.text_, other.length_)), length_(other.length_) {}

KrString& KrString::operator=(KrString const& other) {
  if (this != &other) {
    char* copy = Copy(other.text_, other.length_);
    delete[] text_;
    text_ = copy;
    length_ = other.length_;
  }
  return *this;
}

KrString::~KrString() { delete[] text_; }

char const* KrString::Text() const { return text_; }

unsigned long KrString::Length() const { return length_; }
