#include <gmock/gmock.h>

#include "formats/FieldText.h"

namespace {

std::string textOf(const std::string& bytes) { return Formats::textOfField(std::as_bytes(std::span(bytes))); }

TEST(FieldText, EndsAtTheFirstZeroOrTheFieldsEnd) {
  EXPECT_EQ(textOf(std::string("range\0left over", 15)), "range");
  EXPECT_EQ(textOf("sixteen letters!"), "sixteen letters!");
  EXPECT_EQ(textOf(""), "");
}

TEST(FieldText, LosesTheBlanksThatFillIt) { EXPECT_EQ(textOf(" a b   "), " a b"); }

TEST(FieldText, KeepsUtf8) {
  for (const char* text : {"H\xC3\xB6he", "\xE2\x82\xAC", "\xF0\x9F\x8C\xB2", "say \"hi\""})
    EXPECT_EQ(textOf(text), text);
}

TEST(FieldText, TakesOtherBytesAsLatin1) {
  EXPECT_EQ(textOf("H\xF6he"), "H\xC3\xB6he");
  for (const char* broken :
       {"\xC3", "\xC0\xAF", "\xE0\x80\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xF0\x80\x80\x80", "\xFF"}) {
    const std::string text = textOf(broken);
    EXPECT_EQ(text.size(), 2 * std::string(broken).size()) << "two bytes for each byte that is no UTF-8";
  }
}

TEST(FieldText, HasBlanksForControlCharacters) {
  EXPECT_EQ(textOf("a\nb\x7F"
                   "c"),
            "a b c");
}

}  // namespace
