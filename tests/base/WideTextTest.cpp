#include "base/WideText.h"

#include <gtest/gtest.h>

#include <clocale>
#include <string>

namespace vx {

namespace {

std::string Utf8Of(unsigned value) {
  return WideToUtf8(std::wstring(1, static_cast<wchar_t>(value)));
}

TEST(WideText, AsciiStaysAsItIs) {
  EXPECT_EQ(WideToUtf8(L"vx/hdd 01~"), "vx/hdd 01~");
  EXPECT_EQ(WideToUtf8(L""), "");
}

TEST(WideText, EachLengthOfUtf8StartsWhereItShould) {
  EXPECT_EQ(Utf8Of(0x7F), "\x7F");
  EXPECT_EQ(Utf8Of(0x80), "\xC2\x80");
  EXPECT_EQ(Utf8Of(0x7FF), "\xDF\xBF");
  EXPECT_EQ(Utf8Of(0x800), "\xE0\xA0\x80");
  EXPECT_EQ(Utf8Of(0xFFFF), "\xEF\xBF\xBF");
  EXPECT_EQ(Utf8Of(0x10000), "\xF0\x90\x80\x80");
  EXPECT_EQ(Utf8Of(0x10FFFF), "\xF4\x8F\xBF\xBF");
}

TEST(WideText, ValuesThatAreNoCharacterBecomeTheReplacement) {
  for (const unsigned value : {0xD800u, 0xDFFFu, 0x110000u, 0xFFFFFFFFu}) {
    EXPECT_EQ(Utf8Of(value), "\xEF\xBF\xBD") << std::hex << value;
  }
  EXPECT_EQ(Utf8Of(0xD7FF), "\xED\x9F\xBF");
  EXPECT_EQ(Utf8Of(0xE000), "\xEE\x80\x80");
}

TEST(WideText, DoesNotDependOnTheLocale) {
  const std::string before = std::setlocale(LC_ALL, nullptr);
  std::setlocale(LC_ALL, "C");
  EXPECT_EQ(WideToUtf8(L"\u00E9\u65E5"), "\xC3\xA9\xE6\x97\xA5");
  std::setlocale(LC_ALL, before.c_str());
}

TEST(WideText, OnlyAsciiLettersAreFolded) {
  EXPECT_EQ(FoldAscii(L'A'), L'a');
  EXPECT_EQ(FoldAscii(L'Z'), L'z');
  for (const wchar_t c : {L'@', L'[', L'a', L'z', L'0', L'\u00C9', L'\u0130'}) {
    EXPECT_EQ(FoldAscii(c), c);
  }
}

}  // namespace

}  // namespace vx
