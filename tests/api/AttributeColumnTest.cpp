// Stored attributes by name: what a cloud lists, what its chunks give, and how columns are read.
#include <gmock/gmock.h>

#include <array>
#include <map>
#include <stdexcept>

#include "Sorvik/PointCloud.h"
#include "Sorvik/PointIterators.h"
#include "api/SmallCloud.h"
#include "api/Walks.h"
#include "support/SampleData.h"

namespace {

using Sorvik::AllPointsIterator;
using Sorvik::AttributeColumn;
using Sorvik::AttributeType;
using Sorvik::PointChunk;
using Sorvik::PointCloud;
using Testing::CloudFolder;
using testing::ElementsAre;
using testing::ElementsAreArray;
using Testing::elevenNodes;
using testing::IsEmpty;
using testing::ThrowsMessage;

PointCloud openWith(const CloudFolder& folder, std::vector<std::string> attributes) {
  return {folder.location(), {.attributes = std::move(attributes)}};
}

template <class T>
std::vector<T> valuesOf(const PointChunk& chunk, std::string_view name) {
  const Sorvik::Span<const T> values = chunk.attribute(name).values<T>();
  return {values.begin(), values.end()};
}

TEST(AttributeColumn, GivesItsValuesInTheirTypeAlone) {
  const std::array<std::int16_t, 6> stored{-1, 2, -3, 4, -5, 6};
  const AttributeColumn column(AttributeType::Int16, 3, std::as_bytes(std::span(stored)));
  EXPECT_EQ(column.size(), 2U);
  EXPECT_THAT(column.values<std::int16_t>(), ElementsAreArray(stored));
  EXPECT_THAT([&] { (void)column.values<std::uint16_t>(); },
              ThrowsMessage<std::invalid_argument>("Error: attribute is of another type"));
  EXPECT_THROW((void)column.values<double>(), std::invalid_argument);
  EXPECT_THROW((void)column.values<signed char>(), std::invalid_argument);
}

TEST(AttributeColumn, ThatIsNoneHasNoValuesOfAnyType) {
  const AttributeColumn none;
  EXPECT_TRUE(none.empty() && none.bytes().empty());
  EXPECT_EQ(none.numElements(), 0U);
  EXPECT_THAT(none.values<double>(), IsEmpty());
  EXPECT_THAT(none.values<std::uint8_t>(), IsEmpty());
}

TEST(AttributeColumn, KnowsTheTypeOfEveryKindOfValue) {
  static_assert(Sorvik::attributeTypeOf<std::int8_t>() == AttributeType::Int8);
  static_assert(Sorvik::attributeTypeOf<std::uint8_t>() == AttributeType::UInt8);
  static_assert(Sorvik::attributeTypeOf<short>() == AttributeType::Int16);
  static_assert(Sorvik::attributeTypeOf<unsigned>() == AttributeType::UInt32);
  static_assert(Sorvik::attributeTypeOf<long long>() == AttributeType::Int64);
  static_assert(Sorvik::attributeTypeOf<std::uint64_t>() == AttributeType::UInt64);
  static_assert(Sorvik::attributeTypeOf<float>() == AttributeType::Float);
  static_assert(Sorvik::attributeTypeOf<double>() == AttributeType::Double);
  static_assert(!Sorvik::AttributeValue<bool> && !Sorvik::AttributeValue<long double>);
}

TEST(PointChunkAttribute, IsNoneUnlessItWasAskedForAtOpening) {
  const CloudFolder folder;
  EXPECT_EQ((*AllPointsIterator(folder.open(), 0)).attribute("intensity").numElements(), 0U);
  const PointChunk chunk = *AllPointsIterator(openWith(folder, {"intensity"}), 0);
  EXPECT_EQ(chunk.attribute("intensity").size(), chunk.size());
  EXPECT_TRUE(chunk.attribute("rgb").empty());
  EXPECT_TRUE(chunk.attribute("Intensity").empty());
  EXPECT_TRUE(PointChunk().attribute("intensity").empty());
}

TEST(PointChunkAttribute, KeepsWhatStandardColumnsNarrow) {
  const Testing::StoredPoint point{.position = {3, 5, 7}, .rgb = {300, 200, 65535}, .intensity = 9};
  const CloudFolder folder(Testing::PotreeFiles().node(0, std::array{point}));
  const PointChunk chunk = *AllPointsIterator(PointCloud(folder.location(), {.allAttributes = true}), 0);
  EXPECT_THAT(valuesOf<std::uint16_t>(chunk, "rgb"), ElementsAre(300, 200, 65535));
  EXPECT_THAT(chunk.colors(), ElementsAre(1, 200, 255, 255));
  EXPECT_THAT(valuesOf<std::int32_t>(chunk, "position"), ElementsAre(3, 5, 7));
  EXPECT_THAT(valuesOf<std::uint16_t>(chunk, "intensity"), ElementsAre(9));
  EXPECT_THAT(valuesOf<std::uint8_t>(chunk, "classification"), ElementsAre(0));
}

TEST(PointChunkAttribute, IsAlignedForItsType) {
  const CloudFolder folder(Testing::PotreeFiles()
                               .attributes({"position", "return number", "gps-time"})
                               .node(0, Testing::pointsIn("", 0)));
  const PointChunk chunk = *AllPointsIterator(openWith(folder, {"return number", "gps-time"}), 0);
  const auto times = chunk.attribute("gps-time").values<double>();
  EXPECT_EQ(times.size(), Testing::kPointsPerNode);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(times.data()) % alignof(double), 0U);
}

/// The intensities by name of a walk's points must be those of the standard column.
template <class Iterator>
std::size_t expectIntensitiesByName(Iterator walk) {
  std::size_t points = 0;
  for (const PointChunk& chunk : walk) {
    EXPECT_THAT(valuesOf<std::uint16_t>(chunk, "intensity"),
                ElementsAreArray(chunk.intensities().begin(), chunk.intensities().end()));
    points += chunk.size();
  }
  return points;
}

template <class Shape>
class RegionAttribute : public testing::Test {};

TYPED_TEST_SUITE(RegionAttribute, Testing::WalkShapes);

TYPED_TEST(RegionAttribute, StaysWithThePointsInside) {
  const CloudFolder folder;
  const PointCloud cloud = openWith(folder, {"intensity"});
  const auto shape = Testing::shapeAround<TypeParam>({32, 30, 35}, 15);
  const std::size_t inside = expectIntensitiesByName(Sorvik::allPointsInside(cloud, shape, 0));
  EXPECT_GT(inside, 0U);
  EXPECT_LT(inside, expectIntensitiesByName(AllPointsIterator(cloud, 0)));
}

TEST(PointChunkAttribute, ComesFromTheCacheOfTheCloudAndItsCopies) {
  const CloudFolder folder;
  const PointCloud cloud = openWith(folder, {"intensity"});
  const PointCloud copy(cloud);
  EXPECT_EQ(expectIntensitiesByName(AllPointsIterator(cloud, 0)), 220U);
  folder.emptyOctreeFile();
  EXPECT_EQ(expectIntensitiesByName(AllPointsIterator(copy, 0)), 220U);
}

TEST(PointChunkAttribute, IsNoneOfANodeThatCannotBeRead) {
  const CloudFolder folder;
  const PointCloud cloud = openWith(folder, {"intensity"});
  folder.emptyOctreeFile();
  const PointChunk chunk = *AllPointsIterator(cloud, 0);
  EXPECT_THAT(valuesOf<double>(chunk, "intensity"), IsEmpty());
}

TEST(PointChunkAttribute, OutlivesCloudAndIteratorInItsChunk) {
  PointChunk chunk;
  {
    const CloudFolder folder;
    chunk = *AllPointsIterator(openWith(folder, {"intensity"}), 0);
  }
  EXPECT_EQ(chunk.attribute("intensity").values<std::uint16_t>()[7], 7);
}

TEST(PointCloudAttributes, AreListedWithTypeScaleAndRange) {
  const CloudFolder folder(elevenNodes()
                               .set("/attributes/1/description", "\"echo\"")
                               .set("/attributes/1/scale", "[0.5]")
                               .set("/attributes/3/max", "[255, 254, 253]"));
  const std::vector<Sorvik::Attribute> attributes = folder.open().attributes();
  ASSERT_EQ(attributes.size(), 4U);
  EXPECT_EQ(attributes[0].name, "position");
  EXPECT_EQ(attributes[0].type, AttributeType::Int32);
  EXPECT_THAT(attributes[0].offset, ElementsAre(100, 200, 300));
  EXPECT_THAT(attributes[0].min, ElementsAre(100, 200, 300));
  EXPECT_EQ(attributes[1].description, "echo");
  EXPECT_THAT(attributes[1].scale, ElementsAre(0.5));
  EXPECT_THAT(attributes[2].scale, IsEmpty());
  EXPECT_EQ(attributes[3].numElements, 3U);
  EXPECT_THAT(attributes[3].max, ElementsAre(255, 254, 253));
}

TEST(PointCloudAttributes, OfExternalOctreesAreListedAndReadToo) {
  const Testing::TempFolder folder;
  Testing::PotreeFiles().node(0, Testing::pointsIn("", 0)).write(folder);
  Testing::PotreeFiles()
      .attributes({"return number"})
      .node(0, Testing::pointsIn("", 0))
      .write(folder, "attributes/returns");
  const PointCloud cloud(Sorvik::FileSystemLocation(folder.path().wstring()), {.allAttributes = true});
  EXPECT_EQ(cloud.attributes().back().name, "return number");
  const auto returns = valuesOf<std::uint8_t>(*AllPointsIterator(cloud, 0), "return number");
  ASSERT_EQ(returns.size(), Testing::kPointsPerNode);
  EXPECT_EQ(returns[13], 13);
}

TEST(PointCloudAttributes, OfARealSurveyHaveTheValuesOfTheirRanges) {
  for (const char* name : {"potree/autzen-trim-default", "potree/autzen-trim-brotli"}) {
    SORVIK_SAMPLE_OR_SKIP(folder, name);
    const PointCloud cloud(Sorvik::FileSystemLocation(folder.wstring()), {.allAttributes = true});
    double least = 1e300;
    double greatest = -1e300;
    for (const PointChunk& chunk : AllPointsIterator(cloud, 0)) {
      for (const double time : chunk.attribute("gps-time").values<double>()) {
        least = std::min(least, time);
        greatest = std::max(greatest, time);
      }
    }
    for (const Sorvik::Attribute& attribute : cloud.attributes()) {
      if (attribute.name != "gps-time") continue;
      EXPECT_THAT(attribute.min, ElementsAre(least));
      EXPECT_THAT(attribute.max, ElementsAre(greatest));
    }
    EXPECT_LT(least, greatest);
  }
}

}  // namespace
