// KrOutStreamFILE: typed values printed to a stdio stream.
#include <kr/diag.h>

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <string>

namespace {

// A stream over a temporary file whose content the test reads back.
class OutStream : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_NE(file_ = std::tmpfile(), nullptr); }
  void TearDown() override { std::fclose(file_); }
  std::string Content() {
    std::fflush(file_);
    std::rewind(file_);
    std::string text;
    int c;
    while ((c = std::fgetc(file_)) != EOF) text += static_cast<char>(c);
    return text;
  }
  std::FILE* file_ = nullptr;
};

TEST_F(OutStream, FormatsEachType) {
  KrOutStreamFILE stream(file_);
  EXPECT_EQ(stream.stream, file_);
  stream << "text" << '|' << -12 << '|' << static_cast<short>(-7) << '|' << -123456L << '|'
         << 4000000000u << '|' << static_cast<unsigned short>(65535) << '|' << 4294967295ul << '|'
         << 1.5f << '|' << 2.25 << '|' << reinterpret_cast<void*>(0x1f) << '|'
         << static_cast<void*>(nullptr);
  EXPECT_EQ(Content(),
            "text|-12|-7|-123456|4000000000|65535|4294967295|1.500000|2.250000|0x1f|0x0");
}

TEST_F(OutStream, ManipulatorsAndTheirOrder) {
  KrOutStreamFILE stream(file_);
  KrOutStreamStub& base = stream;
  EXPECT_EQ(&(base << "a" << endl << "b"), &base);
  EXPECT_EQ(&(stream << flush), &stream);
  EXPECT_EQ(&endl(base), &base);
  EXPECT_EQ(&flush(base), &base);
  EXPECT_EQ(Content(), "a\nb\n");
}

TEST_F(OutStream, EndlDoesNotFlushButFlushDoes) {
  // A stream with a large buffer: nothing reaches the file before a flush.
  char name[] = "/tmp/kr_out_XXXXXX";
  int fd = mkstemp(name);
  ASSERT_GE(fd, 0);
  std::FILE* file = fdopen(fd, "w");
  ASSERT_NE(file, nullptr);
  static char buffer[1 << 16];
  ASSERT_EQ(std::setvbuf(file, buffer, _IOFBF, sizeof buffer), 0);
  auto sizeOnDisk = [&name] {
    std::FILE* check = std::fopen(name, "r");
    std::fseek(check, 0, SEEK_END);
    long size = std::ftell(check);
    std::fclose(check);
    return size;
  };
  {
    KrOutStreamFILE stream(file);
    stream << "line";
    stream.endl();
    EXPECT_EQ(sizeOnDisk(), 0);
    stream.flush();
    EXPECT_EQ(sizeOnDisk(), 5);
  }
  // The destructor leaves the stream open.
  EXPECT_GE(std::fputs("more", file), 0);
  EXPECT_EQ(std::fclose(file), 0);
  EXPECT_EQ(sizeOnDisk(), 9);
  std::remove(name);
}

}  // namespace
