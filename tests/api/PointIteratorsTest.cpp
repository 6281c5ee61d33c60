// What all ten iterators share.
#include <gmock/gmock.h>

#include <iterator>
#include <stdexcept>
#include <type_traits>
#include <utility>

#include "Sorvik/PointIterators.h"
#include "api/SmallCloud.h"
#include "api/WalkedPoints.h"
#include "api/Walks.h"

namespace {

using Sorvik::PointChunk;
using Sorvik::PointCloud;
using testing::AllOf;
using Testing::CloudFolder;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using Testing::kPointsPerNode;
using testing::SizeIs;
using Testing::sizesOf;
using testing::ThrowsMessage;

template <class Iterator>
class PointIterator : public testing::Test {
 protected:
  [[nodiscard]] static Iterator walk(const PointCloud& cloud, float minSpacing = 0) {
    return Testing::WholeWalk<Iterator>::of(cloud, minSpacing);
  }
};

TYPED_TEST_SUITE(PointIterator, Testing::WalkIterators);

TYPED_TEST(PointIterator, IsAnInputIteratorAndItsOwnRange) {
  static_assert(std::input_iterator<TypeParam>);
  static_assert(std::sentinel_for<TypeParam, TypeParam>);
  static_assert(std::is_same_v<std::iter_value_t<TypeParam>, PointChunk>);
  static_assert(std::is_nothrow_move_constructible_v<TypeParam>);
  static_assert(std::is_nothrow_move_assignable_v<TypeParam>);
  const TypeParam walk = this->walk(CloudFolder().open());
  EXPECT_EQ(&walk.begin(), &walk);
  EXPECT_EQ(walk.end(), TypeParam());
  EXPECT_NE(walk.begin(), walk.end());
}

TYPED_TEST(PointIterator, GivesEveryNodeToARangeLoop) {
  const CloudFolder folder;
  std::vector<unsigned> firstIntensities;
  for (const PointChunk& chunk : this->walk(folder.open())) {
    ASSERT_EQ(chunk.size(), kPointsPerNode);
    firstIntensities.push_back(chunk.intensities()[0]);
  }
  EXPECT_THAT(firstIntensities, ElementsAre(0, 100, 200, 300, 400, 500, 600, 700, 800, 900, 1000));
}

TYPED_TEST(PointIterator, AdvancedPastItsLastNodeEqualsItsEndAndStaysThere) {
  TypeParam walk = this->walk(CloudFolder().open());
  for (int node = 0; node < 11; ++node, ++walk) ASSERT_NE(walk, walk.end()) << node;
  EXPECT_EQ(walk, walk.end());
  ++walk;
  EXPECT_EQ(walk, TypeParam());
  int chunks = 0;
  for (const PointChunk& chunk : walk) chunks += chunk.empty() ? 1 : 2;
  EXPECT_EQ(chunks, 0);
}

TYPED_TEST(PointIterator, BeforeAPostfixIncrementEqualsWhatTheIncrementReturns) {
  TypeParam walk = this->walk(CloudFolder().open());
  const TypeParam before = walk;
  const TypeParam returned = walk++;
  EXPECT_EQ(returned, before);
  EXPECT_NE(walk, before);
  TypeParam prefixed = before;
  TypeParam& itself = ++prefixed;
  EXPECT_EQ(&itself, &prefixed);
  EXPECT_EQ(prefixed, walk);
}

TYPED_TEST(PointIterator, StaysWhereItWasWhenACopyIsAdvanced) {
  const CloudFolder folder;
  TypeParam walk = this->walk(folder.open());
  ++walk;
  const TypeParam place = walk;
  TypeParam copy(walk);
  TypeParam assigned;
  assigned = walk;
  for (int i = 0; i < 3; ++i, ++copy) ++assigned;
  EXPECT_EQ(walk, place);
  EXPECT_EQ(copy, assigned);
  EXPECT_THAT(sizesOf(copy), SizeIs(7));
  EXPECT_THAT(sizesOf(walk), SizeIs(10));
}

TYPED_TEST(PointIterator, SurvivesAssignmentFromItself) {
  const CloudFolder folder;
  TypeParam walk = this->walk(folder.open());
  TypeParam& itself = walk;
  walk = itself;
  EXPECT_THAT(sizesOf(walk), SizeIs(11));
}

TYPED_TEST(PointIterator, HandsItsWalkOverWhenMovedAndCanBeAssignedToAfterwards) {
  const CloudFolder folder;
  TypeParam first = this->walk(folder.open());
  ++first;
  TypeParam second(std::move(first));
  EXPECT_THAT(sizesOf(second), SizeIs(10));
  first = second;  // NOLINT(bugprone-use-after-move): this is what a moved-from iterator allows
  EXPECT_EQ(first, second);
  const TypeParam third(std::move(first));
  first = std::move(second);
  EXPECT_EQ(first, third);
}

TYPED_TEST(PointIterator, EqualsOthersOnTheSameNodeOfTheSameCloudOnly) {
  const CloudFolder folder;
  const PointCloud cloud = folder.open();
  const PointCloud copy = cloud;
  EXPECT_EQ(this->walk(cloud), this->walk(copy, 0.1F));
  EXPECT_NE(this->walk(cloud), this->walk(folder.open()));
  EXPECT_NE(this->walk(cloud), ++this->walk(cloud));
}

TYPED_TEST(PointIterator, GivesOneAndTheSameDataForTwoDereferencesOfOnePosition) {
  const CloudFolder folder;
  TypeParam walk = this->walk(folder.open());
  const PointChunk first = *walk;
  const PointChunk second = *walk;
  EXPECT_EQ(first.positions().data(), second.positions().data());
  EXPECT_EQ(first.colors().data(), second.colors().data());
}

TYPED_TEST(PointIterator, SharesNodesWhollyInsideAcrossWalksCopiesOfTheCloudAndKindsOfWalk) {
  const CloudFolder folder;
  const PointCloud cloud = folder.open();
  const PointCloud copy = cloud;
  const std::vector<const void*> places = Testing::placesOf(Sorvik::AllPointsIterator(cloud, 0));
  EXPECT_EQ(Testing::placesOf(this->walk(cloud)), places);
  EXPECT_EQ(Testing::placesOf(this->walk(copy)), places);
  EXPECT_NE(Testing::placesOf(this->walk(folder.open())), places);
}

TYPED_TEST(PointIterator, GoesNoDeeperThanNodesWhoseHalvedSpacingIsLessThanTheLeastSpacing) {
  const CloudFolder folder;
  const PointCloud cloud = folder.open();  // spacing 0.5, 0.25, 0.125
  EXPECT_THAT(sizesOf(this->walk(cloud, 0)), SizeIs(11));
  EXPECT_THAT(sizesOf(this->walk(cloud, -1)), SizeIs(11));
  EXPECT_THAT(sizesOf(this->walk(cloud, 0.125F)), SizeIs(11));
  EXPECT_THAT(sizesOf(this->walk(cloud, 0.126F)), SizeIs(9));
  EXPECT_THAT(sizesOf(this->walk(cloud, 0.25F)), SizeIs(9));
  EXPECT_THAT(sizesOf(this->walk(cloud, 0.2501F)), SizeIs(1));
}

TYPED_TEST(PointIterator, YieldsAnEmptyChunkForANodeThatCannotBeReadListsItAndGoesOn) {
  Testing::PotreeFiles files;
  files.node(0b1000'0001, Testing::pointsIn("", 0));
  files.record({.numPoints = 20, .byteOffset = 1'000'000, .byteSize = 21 * kPointsPerNode});
  files.node(0, Testing::pointsIn("7", 200));
  const CloudFolder folder(files);
  const PointCloud cloud = folder.open();
  EXPECT_THAT(sizesOf(this->walk(cloud)), ElementsAre(20, 0, 20));
  EXPECT_THAT(sizesOf(this->walk(cloud)), ElementsAre(20, 0, 20));
  ASSERT_THAT(cloud.unreadableNodes(), SizeIs(1));
  EXPECT_EQ(cloud.unreadableNodes()[0].node, "r0");
  EXPECT_THAT(cloud.unreadableNodes()[0].reason,
              HasSubstr((folder.path() / "octree.bin").string() + ", byte 1000000"));
}

TYPED_TEST(PointIterator, YieldsEmptyChunksForACloudWithoutItsPointsFile) {
  const CloudFolder folder;
  std::filesystem::remove(folder.path() / "octree.bin");
  const PointCloud cloud = folder.open();
  EXPECT_THAT(sizesOf(this->walk(cloud)), AllOf(SizeIs(11), Each(0)));
  EXPECT_THAT(cloud.unreadableNodes(), SizeIs(11));
}

TYPED_TEST(PointIterator, LetsAnUnreadablePartOfTheHierarchyOutOfTheStepAndGoesOnBehindIt) {
  const CloudFolder folder(Testing::threeChunks(1'000));
  const PointCloud cloud = folder.open();
  TypeParam walk = this->walk(cloud);
  const auto failed = ThrowsMessage<std::runtime_error>("Failed to fetch node by id");
  EXPECT_THAT([&] { ++walk; }, failed);
  EXPECT_NE(walk, walk.end());
  EXPECT_TRUE((*walk).empty());
  ++walk;
  EXPECT_EQ((*walk).intensities()[0], 200);
  EXPECT_THAT(sizesOf(walk), ElementsAre(20, 20));
  EXPECT_THAT([&] { (void)sizesOf(this->walk(cloud)); }, failed);
  EXPECT_EQ(cloud.unreadableNodes().at(0).node, "r0");
  EXPECT_THAT(cloud.unreadableNodes().at(0).reason, HasSubstr((folder.path() / "hierarchy.bin").string()));
}

TYPED_TEST(PointIterator, WalksAHierarchyOfSeveralChunks) {
  const CloudFolder folder(Testing::threeChunks());
  const PointCloud cloud = folder.open();
  EXPECT_THAT(sizesOf(this->walk(cloud)), AllOf(SizeIs(5), Each(kPointsPerNode)));
  EXPECT_THAT(Testing::pointsOf(this->walk(cloud)), SizeIs(cloud.numPoints()));
}

TYPED_TEST(PointIterator, YieldsOneEmptyChunkForACloudWithoutPoints) {
  const CloudFolder folder{Testing::PotreeFiles()};
  EXPECT_THAT(sizesOf(this->walk(folder.open())), ElementsAre(0));
}

}  // namespace
