// Message boxes: the switch, the base Box and the dummy implementation.
#include <kr/diag.h>

#include <gtest/gtest.h>

#include <string>

#include "child_process.h"

namespace {

// Keeps the base Box and records what reaches _Box.
class RecordingMsg : public KrMsg {
 public:
  unsigned long _Box(char const* title, unsigned long flags, char const* text) override {
    ++calls;
    lastTitle = title ? title : "(null)";
    lastFlags = flags;
    lastText = text;
    return 7;
  }
  int calls = 0;
  std::string lastTitle;
  unsigned long lastFlags = 0;
  std::string lastText;
};

TEST(MessageBox, BaseBoxFormatsAndForwards) {
  RecordingMsg box;
  EXPECT_EQ(box.Box("Title", 0x11, "%s needs %d bytes", "table", 4096), 7u);
  EXPECT_EQ(box.calls, 1);
  EXPECT_EQ(box.lastTitle, "Title");
  EXPECT_EQ(box.lastFlags, 0x11u);
  EXPECT_EQ(box.lastText, "table needs 4096 bytes");
  EXPECT_EQ(box.Box(nullptr, 0, "plain"), 7u);
  EXPECT_EQ(box.lastTitle, "(null)");
}

TEST(MessageBox, LongTextsAreCutToTheBuffer) {
  RecordingMsg box;
  std::string longText(10000, 'm');
  box.Box("t", 0, "%s", longText.c_str());
  EXPECT_EQ(box.lastText, longText.substr(0, KrMsg::kTextSize - 1));
}

TEST(MessageBox, SwitchOffReturnsNotAllowedUnlessForced) {
  kr_test::ChildResult result = kr_test::RunInChild([] {
    RecordingMsg box;
    if (box.AllowMessageBoxes(0) != 1) return 1;  // on at load
    if (box.Box("t", 0, "x") != 0x40000000) return 2;
    if (box.Box("t", 0x1FFFFFFF, "x") != 0x40000000) return 3;
    if (box.calls != 0) return 4;
    if (box.Box("t", 0x20000000, "forced %d", 1) != 7 || box.lastText != "forced 1") return 5;
    // The switch is shared and stored as 0 or 1.
    RecordingMsg other;
    if (other.Box("t", 0, "x") != 0x40000000) return 6;
    if (other.AllowMessageBoxes(5) != 0) return 7;
    if (box.AllowMessageBoxes(1) != 1) return 8;
    return other.Box("t", 0, "x") == 7 ? 0 : 9;
  });
  EXPECT_EQ(result.exitCode, 0);
}

TEST(MessageBox, DummyAnswersNoAnswerWhateverTheSwitch) {
  kr_test::ChildResult result = kr_test::RunInChild([] {
    KrMsg* box = KrMessage();
    if (box != KrMessage()) return 1;
    if (box->Box("t", 0, "x %d", 1) != 0x80000000) return 2;
    if (box->_Box("t", 0, "x") != 0x80000000) return 3;
    if (box->AllowMessageBoxes(0) != -1) return 4;  // the dummy does not switch
    RecordingMsg probe;
    if (probe.AllowMessageBoxes(0) != 1) return 5;   // still on
    if (box->Box("t", 0, "x") != 0x80000000) return 6;
    return 0;
  });
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.out + result.err, "");  // shows nothing
}

}  // namespace
