#include <gmock/gmock.h>

#include "octree/potree/AttributePlaces.h"
#include "support/PotreeFiles.h"

namespace {

using Math::AttributeType;
using PoTree::MetaData;
using testing::ElementsAre;
using testing::IsEmpty;
using Testing::PotreeFiles;

MetaData parsed(PotreeFiles files, bool brotli = false) {
  if (brotli) files.set("/encoding", "\"BROTLI\"");
  return PoTree::parseMetaData(files.metaData(), "m.json", PoTree::MetaDataUse::Main);
}

/// What the n-th attribute of the list is as a column.
std::optional<Math::Attribute> column(const PotreeFiles& files, std::size_t n, bool brotli = false) {
  const MetaData metaData = parsed(files, brotli);
  return PoTree::columnAttribute(metaData, metaData.attributes.at(n));
}

TEST(ColumnAttribute, HasTheStoredTypeAndNumberOfElements) {
  for (const bool brotli : {false, true}) {
    const auto intensity = column(PotreeFiles(), 1, brotli).value();
    EXPECT_EQ(intensity.name, "intensity");
    EXPECT_EQ(intensity.type, AttributeType::UInt16);
    EXPECT_EQ(intensity.numElements, 1U);
    const auto rgb = column(PotreeFiles(), 3, brotli).value();
    EXPECT_EQ(rgb.type, AttributeType::UInt16);
    EXPECT_EQ(rgb.numElements, 3U);
  }
}

TEST(ColumnAttribute, OfPositionsGivesWorldCoordinates) {
  const PotreeFiles files = PotreeFiles().set("/scale", "[0.5, 0.25, 0.125]").set("/attributes/0/size", "16");
  const auto position = column(files, 0).value();
  EXPECT_EQ(position.type, AttributeType::Int32);
  EXPECT_EQ(position.numElements, 3U);
  EXPECT_THAT(position.scale, ElementsAre(0.5, 0.25, 0.125));
  EXPECT_THAT(position.offset, ElementsAre(100, 200, 300));
}

TEST(ColumnAttribute, HasScaleAndOffsetOnlyWhereTheyChangeValues) {
  PotreeFiles files;
  files.set("/attributes/1/scale", "[1]").set("/attributes/1/offset", "[0]");
  EXPECT_THAT(column(files, 1)->scale, IsEmpty());
  EXPECT_THAT(column(files, 1)->offset, IsEmpty());
  files.set("/attributes/1/offset", "[-5]");
  EXPECT_THAT(column(files, 1)->scale, ElementsAre(1));
  EXPECT_THAT(column(files, 1)->offset, ElementsAre(-5));
  files.set("/attributes/1/scale", "[0.5]").remove("/attributes/1/offset");
  EXPECT_THAT(column(files, 1)->scale, ElementsAre(0.5));
  EXPECT_THAT(column(files, 1)->offset, ElementsAre(0));
}

TEST(ColumnAttribute, GoesByTheSizeWhereElementsDisagreeWithIt) {
  const PotreeFiles files = PotreeFiles().set("/attributes/1/size", "6");
  EXPECT_EQ(column(files, 1)->numElements, 3U);
  EXPECT_EQ(column(PotreeFiles().set("/attributes/1/size", "3"), 1), std::nullopt);
}

TEST(ColumnAttribute, IsNoneOfAnUnknownType) {
  EXPECT_EQ(column(PotreeFiles().set("/attributes/1/type", "\"undefined\""), 1), std::nullopt);
}

TEST(ColumnAttribute, IsNoneOfPositionsThatAreNotDecoded) {
  MetaData metaData = parsed(PotreeFiles());
  metaData.attributes[0].type = "float";
  EXPECT_EQ(PoTree::columnAttribute(metaData, metaData.attributes[0]), std::nullopt);
}

TEST(ColumnAttribute, IsNoneOfCompressedColoursInAnotherForm) {
  const PotreeFiles files =
      PotreeFiles().set("/attributes/3/size", "3").set("/attributes/3/type", "\"uint8\"");
  EXPECT_EQ(column(files, 3, true), std::nullopt);
  EXPECT_EQ(column(files, 3, false)->numElements, 3U);
}

TEST(ExtraAttributePlaces, AreThoseWithTheSameNameTypeAndNumberOfElements) {
  const MetaData metaData = parsed(PotreeFiles());
  const std::vector<Math::Attribute> wanted = {{"rgb", "", AttributeType::UInt16, 3, {}, {}},
                                               {"intensity", "", AttributeType::Int16, 1, {}, {}},
                                               {"classification", "", AttributeType::UInt8, 2, {}, {}},
                                               {"gps-time", "", AttributeType::Double, 1, {}, {}}};
  const auto extras = PoTree::extraAttributes(metaData, wanted);
  ASSERT_EQ(extras.size(), 1U);
  EXPECT_EQ(extras[0].column, 0U);
  EXPECT_EQ(extras[0].start, 15U);
}

TEST(ExtraAttributePlaces, OfOneNameAreTheFirstAlone) {
  PotreeFiles files = PotreeFiles().attributes({"position", "gps-time", "ScanIndex"});
  files.set("/attributes/2/name", "\"gps-time\"");
  const std::vector<Math::Attribute> first = {{"gps-time", "", AttributeType::Double, 1, {}, {}}};
  const std::vector<Math::Attribute> second = {{"gps-time", "", AttributeType::UInt32, 1, {}, {}}};
  EXPECT_EQ(PoTree::extraAttributes(parsed(files), first).size(), 1U);
  EXPECT_THAT(PoTree::extraAttributes(parsed(files), second), IsEmpty());
}

}  // namespace
