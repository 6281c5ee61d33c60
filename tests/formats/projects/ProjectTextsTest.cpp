#include <gmock/gmock.h>

#include "formats/UnsupportedFormat.h"
#include "formats/projects/ProjectTexts.h"
#include "formats/projects/ProjectXml.h"

namespace Testing {
namespace {

using Formats::ProjectTexts;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::ThrowsMessage;

ProjectTexts read(const std::string& xml) {
  return Formats::readRppTexts(std::as_bytes(std::span(xml)), {"p.rpp"});
}

TEST(RppTexts, AreTextsAndAttributesThatMayBeNamesOfFiles) {
  EXPECT_THAT(
      read("<p a='x.las' b='1.5' c='no name'><q> scans\\y.rxp </q><!-- z.las --><![CDATA[w.e57]]></p>"),
      ElementsAre("scans/y.rxp", "w.e57", "x.las"));
}

TEST(RppTexts, AreNotNumbersSentencesHiddenFilesOrLongTexts) {
  const std::string longText(Formats::kLongestProjectText, 'a');
  EXPECT_THAT(
      read("<p><a>-12.25</a><a>Done.</a><a>.las</a><a>a/.las</a><a>a.b c</a><a>x.verylongtext</a><a>" +
           longText + ".las</a><a>a&#1;.las</a></p>"),
      IsEmpty());
}

TEST(RppTexts, OfDocumentsInUtf16AreUtf8) {
  std::string wide = "\xFF\xFE";
  for (const char c : std::string("<p>a\xE9.las</p>")) (wide += c) += '\0';
  EXPECT_THAT(read(wide), ElementsAre("a\u00E9.las"));
}

TEST(RppTexts, OfWhatIsNoXmlAreRefusedAsAnotherFormat) {
  EXPECT_THROW((void)read("LASF"), Formats::UnsupportedFormat);
  EXPECT_THROW((void)read(""), Formats::UnsupportedFormat);
}

TEST(RppTexts, OfDamagedXmlAreRefusedWithTheByte) {
  EXPECT_THAT([] { (void)read("<p><q></p>"); },
              ThrowsMessage<Core::FormatError>(HasSubstr("p.rpp, byte 8: XML: ")));
  EXPECT_THAT([] { (void)read("<!DOCTYPE p [<!ENTITY x SYSTEM 'file:///etc/passwd'>]><p>&x;</p>"); },
              ThrowsMessage<Core::FormatError>(HasSubstr("expected no entities")));
}

TEST(ProjectXml, IsRefusedWhenItIsTooLong) {
  const std::string xml(Formats::kLongestProjectXml + 1, ' ');
  pugi::xml_document document;
  EXPECT_THAT(
      [&] { Formats::parseProjectXml(std::as_bytes(std::span(xml)), {"p.rsp"}, document); },
      ThrowsMessage<Core::FormatError>(HasSubstr("XML: expected at most 67108864 bytes, found 67108865")));
}

}  // namespace
}  // namespace Testing
