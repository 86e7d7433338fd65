// Output to operators: the server console, the stdio output stream, message boxes; and the
// small process-wide pieces beside them (service state, registry stubs, host name).
#include <kr/diag.h>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "child_process.h"

namespace {

using kr_test::RunInChild;

// Records what the console front end asks of its implementation.
class RecordingCons : public _KrServCons {
 public:
  void write(char const* text, int length) override {
    log += "write(" + std::string(text) + "," + std::to_string(length) + ")";
  }
  void writeString(KrString const& text) override { log += "string(" + std::string(text.Text()) + ")"; }
  void terminateLine() override { log += "line"; }
  void flush() override { log += "flush"; }
  std::string log;
};

// Drives every console operation once; returns what reached `impl`.
std::string Drive(KrServCons& console, RecordingCons& impl) {
  impl.log.clear();
  console << "abc" << static_cast<char const*>(nullptr) << KrString("str") << -7L;
  console.printf("%s=%d", "n", 5).terminateLine().flush();
  endl(console);
  return impl.log;
}

TEST(Console, ForwardsWhileEnabledAndSwallowsOtherwise) {
  RecordingCons impl;
  KrServCons console(&impl), none;
  std::string const all = "write(abc,-1)string(str)write(-7,-1)write(n=5,-1)lineflushlineflush";
  EXPECT_EQ(Drive(console, impl), all);
  console.flags &= ~KrServCons::kEnabled;
  EXPECT_EQ(Drive(console, impl), "");
  console.flags |= KrServCons::kEnabled;
  EXPECT_EQ(console.setImplementation(nullptr), &impl);
  EXPECT_EQ(Drive(console, impl), "");
  EXPECT_TRUE(none.flags == KrServCons::kEnabled && none.setImplementation(&impl) == nullptr);
  EXPECT_EQ(Drive(none, impl), all);
  impl.log.clear();
  none.printf("%s", std::string(3000, 'z').c_str());
  EXPECT_EQ(impl.log, "write(" + std::string(KrServCons::kLineSize - 1, 'z') + ",-1)");
  kr_test::ChildResult const result = RunInChild([] {
    struct StderrCons : _KrServCons {
      void writeString(KrString const& text) override { write(text.Text(), -1); }
    } impl;
    KrServCons console(&impl);
    console << "value " << 12L << KrString(" and text");
    endl(console);
    impl.write(nullptr, 3);  // ignored
    console.printf("%05d", 42);
    impl.terminateLine();
    return 0;
  });
  EXPECT_EQ(result.err, "value 12 and text\n00042\n");
  EXPECT_EQ(result.out, "");
}

TEST(OutStream, FormatsEachTypeAndFlushesOnlyWhenAsked) {
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

  file = std::tmpfile();
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

// Keeps the base Box; records what reaches _Box.
class RecordingMsg : public KrMsg {
 public:
  unsigned long _Box(char const* title, unsigned long flags, char const* text) override {
    last = std::string(title) + "|" + std::to_string(flags) + "|" + text;
    return 7;
  }
  std::string last;
};

// The base Box formats, cuts and forwards; the shared switch (on at load, stored as 0 or 1)
// answers "not allowed" unless the box is forced; the dummy shows nothing, whatever the switch.
TEST(MessageBox, FormatsSwitchesAndTheDummy) {
  RecordingMsg box;
  EXPECT_EQ(box.Box("Title", 0x11, "%s needs %d bytes", "table", 4096), 7u);
  EXPECT_EQ(box.last, "Title|17|table needs 4096 bytes");
  box.Box("t", 0, "%s", std::string(10000, 'm').c_str());
  EXPECT_EQ(box.last, "t|0|" + std::string(KrMsg::kTextSize - 1, 'm'));
  kr_test::ChildResult const result = RunInChild([] {
    RecordingMsg box, other;
    if (box.AllowMessageBoxes(0) != 1) return 1;
    if (box.Box("t", 0x1FFFFFFF, "x") != 0x40000000 || !box.last.empty()) return 2;
    if (box.Box("t", 0x20000000, "forced %d", 1) != 7 || box.last != "t|536870912|forced 1") {
      return 3;
    }
    if (other.Box("t", 0, "x") != 0x40000000) return 4;  // one switch for all
    if (other.AllowMessageBoxes(5) != 0 || box.AllowMessageBoxes(1) != 1) return 5;
    KrMsg* dummy = KrMessage();
    if (dummy->AllowMessageBoxes(0) != -1 || box.AllowMessageBoxes(1) != 1) return 6;
    if (dummy->Box("t", 0, "x %d", 1) != 0x80000000) return 7;
    box.AllowMessageBoxes(0);
    return dummy->Box("t", 0, "x") == 0x80000000 && dummy->_Box("t", 0, "x") == 0x80000000 ? 0 : 8;
  });
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.out + result.err, "");
}

TEST(ProcessState, ServiceStopsOnceRegistryIsAbsentHostnameIsTheSystems) {
  EXPECT_EQ(RunInChild([] {
              int const before = KIRO_Service_hasStopped();
              StopKIRO_Service();
              StopKIRO_Service();
              return before * 10 + KIRO_Service_hasStopped();
            }).exitCode,
            1);
  char const* path[] = {"Software", nullptr};
  char value[16] = "untouched";
  long length = 16;
  EXPECT_EQ(KrGetRegistryEntry(path, value, length), -2999);
  EXPECT_EQ(KrSetRegistryEntry(nullptr, value, length), -2999);
  EXPECT_EQ(KrDeleteRegistryEntry(path), -2999);
  EXPECT_STREQ(value, "untouched");
  char expected[256] = {}, name[256] = "x", small[2] = "x";
  ASSERT_EQ(gethostname(expected, sizeof expected), 0);
  EXPECT_EQ(KrGetHostname(name, sizeof name), 0);
  EXPECT_STREQ(name, expected);
  EXPECT_EQ(KrGetHostname(small, 0), 0);  // the system fails; the result stays 0
  EXPECT_EQ(KrGetHostname(small, -5), 0);
  EXPECT_STREQ(small, "x");
}

}  // namespace
