#include <gmock/gmock.h>

#include <cmath>
#include <span>

#include "core/FormatError.h"
#include "formats/UnsupportedFormat.h"
#include "formats/e57/Document.h"
#include "support/E57File.h"

namespace {

using Formats::E57::Document;
using Formats::E57::FieldType;
using Formats::E57::Role;
using Formats::E57::Scan;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Optional;

Document read(const std::string& xml) {
  const auto bytes = std::as_bytes(std::span(xml));
  return Formats::E57::readDocument({bytes.begin(), bytes.end()}, "a.e57");
}

std::string root(const std::string& elements) {
  return R"(<e57Root type="Structure" xmlns="http://www.astm.org/COMMIT/E57/2010-e57-v1.0")"
         R"( xmlns:n="http://www.libe57.org/E57_EXT_surface_normals.txt">)" +
         elements + "</e57Root>";
}

std::string scanXml(const std::string& elements) {
  return root(R"(<data3D type="Vector"><vectorChild type="Structure">)" + elements +
              "</vectorChild></data3D>");
}

/// A document of one scan whose prototype has these fields.
std::string prototype(const std::string& fields) {
  return scanXml(R"(<points type="CompressedVector" fileOffset="48" recordCount="10">)"
                 R"(<prototype type="Structure">)" +
                 fields + "</prototype></points>");
}

Scan firstScan(const std::string& xml) { return read(xml).scans.at(0); }

void expectRefusal(const std::string& xml, const std::string& text) {
  try {
    (void)read(xml);
    FAIL() << text;
  } catch (const Core::FormatError& error) {
    EXPECT_THAT(error.what(), testing::StartsWith("a.e57, XML section: "));
    EXPECT_THAT(error.what(), HasSubstr(text));
  }
}

TEST(E57Document, MayHoldNoScansAtAll) {
  EXPECT_THAT(read(root("")).scans, IsEmpty());
  EXPECT_THAT(read(root(R"(<data3D type="Vector"/>)")).scans, IsEmpty());
}

TEST(E57Document, TellsFieldsWithTheirWidths) {
  const Scan scan = firstScan(
      prototype(R"(<cartesianX type="Float" precision="single"/><cartesianY type="Float"/>)"
                R"(<cartesianZ type="ScaledInteger" minimum="-262144" maximum="262143" scale="1e-006"/>)"
                R"(<rowIndex type="Integer"/><columnIndex type="Integer" minimum="7" maximum="7"/>)"));
  EXPECT_EQ(scan.recordCount, 10U);
  EXPECT_EQ(scan.sectionOffset, 48U);
  EXPECT_EQ(scan.numStreams, 5U);
  std::vector<unsigned> bits;
  for (const auto& field : scan.fields) bits.push_back(field.bits);
  EXPECT_THAT(bits, ElementsAre(32, 64, 19, 64, 0));
  EXPECT_EQ(scan.fields[0].type, FieldType::Single);
  EXPECT_EQ(scan.fields[2].type, FieldType::ScaledInteger);
  EXPECT_EQ(scan.fields[2].minimum, -262144);
  EXPECT_EQ(scan.fields[2].scale, 1e-6);
  EXPECT_EQ(scan.fields[3].minimum, INT64_MIN);
  EXPECT_FALSE(scan.fields[3].statedRange.has_value());
}

TEST(E57Document, WidthsAreTheLeastThatHoldTheRange) {
  for (const auto& [maximum, bits] : std::map<std::string, unsigned>{{"0", 0},
                                                                     {"1", 1},
                                                                     {"2", 2},
                                                                     {"3", 2},
                                                                     {"4", 3},
                                                                     {"255", 8},
                                                                     {"256", 9},
                                                                     {"9223372036854775807", 63}}) {
    const Scan scan =
        firstScan(prototype(R"(<rowIndex type="Integer" minimum="0" maximum=")" + maximum + R"("/>)"));
    EXPECT_EQ(scan.fields.at(0).bits, bits) << maximum;
  }
}

TEST(E57Document, ExtensionsTakeAStreamAndAreLeftOutWithAWarning) {
  const Document document =
      read(prototype(R"(<ext:range type="String"/><n:normalX type="Float"/><nor:normalY type="Float"/>)"
                     R"(<foo:normalZ type="Float"/><cartesianX type="Float"/><normalZ type="Float"/>)"));
  const Scan& scan = document.scans.at(0);
  EXPECT_EQ(scan.numStreams, 6U);
  ASSERT_THAT(scan.fields, testing::SizeIs(3));
  EXPECT_EQ(scan.fields[0].role, Role::NormalX);
  EXPECT_EQ(scan.fields[0].stream, 1U);
  EXPECT_EQ(scan.fields[1].role, Role::NormalY);
  EXPECT_EQ(scan.fields[2].stream, 4U);
  EXPECT_THAT(document.warnings,
              ElementsAre("Point fields that are not known are left out: ext:range, foo:normalZ, normalZ."));
}

TEST(E57Document, NestedFieldsCountByTheirLeaves) {
  const Scan scan = firstScan(prototype(R"(<a type="Structure"><b type="Integer"/><cartesianX type="Float"/>)"
                                        R"(</a><cartesianY type="Float"/>)"));
  EXPECT_EQ(scan.numStreams, 3U);
  EXPECT_EQ(scan.fields.at(0).stream, 1U);
  EXPECT_EQ(scan.fields.at(1).stream, 2U);
}

TEST(E57Document, RefusesFieldsThatCannotBe) {
  expectRefusal(prototype(R"(<rowIndex type="Integer" minimum="5" maximum="4"/>)"),
                "scan 0, rowIndex, maximum: expected at least the minimum 5, found '4'");
  expectRefusal(prototype(R"(<cartesianX type="ScaledInteger" scale="0"/>)"), "cartesianX, scale");
  expectRefusal(prototype(R"(<cartesianX type="ScaledInteger" scale="nan"/>)"), "cartesianX, scale");
  expectRefusal(prototype(R"(<cartesianX type="ScaledInteger" offset="1e999"/>)"), "cartesianX, offset");
  expectRefusal(prototype(R"(<cartesianX type="Integer" maximum="9223372036854775808"/>)"),
                "cartesianX, maximum: expected an integer of 64 bits");
  expectRefusal(prototype(R"(<cartesianX type="String"/>)"), "cartesianX, type");
  expectRefusal(prototype(R"(<cartesianX/>)"), "cartesianX, type");
  expectRefusal(prototype(R"(<cartesianX type="Float" precision="half"/>)"), "cartesianX, precision");
}

TEST(E57Document, RefusesCountsAndOffsetsThatAreNoWholeNumbers) {
  expectRefusal(scanXml(R"(<points type="CompressedVector" fileOffset="48"/>)"), "scan 0, recordCount");
  expectRefusal(scanXml(R"(<points fileOffset="48" recordCount="-1"/>)"), "found '-1'");
  expectRefusal(scanXml(R"(<points fileOffset="x" recordCount="1"/>)"), "scan 0, fileOffset");
}

TEST(E57Document, APrototypeMayBeMissingWhereThereAreNoPoints) {
  EXPECT_EQ(firstScan(scanXml(R"(<points type="CompressedVector" recordCount="0"/>)")).recordCount, 0U);
  EXPECT_EQ(firstScan(scanXml("")).recordCount, 0U);
  EXPECT_THAT(firstScan(scanXml(R"(<points fileOffset="48" recordCount="3"/>)")).fields, IsEmpty());
}

TEST(E57Document, OtherCodecsThanThePackingOfBitsAreNotRead) {
  const auto withCodec = [](const std::string& codec) {
    return scanXml(R"(<points fileOffset="48" recordCount="3"><codecs type="Vector"><vectorChild>)" + codec +
                   "</vectorChild></codecs></points>");
  };
  EXPECT_NO_THROW((void)read(withCodec("<inputs/><bitPackCodec/>")));
  EXPECT_THROW((void)read(withCodec("<inputs/><zipCodec/>")), Formats::UnsupportedFormat);
}

TEST(E57Document, PartsOfAPoseMayBeMissing) {
  EXPECT_EQ(firstScan(scanXml("")).pose.rotation, Formats::E57::Pose().rotation);
  const Scan moved = firstScan(
      scanXml(R"(<pose><translation><x type="Float">1.5</x><z type="Float"/></translation></pose>)"));
  EXPECT_THAT(moved.pose.translation, ElementsAre(1.5, 0, 0));
  EXPECT_FALSE(moved.pose.rotates());
  const Scan turned = firstScan(scanXml(R"(<pose><rotation><x type="Integer">3</x></rotation></pose>)"));
  EXPECT_THAT(turned.pose.rotation, ElementsAre(1, 0, 0, 0, -1, 0, 0, 0, -1));
  EXPECT_THAT(turned.pose.translation, ElementsAre(0, 0, 0));
}

TEST(E57Document, AQuaternionOfLengthZeroTurnsNothingAndIsSaid) {
  const Document document = read(scanXml(Testing::e57Pose("0 0 0 0", "1 2 3")));
  EXPECT_FALSE(document.scans.at(0).pose.rotates());
  EXPECT_THAT(document.warnings, ElementsAre(HasSubstr("scan 0 is a quaternion of length 0")));
}

TEST(E57Document, RefusesPosesThatAreNoNumbers) {
  expectRefusal(scanXml(Testing::e57Pose("nan 0 0 0", "1 2 3")),
                "scan 0, pose, rotation, w: expected a finite");
  expectRefusal(scanXml(Testing::e57Pose("1 0 0 0", "1 inf 3")), "scan 0, pose, translation, y");
  expectRefusal(scanXml(Testing::e57Pose("1 0 0 0", "1 2 three")), "found 'three'");
}

TEST(E57Document, NumbersAreReadWhateverTheirNotation) {
  const Scan scan = firstScan(
      scanXml(R"(<pose><translation><x type="Float">+9.9999999999999995e-007</x><y type="Float"> -2E003 </y>)"
              R"(<z type="ScaledInteger" scale="0.5" offset="10">-4</z></translation></pose>)"));
  EXPECT_THAT(scan.pose.translation, ElementsAre(1e-6, -2000, 8));
}

TEST(E57Document, LimitsAndBoundsAreTakenWhereTheyMakeSense) {
  const Scan scan = firstScan(scanXml(
      R"(<intensityLimits><intensityMinimum type="Integer">-3</intensityMinimum>)"
      R"(<intensityMaximum type="ScaledInteger" scale="0.5">10</intensityMaximum></intensityLimits>)"
      R"(<colorLimits><colorRedMinimum type="Integer">0</colorRedMinimum>)"
      R"(<colorRedMaximum type="Integer">255</colorRedMaximum></colorLimits>)"
      R"(<cartesianBounds><xMinimum type="Float">-1</xMinimum><xMaximum type="Float">1</xMaximum>)"
      R"(<yMinimum type="Float">-2</yMinimum><yMaximum type="Float">2</yMaximum>)"
      R"(<zMinimum type="Float">-3</zMinimum><zMaximum type="Float">3</zMaximum></cartesianBounds>)"
      R"(<acquisitionStart><dateTimeValue type="Float">1300000000.5</dateTimeValue></acquisitionStart>)"));
  EXPECT_EQ(scan.intensityLimits.value().minimum, -3);
  EXPECT_EQ(scan.intensityLimits.value().maximum, 5);
  EXPECT_EQ(scan.colorLimits.value().maximum, 255);
  EXPECT_EQ(scan.cartesianBounds.value().minimum[2], -3);
  EXPECT_THAT(scan.acquisitionStart, Optional(1300000000.5));
}

TEST(E57Document, LimitsOfZeroToZeroMeanUnknown) {
  const Scan scan =
      firstScan(scanXml(R"(<intensityLimits><intensityMinimum type="Float">0</intensityMinimum>)"
                        R"(<intensityMaximum type="Float">0</intensityMaximum></intensityLimits>)"
                        R"(<cartesianBounds><xMinimum type="Float">5</xMinimum></cartesianBounds>)"));
  EXPECT_FALSE(scan.intensityLimits.has_value());
  EXPECT_FALSE(scan.cartesianBounds.has_value());
}

TEST(E57Document, CoordinateSystemsMayBeCutIntoSeveralTexts) {
  EXPECT_EQ(read(root("<coordinateMetadata><![CDATA[GEOGCS[\"a]]]]><![CDATA[>b\"]]]></coordinateMetadata>"))
                .coordinateMetadata,
            "GEOGCS[\"a]]>b\"]");
}

TEST(E57Document, BlanksAndZerosBehindItAndAMarkBeforeItAreNoHarm) {
  EXPECT_NO_THROW(
      (void)read("\xEF\xBB\xBF<?xml version=\"1.0\"?>" + root("") + " \n" + std::string(7, '\0')));
}

TEST(E57Document, RefusesWhatIsNoXmlOrHasAnotherRoot) {
  expectRefusal("<e57Root><data3D></e57Root>", "byte 19: expected well-formed XML");
  expectRefusal("", "well-formed XML");
  expectRefusal(std::string(100, '\0'), "well-formed XML");
  expectRefusal("<html/>", "root element: expected e57Root, found html");
}

TEST(E57Document, RefusesEveryTruncation) {
  const std::string whole = prototype(R"(<cartesianX type="Float"/>)");
  for (std::size_t size = 0; size < whole.size(); ++size) {
    EXPECT_THROW((void)read(whole.substr(0, size)), Core::FormatError) << size;
  }
}

TEST(E57Document, RefusesTypeDeclarationsSoNoEntityIsEverExpanded) {
  expectRefusal(R"(<!DOCTYPE lolz [<!ENTITY a "ha"><!ENTITY b "&a;&a;">]>)" + root("&b;"),
                "no type declaration");
  expectRefusal(R"(<!DOCTYPE r [<!ENTITY x SYSTEM "file:///etc/passwd">]>)" + root("&x;"),
                "no type declaration");
  EXPECT_EQ(read(root("<coordinateMetadata>&unknown;&lt;</coordinateMetadata>")).coordinateMetadata,
            "&unknown;<");
}

TEST(E57Document, RefusesElementsNestedWithoutEnd) {
  constexpr int kMany = 200'000;
  std::string nested;
  for (int i = 0; i < kMany; ++i) nested += "<a>";
  for (int i = 0; i < kMany; ++i) nested += "</a>";
  expectRefusal(root(nested), "at most 100 levels");
}

}  // namespace
