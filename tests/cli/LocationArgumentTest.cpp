#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cli/SmallCloud.h"
#include "sorvik/CallError.h"
#include "sorvik/LocationArgument.h"
#include "support/TempFolder.h"

namespace Program {
namespace {

using testing::ThrowsMessage;

TEST(LocationArgument, IsAFolderOrTheMetadataFileInIt) {
  const Testing::TempFolder folder;
  Testing::SmallCloud().write(folder.path() / "cloud");
  const std::string cloud = (folder.path() / "cloud").string();
  EXPECT_TRUE(parseLocation(cloud).exists());
  EXPECT_TRUE(parseLocation(cloud + "/metadata.json").exists());
  EXPECT_FALSE(parseLocation(cloud + "/octree.bin").exists());
}

TEST(LocationArgument, MayBeAFolderWithTheNameOfAMetadataFile) {
  const Testing::TempFolder folder;
  Testing::SmallCloud().write(folder.path() / "metadata.json");
  EXPECT_TRUE(parseLocation((folder.path() / "metadata.json").string()).exists());
}

TEST(LocationArgument, MayHoldAnyBytes) {
  const Testing::TempFolder folder;
  for (const std::string name :
       {"Vermessung K\xC3\xB6ln", "\xE2\x82\xAC \xF0\x9F\x8C\xB2", "old \xFC\xFF\xC3"}) {
    Testing::SmallCloud().write(folder.path() / name);
    EXPECT_TRUE(parseLocation((folder.path() / name).string()).exists()) << name;
  }
}

TEST(LocationArgument, IsNeverAnotherSchemeThanHttps) {
  EXPECT_THAT(
      [] { (void)parseLocation("http://example.org/cloud"); },
      ThrowsMessage<CallError>("cannot open http:// addresses: LOCATION is a folder or an https:// address"));
  for (const char* const text :
       {"file:///cloud", "HTTP://example.org", "ftp://example.org", "s3+x://bucket"}) {
    EXPECT_THROW((void)parseLocation(text), CallError) << text;
  }
}

TEST(LocationArgument, IsAnAddressWithHttpsInAnyLetters) {
  EXPECT_NO_THROW((void)parseLocation("https://example.org/cloud"));
  EXPECT_NO_THROW((void)parseLocation("HTTPS://example.org/cloud"));
}

TEST(LocationArgument, IsAPathWhenNoSchemeStandsBeforeTheSlashes) {
  for (const char* const text : {"a b://c", "://c", "1a://c", "./http://c", "C:/cloud"}) {
    EXPECT_NO_THROW((void)parseLocation(text)) << text;
  }
}

TEST(LocationArgument, IsNotEmpty) {
  EXPECT_THAT([] { (void)parseLocation(""); }, ThrowsMessage<CallError>("LOCATION is empty"));
}

TEST(WidePath, HasACharacterForEachCodePoint) {
  EXPECT_EQ(widePath("a\xC3\xB6\xE2\x82\xAC\xF0\x9F\x8C\xB2z"), L"a\u00F6\u20AC\U0001F332z");
}

TEST(WidePath, HasAStandInForEachByteThatIsNotUtf8) {
  EXPECT_EQ(widePath("\xFF"), std::wstring(1, wchar_t{0xDCFF}));
  EXPECT_EQ(widePath("a\x80z"), (std::wstring{L'a', wchar_t{0xDC80}, L'z'}));
  EXPECT_EQ(widePath("\xE2\x82"), (std::wstring{wchar_t{0xDCE2}, wchar_t{0xDC82}}));  // cut short
  EXPECT_EQ(widePath("\xC0\xAF"), (std::wstring{wchar_t{0xDCC0}, wchar_t{0xDCAF}}));  // overlong
  EXPECT_EQ(widePath("\xE0\x80\x80").size(), 3U);                                     // overlong
  EXPECT_EQ(widePath("\xED\xA0\x80").size(), 3U);                                     // a surrogate
  EXPECT_EQ(widePath("\xF4\x90\x80\x80").size(), 4U);                                 // above U+10FFFF
}

}  // namespace
}  // namespace Program
