// printf-style formatting into a buffer that is either of known size or, by
// the caller's contract, large enough.
#ifndef KR_SRC_DIAG_FORMAT_H_
#define KR_SRC_DIAG_FORMAT_H_

#include <cstddef>

namespace kr_detail {

// Formats into `buffer`. With `size` nonzero the output is cut to fit and
// NUL-terminated; with `size` 0 it is not bounded (the caller guarantees room).
// Returns `buffer`.
char* FormatInto(char* buffer, std::size_t size, char const* format, ...)
    __attribute__((format(printf, 3, 4)));

}  // namespace kr_detail

#endif  // KR_SRC_DIAG_FORMAT_H_
