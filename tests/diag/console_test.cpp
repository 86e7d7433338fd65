// The server console: KrServCons and the standard-error implementation.
#include <kr/diag.h>

#include <gtest/gtest.h>

#include <string>

#include "child_process.h"

namespace {

// Records everything the front end asks of its implementation.
class RecordingCons : public _KrServCons {
 public:
  void write(char const* text, int length) override {
    log += "write(" + std::string(text) + "," + std::to_string(length) + ")";
  }
  void writeString(KrString const& text) override {
    log += "string(" + std::string(text.Text()) + ")";
  }
  void terminateLine() override { log += "line"; }
  void flush() override { log += "flush"; }
  std::string log;
};

// The standard-error implementation with a string operation.
class StderrCons : public _KrServCons {
 public:
  void writeString(KrString const& text) override { write(text.Text(), -1); }
};

TEST(Console, ForwardsToItsImplementation) {
  RecordingCons impl;
  KrServCons console(&impl);
  EXPECT_EQ(&(console << "abc"), &console);
  console << KrString("str") << 42L << -7L;
  EXPECT_EQ(&console.printf("%s=%d", "n", 5), &console);
  console.terminateLine().flush();
  endl(console);
  EXPECT_EQ(impl.log,
            "write(abc,-1)string(str)write(42,-1)write(-7,-1)write(n=5,-1)lineflushlineflush");
}

TEST(Console, SwallowsWithoutImplementationOrWhenDisabled) {
  KrServCons none;
  EXPECT_EQ(none.impl, nullptr);
  EXPECT_EQ(none.flags, KrServCons::kEnabled);
  none << "x" << KrString("y") << 1L;
  none.printf("%d", 1).terminateLine().flush();
  endl(none);  // nothing to crash on

  RecordingCons impl;
  KrServCons console(&impl);
  console << static_cast<char const*>(nullptr);  // a null text is ignored
  EXPECT_EQ(impl.log, "");
  console.flags &= ~KrServCons::kEnabled;
  console << "x" << KrString("y") << 1L;
  console.printf("%d", 1).terminateLine().flush();
  endl(console);
  EXPECT_EQ(impl.log, "");
  console.flags |= KrServCons::kEnabled;
  console << "on";
  EXPECT_EQ(impl.log, "write(on,-1)");
}

TEST(Console, SetImplementationReturnsThePrevious) {
  RecordingCons first, second;
  KrServCons console;
  EXPECT_EQ(console.setImplementation(&first), nullptr);
  console << "1";
  EXPECT_EQ(console.setImplementation(&second), &first);
  console << "2";
  EXPECT_EQ(console.setImplementation(nullptr), &second);
  console << "3";
  EXPECT_EQ(first.log, "write(1,-1)");
  EXPECT_EQ(second.log, "write(2,-1)");
}

TEST(Console, LongLinesAreCut) {
  RecordingCons impl;
  KrServCons console(&impl);
  std::string longText(3000, 'z');
  console.printf("%s", longText.c_str());
  EXPECT_EQ(impl.log, "write(" + longText.substr(0, KrServCons::kLineSize - 1) + ",-1)");
}

TEST(Console, StandardErrorImplementation) {
  kr_test::ChildResult result = kr_test::RunInChild([] {
    StderrCons impl;
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

}  // namespace
