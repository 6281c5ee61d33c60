#include <gmock/gmock.h>

#include <array>
#include <cstring>
#include <memory>
#include <optional>
#include <stdexcept>
#include <type_traits>
#include <utility>

#include "Sorvik/PointCloud.h"
#include "api/Elements.h"
#include "api/SmallCloud.h"
#include "api/WalkedPoints.h"
#include "support/SampleData.h"

namespace {

using Sorvik::AllPointsIterator;
using Sorvik::FileSystemLocation;
using Sorvik::PointCloud;
using testing::AllOf;
using Testing::CloudFolder;
using testing::Each;
using Testing::elements;
using testing::ElementsAre;
using Testing::elevenNodes;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::ThrowsMessage;

/// The place in the metadata of the attributes of PotreeFiles.
constexpr const char* kHistogram = "/attributes/2/histogram";

/// A cloud of one node without points, whose metadata announce this number.
PointCloud cloudOf(const char* points) {
  return CloudFolder(Testing::PotreeFiles().record({}).set("/points", points)).open();
}

TEST(PointCloud, GivesTheFactsOfItsMetadata) {
  const PointCloud cloud = CloudFolder().open();
  EXPECT_EQ(cloud.numPoints(), 220U);
  EXPECT_EQ(cloud.formatName(), "potree");
  EXPECT_EQ(cloud.pointSpacing(), 0.5F);
  EXPECT_THAT(cloud.attributeNames(), ElementsAre("position", "intensity", "classification", "rgb"));
  EXPECT_THAT(cloud.unreadableNodes(), IsEmpty());
}

TEST(PointCloud, GivesTheBoxOfItsPointsInItsOwnFrame) {
  const PointCloud cloud = CloudFolder(elevenNodes()
                                           .set("/attributes/0/min", "[101, 202, 303]")
                                           .set("/attributes/0/max", "[110, 220, 330]"))
                               .open();
  EXPECT_THAT(elements(cloud.boundingBox().minimum()), ElementsAre(1, 2, 3));
  EXPECT_THAT(elements(cloud.boundingBox().maximum()), ElementsAre(10, 20, 30));
  Sorvik::BoundingBox box;
  cloud.getBoundingBox(box);
  EXPECT_THAT(elements(box.minimum()), ElementsAre(1, 2, 3));
  EXPECT_THAT(elements(box.maximum()), ElementsAre(10, 20, 30));
}

TEST(PointCloud, WritesExactlyThreeValuesIntoEachSpanOfItsBox) {
  const PointCloud cloud = CloudFolder(elevenNodes().set("/attributes/0/min", "[101, 202, 303]")).open();
  std::array<float, 5> min{-7, -7, -7, -7, -7};
  std::array<float, 5> max = min;
  cloud.getBoundingBox(min, max);
  EXPECT_THAT(min, ElementsAre(1, 2, 3, -7, -7));
  EXPECT_THAT(max, ElementsAre(64, 64, 64, -7, -7));
}

TEST(PointCloud, WritesExactlyThreeValuesOfReferencePositionAndScale) {
  const PointCloud cloud = CloudFolder(elevenNodes().set("/scale", "[0.5, 0.25, 0.125]")).open();
  std::array<double, 4> values{-7, -7, -7, -7};
  cloud.getReferencePosition(values);
  EXPECT_THAT(values, ElementsAre(100, 200, 300, -7));
  cloud.getScale(values);
  EXPECT_THAT(values, ElementsAre(0.5, 0.25, 0.125, -7));
}

/// hasColors(), hasIntensities(), hasClassification() and hasNormals() of a cloud with these attributes.
std::array<bool, 4> stored(std::vector<std::string> attributes) {
  const PointCloud cloud = CloudFolder(Testing::PotreeFiles().attributes(std::move(attributes))).open();
  return {cloud.hasColors(), cloud.hasIntensities(), cloud.hasClassification(), cloud.hasNormals()};
}

TEST(PointCloud, SaysWhichAttributesItStores) {
  EXPECT_THAT(stored({"position"}), Each(false));
  EXPECT_THAT(stored({"position", "rgb"}), ElementsAre(true, false, false, false));
  EXPECT_THAT(stored({"position", "intensity"}), ElementsAre(false, true, false, false));
  EXPECT_THAT(stored({"position", "classification"}), ElementsAre(false, false, true, false));
  EXPECT_THAT(stored({"position", "normal_oct16"}), ElementsAre(false, false, false, true));
}

TEST(PointCloud, GivesTheClassHistogramOfItsMetadataAndMakesNoneUp) {
  EXPECT_THAT(CloudFolder(elevenNodes().set(kHistogram, "[5, 0, 9]")).open().classHistogram(),
              ElementsAre(5, 0, 9));
  EXPECT_THAT(CloudFolder().open().classHistogram(), IsEmpty());
  const auto unclassified = Testing::PotreeFiles().attributes({"position", "intensity"});
  EXPECT_THAT(CloudFolder(unclassified).open().classHistogram(), IsEmpty());
}

TEST(PointCloud, OfARealSurveyGivesItsFacts) {
  SORVIK_SAMPLE_OR_SKIP(folder, "potree/autzen-trim-brotli");
  const PointCloud cloud{FileSystemLocation(folder.wstring())};
  EXPECT_EQ(cloud.numPoints(), 110'000U);
  EXPECT_FLOAT_EQ(cloud.pointSpacing(), 9.19890625F);
  EXPECT_TRUE(cloud.hasColors() && cloud.hasIntensities() && cloud.hasClassification());
  EXPECT_FALSE(cloud.hasNormals());
  std::array<double, 3> position{};
  cloud.getReferencePosition(position);
  EXPECT_THAT(position, ElementsAre(636001.76, 848935.2000000001, 406.26));
}

TEST(PointCloud, AndItsCopiesAnswerFromOneNodeCache) {
  const CloudFolder folder;
  const PointCloud first = folder.open();
  const PointCloud copy(first);
  PointCloud assigned = cloudOf("0");
  assigned = first;
  const auto points = Testing::pointsOf(AllPointsIterator(first, 0));
  ASSERT_EQ(points.size(), 220U);
  folder.emptyOctreeFile();  // from here on there is the cache alone
  EXPECT_TRUE(Testing::pointsOf(AllPointsIterator(copy, 0)) == points);
  EXPECT_TRUE(Testing::pointsOf(AllPointsIterator(assigned, 0)) == points);
  EXPECT_THAT(first.unreadableNodes(), IsEmpty());
}

TEST(PointCloud, OpenedTwiceHasTwoNodeCaches) {
  const CloudFolder folder;
  const PointCloud first = folder.open();
  const PointCloud second = folder.open();
  EXPECT_EQ(Testing::pointsOf(AllPointsIterator(first, 0)).size(), 220U);
  folder.emptyOctreeFile();
  EXPECT_THAT(Testing::sizesOf(AllPointsIterator(second, 0)), Each(0));
  EXPECT_EQ(second.unreadableNodes().size(), 11U);
  EXPECT_THAT(first.unreadableNodes(), IsEmpty());
}

TEST(PointCloud, AndItsCopiesShareTheListOfWhatCouldNotBeRead) {
  const CloudFolder folder;
  const PointCloud first = folder.open();
  const PointCloud copy(first);
  folder.emptyOctreeFile();
  EXPECT_TRUE((*AllPointsIterator(copy, 0)).empty());
  ASSERT_EQ(first.unreadableNodes().size(), 1U);
  EXPECT_EQ(first.unreadableNodes()[0].node, "r");
  EXPECT_THAT(first.unreadableNodes()[0].reason, HasSubstr((folder.path() / "octree.bin").string()));
}

TEST(PointCloud, IsOnePointerThatMovesWithoutThrowing) {
  static_assert(sizeof(PointCloud) == sizeof(void*));
  static_assert(std::is_nothrow_move_constructible_v<PointCloud>);
  static_assert(std::is_nothrow_move_assignable_v<PointCloud>);
  static_assert(!std::is_convertible_v<Sorvik::Location, PointCloud>);
}

/// Whether a cloud has no record. It may not be asked, but it is one pointer.
bool holdsNothing(const PointCloud& cloud) {
  constexpr std::array<std::byte, sizeof(PointCloud)> none{};
  return std::memcmp(&cloud, none.data(), none.size()) == 0;
}

TEST(PointCloud, HandsItsCloudOverWhenMovedAndCanBeAssignedToAfterwards) {
  PointCloud first = cloudOf("1");
  PointCloud second(std::move(first));
  EXPECT_EQ(second.numPoints(), 1U);
  first = second;  // NOLINT(bugprone-use-after-move): this is what a moved-from cloud allows
  EXPECT_EQ(first.numPoints(), 1U);
  PointCloud third = std::move(first);
  first = std::move(third);
  EXPECT_EQ(first.numPoints(), 1U);
  first = cloudOf("2");
  EXPECT_EQ(first.numPoints(), 2U);
}

TEST(PointCloud, LeavesTheSourceOfAMoveAssignmentEmptyAndDoesNotExchange) {
  PointCloud source = cloudOf("1");
  PointCloud target = cloudOf("2");
  target = std::move(source);
  EXPECT_EQ(target.numPoints(), 1U);
  EXPECT_TRUE(holdsNothing(source));  // NOLINT(bugprone-use-after-move): that is what is tested
}

TEST(PointCloud, SurvivesAssignmentFromItself) {
  PointCloud cloud = cloudOf("1");
  PointCloud& itself = cloud;
  cloud = itself;
  EXPECT_EQ(cloud.numPoints(), 1U);
}

TEST(PointCloud, ConstructedFromItselfHoldsNothingAndCanBeAssignedTo) {
  alignas(PointCloud) std::array<std::byte, sizeof(PointCloud)> storage{};
  auto* const cloud = reinterpret_cast<PointCloud*>(storage.data());
  std::construct_at(cloud, *cloud);
  EXPECT_TRUE(holdsNothing(*cloud));
  *cloud = cloudOf("1");
  EXPECT_EQ(cloud->numPoints(), 1U);
  std::destroy_at(cloud);
}

TEST(PointCloud, IsUsableWithoutTheLocationThatItWasOpenedFrom) {
  const CloudFolder folder;
  auto location = std::make_optional(folder.location());
  const PointCloud cloud(*location);
  location.reset();
  EXPECT_EQ(Testing::pointsOf(AllPointsIterator(cloud, 0)).size(), 220U);
}

/// What opening this folder must say: its path, the file at fault and the reason.
auto refusal(const Testing::TempFolder& folder, const std::string& file, const std::string& reason) {
  return ThrowsMessage<std::runtime_error>(
      AllOf(HasSubstr((folder.path() / file).string()), HasSubstr(reason)));
}

TEST(PointCloud, ThatCannotBeOpenedNamesPathAndReason) {
  const Testing::TempFolder folder;
  const auto open = [&] { PointCloud{FileSystemLocation(folder.path().wstring())}; };
  EXPECT_THAT(open, refusal(folder, "metadata.json", "No such file or directory"));
  folder.write("metadata.json", "<!DOCTYPE html>");
  EXPECT_THAT(open, refusal(folder, "metadata.json", "<!DOCTYPE html>"));
  folder.write("metadata.json", elevenNodes().remove("/spacing").metaData());
  EXPECT_THAT(open, refusal(folder, "metadata.json", "spacing"));
  folder.write("metadata.json", elevenNodes().set("/version", "\"3.0\"").metaData());
  EXPECT_THAT(open, refusal(folder, "metadata.json", "3.0"));
  folder.write("metadata.json", elevenNodes().metaData());
  EXPECT_THAT(open, refusal(folder, "hierarchy.bin", "No such file or directory"));
  folder.write("hierarchy.bin", "");
  EXPECT_THAT(open, refusal(folder, "hierarchy.bin", "expected 242, found 0"));
}

}  // namespace
