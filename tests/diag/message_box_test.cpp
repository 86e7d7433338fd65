// Message boxes: the shared switch, the base Box and the dummy.
#include <kr/diag.h>

#include <gtest/gtest.h>

#include <string>

#include "child_process.h"

namespace {

// Keeps the base Box; records what reaches _Box.
class RecordingMsg : public KrMsg {
 public:
  unsigned long _Box(char const* title, unsigned long flags, char const* text) override {
    last = std::string(title) + "|" + std::to_string(flags) + "|" + text;
    return 7;
  }
  std::string last;
};

TEST(MessageBox, BaseBoxFormatsForwardsAndCuts) {
  RecordingMsg box;
  EXPECT_EQ(box.Box("Title", 0x11, "%s needs %d bytes", "table", 4096), 7u);
  EXPECT_EQ(box.last, "Title|17|table needs 4096 bytes");
  std::string longText(10000, 'm');
  box.Box("t", 0, "%s", longText.c_str());
  EXPECT_EQ(box.last, "t|0|" + longText.substr(0, KrMsg::kTextSize - 1));
}

TEST(MessageBox, SwitchOffAnswersNotAllowedUnlessForced) {
  kr_test::ChildResult result = kr_test::RunInChild([] {
    RecordingMsg box, other;
    if (box.AllowMessageBoxes(0) != 1) return 1;  // on at load
    if (box.Box("t", 0x1FFFFFFF, "x") != 0x40000000 || !box.last.empty()) return 2;
    if (box.Box("t", 0x20000000, "forced %d", 1) != 7 || box.last != "t|536870912|forced 1") {
      return 3;
    }
    if (other.Box("t", 0, "x") != 0x40000000) return 4;  // one switch for all
    if (other.AllowMessageBoxes(5) != 0 || box.AllowMessageBoxes(1) != 1) return 5;  // 0 or 1
    // The dummy shows nothing and answers 0x80000000 whatever the switch.
    KrMsg* dummy = KrMessage();
    if (dummy->AllowMessageBoxes(0) != -1 || box.AllowMessageBoxes(1) != 1) return 6;
    if (dummy->Box("t", 0, "x %d", 1) != 0x80000000) return 7;
    box.AllowMessageBoxes(0);
    return dummy->Box("t", 0, "x") == 0x80000000 && dummy->_Box("t", 0, "x") == 0x80000000 ? 0 : 8;
  });
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.out + result.err, "");
}

}  // namespace
