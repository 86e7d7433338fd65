// The server console: KrServCons and the standard-error implementation.
#include <kr/diag.h>

#include <gtest/gtest.h>

#include <string>

#include "child_process.h"

namespace {

// Records what the front end asks of its implementation.
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

// Drives every operation once; returns what reached `impl`.
std::string Drive(KrServCons& console, RecordingCons& impl) {
  impl.log.clear();
  console << "abc" << static_cast<char const*>(nullptr) << KrString("str") << -7L;
  console.printf("%s=%d", "n", 5).terminateLine().flush();
  endl(console);
  return impl.log;
}

TEST(Console, ForwardsWhileEnabledAndSwallowsOtherwise) {
  RecordingCons impl;
  KrServCons console(&impl);
  std::string const all = "write(abc,-1)string(str)write(-7,-1)write(n=5,-1)lineflushlineflush";
  EXPECT_EQ(Drive(console, impl), all);
  console.flags &= ~KrServCons::kEnabled;
  EXPECT_EQ(Drive(console, impl), "");
  console.flags |= KrServCons::kEnabled;
  EXPECT_EQ(console.setImplementation(nullptr), &impl);
  EXPECT_EQ(Drive(console, impl), "");
  KrServCons none;
  EXPECT_EQ(none.flags, KrServCons::kEnabled);
  EXPECT_EQ(none.setImplementation(&impl), nullptr);
  EXPECT_EQ(Drive(none, impl), all);
  std::string longText(3000, 'z');
  impl.log.clear();
  none.printf("%s", longText.c_str());
  EXPECT_EQ(impl.log, "write(" + longText.substr(0, KrServCons::kLineSize - 1) + ",-1)");
}

TEST(Console, StandardErrorImplementation) {
  kr_test::ChildResult result = kr_test::RunInChild([] {
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

}  // namespace
