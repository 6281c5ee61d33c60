#include <gmock/gmock.h>
#include <zip.h>

#include "formats/UnsupportedFormat.h"
#include "formats/projects/RcpProject.h"
#include "formats/projects/ZipFile.h"

namespace Testing {
namespace {

using Formats::ArchiveLimits;
using Formats::ProjectTexts;
using testing::ElementsAre;
using testing::HasSubstr;

ProjectTexts read(const std::string& bytes, const ArchiveLimits& limits = {}) {
  return Formats::readRcpTexts(std::as_bytes(std::span(bytes)), {"p.rcp"}, limits);
}

std::string refusal(const std::string& bytes, const ArchiveLimits& limits = {}) {
  try {
    (void)read(bytes, limits);
  } catch (const Core::FormatError& error) {
    return error.what();
  }
  return "accepted";
}

std::string projectBytes() {
  return ZipFile()
      .entry("project.xml", "<p><file>scans/a.rcs</file><file path='b.e57'/></p>")
      .entry("notes.txt", "see\r\nc.las\n")
      .entry("picture.bin", std::string("d.las\0\n", 7))
      .bytes();
}

/// The archive of one entry that is made of this many equal bytes, deflated.
std::string deflated(std::size_t count) {
  const std::string content(count, 'a');
  zip_source_t* const memory = zip_source_buffer_create(nullptr, 0, 0, nullptr);
  zip_source_keep(memory);
  zip_t* const archive = zip_open_from_source(memory, ZIP_TRUNCATE, nullptr);
  zip_source_t* const source = zip_source_buffer(archive, content.data(), content.size(), 0);
  zip_file_add(archive, "a.txt", source, 0);
  zip_close(archive);
  zip_source_open(memory);
  std::string bytes(count + 1000, '\0');
  bytes.resize(static_cast<std::size_t>(zip_source_read(memory, bytes.data(), bytes.size())));
  zip_source_close(memory);
  zip_source_free(memory);
  return bytes;
}

TEST(RcpProject, GivesTextsOfXmlAndLinesOfOtherTexts) {
  EXPECT_THAT(read(projectBytes()), ElementsAre("b.e57", "c.las", "scans/a.rcs"));
}

TEST(RcpProject, ReadsDeflatedEntries) { EXPECT_EQ(refusal(deflated(100'000)), "accepted"); }

TEST(RcpProject, RefusesWhatIsNoArchive) {
  EXPECT_THROW((void)read("<project/>"), Formats::UnsupportedFormat);
  EXPECT_THROW((void)read(""), Formats::UnsupportedFormat);
  EXPECT_THAT(refusal("PK and nothing else"), HasSubstr("ZIP archive: expected a whole one"));
}

TEST(RcpProject, RefusesEveryTruncation) {
  const std::string whole = projectBytes();
  for (std::size_t n = 0; n < whole.size(); ++n) {
    EXPECT_NE(refusal(whole.substr(0, n)), "accepted") << n << " bytes";
  }
}

TEST(RcpProject, RefusesNamesThatLeadOutOfAFolder) {
  for (const char* const name :
       {"../a.xml", "a/../../b.xml", "/etc/passwd", R"(C:\a.xml)", R"(a\..\b)", R"(\\host\a)"}) {
    EXPECT_THAT(refusal(ZipFile().entry(name, "").bytes()), HasSubstr("name: expected a relative path"))
        << name;
  }
  EXPECT_EQ(refusal(ZipFile().entry("a/..b/c..xml", "").bytes()), "accepted");
}

TEST(RcpProject, RefusesDamageThatChecksumsShow) {
  EXPECT_THAT(refusal(ZipFile().oddEntry("a.xml", "<a/>", {.size = 4, .crcError = 1}).bytes()),
              HasSubstr("ZIP entry 0: expected sound data"));
}

TEST(RcpProject, RefusesSizesThatAreNotTrue) {
  EXPECT_NE(refusal(ZipFile().oddEntry("a.xml", "<a/>", {.size = 3}).bytes()), "accepted");
  EXPECT_NE(refusal(ZipFile().oddEntry("a.xml", "<a/>", {.size = 5}).bytes()), "accepted");
}

TEST(RcpProject, RefusesEncryptionAndOtherCompressions) {
  EXPECT_THAT(refusal(ZipFile().oddEntry("a.xml", "<a/>", {.size = 4, .flags = 1}).bytes()),
              HasSubstr("expected no encryption"));
  EXPECT_THAT(refusal(ZipFile().oddEntry("a.xml", "<a/>", {.size = 4, .method = 14}).bytes()),
              HasSubstr("compression: expected 0 or 8 (deflate), found 14"));
}

TEST(RcpProject, RefusesEntriesThatWouldGrowAbsurdlyBeforeTheyDo) {
  EXPECT_THAT(refusal(ZipFile().oddEntry("a.xml", "<a/>", {.size = 0xFFFFFFFE, .method = 8}).bytes()),
              HasSubstr("ZIP entry 0: size: expected at most 67108864, found 4294967294"));
  EXPECT_THAT(refusal(deflated(2'000'000)), HasSubstr("size: expected at most 200 times the compressed one"));
}

TEST(RcpProject, RefusesMoreThanItsLimits) {
  const std::string two = ZipFile().entry("a.txt", "1234").entry("b.txt", "1234").bytes();
  EXPECT_THAT(refusal(two, {.entries = 1}), HasSubstr("entries: expected at most 1, found 2"));
  EXPECT_THAT(refusal(two, {.totalBytes = 7}),
              HasSubstr("size of all ZIP entries: expected at most 7, found 8"));
  EXPECT_THAT(refusal(two, {.nameBytes = 4}), HasSubstr("length of its name: expected at most 4, found 5"));
  EXPECT_THAT(refusal(ZipFile().entry("a.xml", "<a/>").bytes(), {.xmlBytes = 3}),
              HasSubstr("ZIP entry 0: size of its XML: expected at most 3, found 4"));
  EXPECT_EQ(refusal(two, {.entries = 2, .nameBytes = 5, .totalBytes = 8}), "accepted");
}

TEST(RcpProject, NamesTheEntryWhoseXmlIsDamaged) {
  EXPECT_THAT(refusal(ZipFile().entry("a", "").entry("b.xml", "<p><q></p>").bytes()),
              HasSubstr("p.rcp, ZIP entry 1, byte 8: XML: "));
}

}  // namespace
}  // namespace Testing
