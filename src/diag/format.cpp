#include "diag/format.h"

#include <cstdarg>
#include <cstdio>

namespace kr_detail {

char* FormatInto(char* buffer, std::size_t size, char const* format, ...) {
  va_list args;
  va_start(args, format);
  if (size != 0) {
    std::vsnprintf(buffer, size, format, args);
  } else {
    std::vsprintf(buffer, format, args);
  }
  va_end(args);
  return buffer;
}

}  // namespace kr_detail
