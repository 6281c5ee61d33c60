#include <gmock/gmock.h>

#include <span>

#include "core/FormatError.h"
#include "formats/UnsupportedFormat.h"
#include "formats/e57/Header.h"
#include "support/E57File.h"
#include "support/LasFile.h"

namespace {

using Formats::E57::Header;
using testing::HasSubstr;

std::string headerBytes() { return Testing::E57File().bytes().substr(0, Formats::E57::kHeaderSize); }

Header read(const std::string& bytes) {
  return Formats::E57::readHeader(std::as_bytes(std::span(bytes)), "a.e57");
}

template <class Error, class Value>
void expectRefusal(std::size_t offset, Value value, const std::string& text) {
  std::string bytes = headerBytes();
  Testing::put(bytes, offset, value);
  try {
    (void)read(bytes);
    FAIL() << text;
  } catch (const Error& error) {
    EXPECT_THAT(error.what(), HasSubstr(text));
  }
}

TEST(E57Header, TellsWhereTheXmlIs) {
  const std::string bytes = Testing::E57File().xml("<e57Root/>").bytes();
  EXPECT_EQ(read(bytes.substr(0, 48)), (Header{1024, 48, 10}));
}

TEST(E57Header, RefusesEveryTruncation) {
  for (std::size_t size = 0; size < Formats::E57::kHeaderSize; ++size) {
    EXPECT_THROW((void)read(headerBytes().substr(0, size)), Core::FormatError) << size;
  }
}

TEST(E57Header, RefusesWhatIsNoE57FileOrOfAKindThatIsNotRead) {
  expectRefusal<Formats::UnsupportedFormat>(0, 'a', "signature: expected ASTM-E57");
  expectRefusal<Formats::UnsupportedFormat>(8, std::uint32_t{2},
                                            "byte 8: major version: expected 1, found 2");
  expectRefusal<Formats::UnsupportedFormat>(40, std::uint64_t{512}, "page size: expected 1024, found 512");
}

TEST(E57Header, RefusesAnXmlSectionOutsideTheFile) {
  expectRefusal<Core::FormatError>(24, std::uint64_t{1024}, "offset of the XML section");
  expectRefusal<Core::FormatError>(24, std::uint64_t{UINT64_MAX}, "offset of the XML section");
  expectRefusal<Core::FormatError>(24, std::uint64_t{1021}, "found 1021");
  expectRefusal<Core::FormatError>(24, std::uint64_t{47}, "found 47");
  expectRefusal<Core::FormatError>(32, std::uint64_t{973}, "length of the XML section: expected 1 to 972");
  expectRefusal<Core::FormatError>(32, std::uint64_t{UINT64_MAX}, "length of the XML section");
  expectRefusal<Core::FormatError>(32, std::uint64_t{0}, "length of the XML section");
}

TEST(E57Header, RefusesAnXmlSectionOfMoreThan256MiB) {
  std::string bytes = headerBytes();
  Testing::put(bytes, 16, std::uint64_t{1} << 40U);
  Testing::put(bytes, 32, Formats::E57::kLongestXml + 1);
  EXPECT_THROW((void)read(bytes), Core::FormatError);
}

TEST(E57Header, TheFileMustHaveTheStatedLengthInWholePages) {
  const Header header{4096, 48, 10};
  EXPECT_NO_THROW(Formats::E57::checkFileLength(header, 4096, "a.e57"));
  for (const std::uint64_t size : {3072U, 4095U, 4097U, 5120U}) {
    try {
      Formats::E57::checkFileLength(header, size, "a.e57");
      FAIL() << size;
    } catch (const Core::FormatError& error) {
      EXPECT_THAT(error.what(), testing::AllOf(HasSubstr("truncated"), HasSubstr("4096"),
                                               HasSubstr("found " + std::to_string(size))));
    }
  }
  EXPECT_THROW(Formats::E57::checkFileLength({4095, 48, 10}, 4095, "a.e57"), Core::FormatError);
}

}  // namespace
