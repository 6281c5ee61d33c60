#include <gmock/gmock.h>

#include <span>

#include "formats/e57/Pages.h"
#include "support/E57File.h"

namespace {

using Formats::E57::logicalOffset;
using Formats::E57::physicalOffset;
using Formats::E57::verifyPages;
using testing::HasSubstr;

std::string fivePages() {
  std::string content(5 * Formats::E57::kPageContent, '\0');
  for (std::size_t i = 0; i < content.size(); ++i) content[i] = static_cast<char>(i * 7);
  return Testing::e57Pages(content);
}

void verify(const std::string& pages, std::uint64_t firstPage = 0) {
  verifyPages(std::as_bytes(std::span(pages)), firstPage, "a.e57");
}

TEST(E57Pages, OffsetsOfContentConvertBothWays) {
  EXPECT_EQ(logicalOffset(1019), 1019U);
  EXPECT_EQ(logicalOffset(1024), 1020U);
  EXPECT_EQ(logicalOffset(1022), 1020U) << "inside of a checksum";
  EXPECT_EQ(physicalOffset(1020), 1024U);
  for (std::uint64_t logical = 0; logical < 5000; ++logical) {
    EXPECT_EQ(logicalOffset(physicalOffset(logical)), logical);
    EXPECT_TRUE(Formats::E57::pointsAtContent(physicalOffset(logical)));
  }
  EXPECT_FALSE(Formats::E57::pointsAtContent(1020));
}

TEST(E57Pages, AreAcceptedWithTheChecksumsThatWereWritten) {
  for (std::size_t count = 0; count <= 5; ++count) {
    EXPECT_NO_THROW(verify(fivePages().substr(0, count * Formats::E57::kPageSize))) << count;
  }
}

TEST(E57Pages, AreRefusedByNumberWhereOneBitIsWrong) {
  for (std::size_t page = 0; page < 5; ++page) {
    for (const std::size_t byte : {0U, 500U, 1019U, 1020U, 1023U}) {
      std::string pages = fivePages();
      pages[page * 1024 + byte] = static_cast<char>(pages[page * 1024 + byte] ^ 16);
      try {
        verify(pages, 100);
        FAIL() << page << ' ' << byte;
      } catch (const Formats::E57::DamagedPage& error) {
        EXPECT_THAT(error.what(), HasSubstr("checksum of page " + std::to_string(100 + page) + ":"));
        EXPECT_THAT(error.what(), HasSubstr("a.e57, byte " + std::to_string((100 + page) * 1024)));
      }
    }
  }
}

}  // namespace
