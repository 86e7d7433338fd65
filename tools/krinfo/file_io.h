// Reading and writing the files krinfo's commands are given; the name "-"
// stands for standard input or standard output.
#ifndef KR_TOOLS_KRINFO_FILE_IO_H_
#define KR_TOOLS_KRINFO_FILE_IO_H_

#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

namespace krinfo {

// Resizes `bytes` to `size`; false, instead of an exception, when memory
// runs out (a record may claim to expand to 2 GiB).
bool ResizeBuffer(std::vector<unsigned char>* bytes, std::size_t size);

// Opens `name` for reading in binary mode ("-": standard input). Null on
// failure, with `*error` describing it.
std::FILE* OpenInput(char const* name, std::string* error);

// Closes what OpenInput returned (standard input stays open).
void CloseInput(std::FILE* file);

// Reads all of `name` into `*bytes`. Fails with `*error` set when the file
// cannot be read, holds more than `limit` bytes or does not fit in memory.
bool ReadWholeFile(char const* name, std::size_t limit, std::vector<unsigned char>* bytes,
                   std::string* error);

// Writes `size` bytes to `name` ("-": standard output), replacing the file.
bool WriteWholeFile(char const* name, unsigned char const* data, std::size_t size,
                    std::string* error);

}  // namespace krinfo

#endif  // KR_TOOLS_KRINFO_FILE_IO_H_
