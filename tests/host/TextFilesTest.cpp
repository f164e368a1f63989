#include <gtest/gtest.h>
#include <sys/stat.h>

#include "host/HostError.h"
#include "host/InputFile.h"
#include "host/TextLines.h"
#include "tests/host/TestPack.h"

namespace vx {

namespace {

std::string RefusalOf(const std::string& path, u64 maxBytes) {
  try {
    ReadInputFile(path, maxBytes);
    return "";
  } catch (const CHostError& error) {
    EXPECT_EQ(error.Code(), EExitCode::FileUnreadable);
    return error.what();
  }
}

std::string WriteText(const std::string& text) {
  return test::WriteFile("text", {text.begin(), text.end()});
}

}  // namespace

TEST(InputFile, AFileIsReadWhole) {
  EXPECT_EQ(ReadInputFile(WriteText("one\ntwo"), 7), "one\ntwo");
  EXPECT_EQ(ReadInputFile(WriteText(""), 7), "");
}

TEST(InputFile, WhatIsNoPlainFileIsNamedAndNeverWaitedFor) {
  const std::string pipe = test::TestFolder() + "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  EXPECT_EQ(RefusalOf(pipe, 10), pipe + ": is a device or pipe, not a file");
  EXPECT_EQ(RefusalOf("/dev/zero", 10), "/dev/zero: is a device or pipe, not a file");
  EXPECT_EQ(RefusalOf(test::TestFolder(), 10), test::TestFolder() + ": is a folder, not a file");
  EXPECT_EQ(RefusalOf(pipe + "/none", 10), pipe + "/none: there is no such file");
}

TEST(InputFile, AFileThatIsTooLargeIsRefusedUnread) {
  const std::string path = WriteText("12345678");
  EXPECT_EQ(RefusalOf(path, 7), path + ": is too large: 8 bytes, and the most is 7");
}

TEST(TextLines, LinesKeepTheirNumbersWithoutBlankOnesAndComments) {
  const auto lines = SplitLines("# head\n\n a  b\t#c d\r\n#\nlast", "file");
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0].number, 3u);
  EXPECT_EQ(lines[0].words, (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(lines[1].number, 5u);
  EXPECT_EQ(lines[1].words, std::vector<std::string>{"last"});
}

TEST(TextLines, ANumberSignWithinAWordIsNoComment) {
  EXPECT_EQ(SplitLines("key:# a#b", "file")[0].words, (std::vector<std::string>{"key:#", "a#b"}));
}

TEST(TextLines, BytesThatNobodyTypesAreToldWithTheirLine) {
  for (const std::string& bad : {std::string("ok\n\x01\n"), std::string("ok\na\0b", 6),
                                 std::string("ok\n\xFF"), std::string("ok\n\x7F")}) {
    try {
      SplitLines(bad, "file");
      FAIL() << bad;
    } catch (const CHostError& error) {
      EXPECT_EQ(error.Code(), EExitCode::Usage);
      EXPECT_STREQ(error.what(), "file:2: is not plain text");
    }
  }
}

TEST(TextLines, AnAssignmentNeedsNoBlanksAroundItsSign) {
  for (const char* text : {"A = b c", "A= b c", "A =b c", "A=b c"}) {
    const auto assignment = SplitAssignment(SplitLines(text, "file")[0]);
    ASSERT_TRUE(assignment) << text;
    EXPECT_EQ(assignment->name, "A");
    EXPECT_EQ(assignment->words, (std::vector<std::string>{"b", "c"})) << text;
  }
  EXPECT_TRUE(SplitAssignment(SplitLines("A =", "file")[0])->words.empty());
  EXPECT_EQ(SplitAssignment(SplitLines("A = key:=", "file")[0])->words[0], "key:=");
}

TEST(TextLines, ALineWithoutANameOrASignIsNoAssignment) {
  for (const char* text : {"A", "A b = c", "= b", "=b"}) {
    EXPECT_FALSE(SplitAssignment(SplitLines(text, "file")[0])) << text;
  }
}

}  // namespace vx
