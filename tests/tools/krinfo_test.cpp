// krinfo as operators run it: arguments in, text and exit status out.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "child_process.h"

namespace {

using kr_test::ChildResult;

ChildResult Krinfo(std::vector<std::string> args) {
  args.insert(args.begin(), KRINFO_PATH);
  return kr_test::RunProgram(args);
}

void ExpectUsageError(ChildResult const& result, std::string const& message) {
  EXPECT_TRUE(result.exited);
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_NE(result.err.find(message), std::string::npos) << result.err;
  EXPECT_NE(result.err.find("--help"), std::string::npos) << result.err;
}

TEST(KrinfoError, PrintsCodeAndText) {
  ChildResult result = Krinfo({"error", "-2008", "0", "+5", "12345"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.out,
            "-2008: database is not opened\n0: ok\n5: count\n12345: unknown error\n");
  EXPECT_EQ(result.err, "");
}

TEST(KrinfoError, ContextPrintsTheFormattedLine) {
  EXPECT_EQ(Krinfo({"error", "-2008", "--context", "Open"}).out,
            "Open : -2008 -> database is not opened\n");
  EXPECT_EQ(Krinfo({"error", "--context=Open", "0", "-2002"}).out,
            "Open : ok\nOpen : -2002 -> One of the parameters passed to this function is not "
            "valid.\n");
  std::string longContext(5000, 'x');
  ChildResult result = Krinfo({"error", "--context", longContext, "2685"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.out.size(), longContext.size() + 3 + 4 + 4 + 189 + 1);
}

TEST(KrinfoError, RejectsWhatIsNotACode) {
  ExpectUsageError(Krinfo({"error", "abc"}), "'abc' is not a result code");
  ExpectUsageError(Krinfo({"error", "12x"}), "'12x' is not a result code");
  ExpectUsageError(Krinfo({"error", "2147483648"}), "is not a result code");
  ExpectUsageError(Krinfo({"error", "-2147483649"}), "is not a result code");
  ExpectUsageError(Krinfo({"error", " 5"}), "is not a result code");
  ExpectUsageError(Krinfo({"error", ""}), "is not a result code");
  ExpectUsageError(Krinfo({"error"}), "no result code given");
  ExpectUsageError(Krinfo({"error", "5", "--context"}), "--context needs a text");
  ExpectUsageError(Krinfo({"error", "--frobnicate", "5"}), "unknown option");
  EXPECT_EQ(Krinfo({"error", "-2147483648"}).exitCode, 0);
}

TEST(Krinfo, UnknownCommandsAndOptions) {
  ExpectUsageError(Krinfo({"frobnicate"}), "unknown command 'frobnicate'");
  ExpectUsageError(Krinfo({"--frobnicate"}), "unknown option '--frobnicate'");
  ExpectUsageError(Krinfo({"version", "extra"}), "unexpected argument 'extra'");
  ChildResult bare = Krinfo({});
  EXPECT_EQ(bare.exitCode, 2);
  EXPECT_NE(bare.err.find("Usage: krinfo"), std::string::npos);
}

TEST(Krinfo, HelpForTheToolAndEveryCommand) {
  ChildResult help = Krinfo({"--help"});
  EXPECT_EQ(help.exitCode, 0);
  for (char const* command : {"crc32", "diff", "error", "now", "pack", "unpack", "version", "self",
                               "describe", "check-version"}) {
    EXPECT_NE(help.out.find(std::string("  ") + command), std::string::npos) << command;
    ChildResult own = Krinfo({command, "--help"});
    EXPECT_EQ(own.exitCode, 0) << command;
    EXPECT_EQ(own.out.rfind(std::string("Usage: krinfo ") + command, 0), 0u) << own.out;
    EXPECT_EQ(Krinfo({"help", command}).out, own.out);
  }
  ExpectUsageError(Krinfo({"help", "nothing"}), "unknown command 'nothing'");
}

TEST(Krinfo, VersionNamesTheLibraryVersion) {
  ChildResult result = Krinfo({"version"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.out, "krinfo 9.5.23.262.0 (kr95Nbs)\n");
}

}  // namespace
