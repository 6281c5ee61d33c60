#include <gtest/gtest.h>

#include <vector>

#include "core/WideText.h"

namespace {

using Core::utf8FromWide;

/// A wide text of code units that a literal cannot hold.
std::wstring units(const std::vector<std::uint32_t>& codes) {
  std::wstring text;
  for (const std::uint32_t code : codes) text += static_cast<wchar_t>(code);
  return text;
}

constexpr const char* kReplacement = "\xEF\xBF\xBD";  // U+FFFD

TEST(WideText, BecomesUtf8AtBothEndsOfEveryLength) {
  const std::pair<std::uint32_t, std::string> samples[] = {{0x1, "\x01"},
                                                           {0x7F, "\x7F"},
                                                           {0x80, "\xC2\x80"},
                                                           {0x7FF, "\xDF\xBF"},
                                                           {0x800, "\xE0\xA0\x80"},
                                                           {0xD7FF, "\xED\x9F\xBF"},
                                                           {0xE000, "\xEE\x80\x80"},
                                                           {0xFFFF, "\xEF\xBF\xBF"},
                                                           {0x10000, "\xF0\x90\x80\x80"},
                                                           {0x10FFFF, "\xF4\x8F\xBF\xBF"}};
  for (const auto& [code, utf8] : samples) {
    EXPECT_EQ(utf8FromWide(units({code})), utf8) << code;
  }
}

TEST(WideText, KeepsTextsAsTheyAre) {
  EXPECT_EQ(utf8FromWide(L""), "");
  EXPECT_EQ(utf8FromWide(L"/home/J\u00F6rg/\u5730\u5F62/a b.las"),
            "/home/J\xC3\xB6rg/\xE5\x9C\xB0\xE5\xBD\xA2/a b.las");
  EXPECT_EQ(utf8FromWide(std::wstring(L"a\0b", 3)), std::string("a\0b", 3));
}

TEST(WideText, JoinsSurrogatePairs) {
  EXPECT_EQ(utf8FromWide(units({0xD83D, 0xDEF0, 'x'})), "\xF0\x9F\x9B\xB0x");
  EXPECT_EQ(utf8FromWide(units({0xD800, 0xDC00})), "\xF0\x90\x80\x80");
  EXPECT_EQ(utf8FromWide(units({0xDBFF, 0xDFFF})), "\xF4\x8F\xBF\xBF");
}

TEST(WideText, HasAReplacementForWhatIsNoCodePoint) {
  for (const std::uint32_t code :
       {0xD800U, 0xDBFFU, 0xDC00U, 0xDC7FU, 0xDD00U, 0xDFFFU, 0x110000U, 0xFFFFFFFFU}) {
    EXPECT_EQ(utf8FromWide(units({code})), kReplacement) << code;
    EXPECT_EQ(utf8FromWide(units({'a', code, 'b'})), std::string("a") + kReplacement + "b") << code;
  }
  EXPECT_EQ(utf8FromWide(units({0xD800, 0xD83D, 0xDEF0})), std::string(kReplacement) + "\xF0\x9F\x9B\xB0");
}

TEST(WideText, NamesEveryByteThatIsNoUtf8) {
  for (std::uint32_t byte = 0x80; byte <= 0xFF; ++byte) {
    const std::string bytes{'a', static_cast<char>(byte), 'b'};
    EXPECT_EQ(utf8FromWide(units({'a', 0xDC00 + byte, 'b'})), bytes);
  }
}

}  // namespace
