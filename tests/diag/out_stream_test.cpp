// KrOutStreamFILE: typed values printed to a stdio stream.
#include <kr/diag.h>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdio>
#include <string>

namespace {

TEST(OutStream, FormatsEachTypeAndAppliesManipulators) {
  char* text = nullptr;
  std::size_t size = 0;
  std::FILE* file = open_memstream(&text, &size);
  ASSERT_NE(file, nullptr);
  {
    KrOutStreamFILE stream(file);
    KrOutStreamStub& base = stream;
    base << "text" << '|' << -12 << '|' << static_cast<short>(-7) << '|' << -123456L << '|'
         << 4000000000u << '|' << static_cast<unsigned short>(65535) << '|' << 4294967295ul
         << '|' << 1.5f << '|' << 2.25 << '|' << reinterpret_cast<void*>(0x1f) << endl;
    EXPECT_EQ(&(stream << flush), &stream);
  }  // the destructor leaves the stream open
  EXPECT_GE(std::fputs("!", file), 0);
  std::fclose(file);
  EXPECT_EQ(std::string(text),
            "text|-12|-7|-123456|4000000000|65535|4294967295|1.500000|2.250000|0x1f\n!");
  std::free(text);
}

TEST(OutStream, EndlDoesNotFlushButFlushDoes) {
  std::FILE* file = std::tmpfile();
  ASSERT_NE(file, nullptr);
  static char buffer[1 << 16];
  ASSERT_EQ(std::setvbuf(file, buffer, _IOFBF, sizeof buffer), 0);
  auto onDisk = [file] {
    struct stat info;
    return fstat(fileno(file), &info) == 0 ? static_cast<long>(info.st_size) : -1L;
  };
  KrOutStreamFILE stream(file);
  stream << "line";
  stream.endl();
  EXPECT_EQ(onDisk(), 0);
  stream.flush();
  EXPECT_EQ(onDisk(), 5);
  std::fclose(file);
}

}  // namespace
