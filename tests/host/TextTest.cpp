#include "host/Text.h"

#include <gtest/gtest.h>

namespace vx {

TEST(Text, LettersBeyondAsciiBecomeOneWideCharacterEach) {
  EXPECT_EQ(ToWide("a\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x8E\xAE"), L"a\x00e9\x4e2d\x0001f3ae");
}

TEST(Text, EveryFileNameComesBackByteForByte) {
  const std::string names[] = {"plain",        "\xC3\xA9t\xC3\xA9", "\xFF\xFE broken \xC3",
                               "\xED\xA0\x80", "\xC0\xAF overlong", "\xF4\x90\x80\x80 too large",
                               "\xE4\xB8"};
  for (const std::string& name : names) EXPECT_EQ(ToUtf8(ToWide(name)), name);
}

TEST(Text, BytesThatAreNotUtf8AreKnownAsSuch) {
  EXPECT_TRUE(IsUtf8("caf\xC3\xA9"));
  EXPECT_FALSE(IsUtf8("caf\xE9"));
  EXPECT_FALSE(IsUtf8("cut \xE4\xB8"));
}

TEST(Text, AValueBeyondUnicodeBecomesTheReplacementCharacter) {
  const wchar_t wide[] = {static_cast<wchar_t>(0x110000), 0};
  EXPECT_EQ(ToUtf8(wide), "\xEF\xBF\xBD");
}

TEST(Text, FormatTakesTextOfAnyLength) {
  const std::string longText(5000, 'x');
  EXPECT_EQ(Format("<%s>%d", longText.c_str(), 7), "<" + longText + ">7");
}

}  // namespace vx
