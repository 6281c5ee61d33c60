#include <gmock/gmock.h>

#include <array>
#include <bit>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>

#include "Sorvik/PointChunk.h"
#include "Sorvik/PointIterators.h"
#include "api/SmallCloud.h"

namespace {

using Sorvik::AllPointsIterator;
using Sorvik::Color;
using Sorvik::PointChunk;
using Testing::CloudFolder;
using testing::Each;
using testing::ElementsAre;
using testing::ElementsAreArray;
using Testing::StoredPoint;

const StoredPoint kFirst{.position = {2, 4, 6},
                         .rgb = {255, 7, 0},
                         .intensity = 65535,
                         .classification = 200,
                         .normalOct16 = 0x7F7F};
const StoredPoint kSecond{.position = {20, 40, 60}, .rgb = {1, 2, 3}, .intensity = 4, .classification = 5};

/// The only chunk of a cloud of the two points with these attributes.
PointChunk chunkOf(std::vector<std::string> attributes) {
  Testing::PotreeFiles files;
  files.attributes(std::move(attributes)).node(0, std::array{kFirst, kSecond});
  return *AllPointsIterator(CloudFolder(files).open(), 0);
}

PointChunk fullChunk() { return chunkOf({"position", "intensity", "classification", "rgb", "normal_oct16"}); }

template <class T>
std::vector<T> listed(Sorvik::Span<const T> column) {
  return {column.begin(), column.end()};
}

TEST(PointChunk, OfTheDefaultIsEmpty) {
  const PointChunk chunk;
  EXPECT_EQ(chunk.size(), 0U);
  EXPECT_TRUE(chunk.empty());
  EXPECT_TRUE(chunk.positions().empty() && chunk.normals().empty() && chunk.colors().empty());
  EXPECT_TRUE(chunk.intensities().empty() && chunk.classIndices().empty());
}

TEST(PointChunk, GivesEveryValueOfAPointUnderOneIndex) {
  const PointChunk chunk = fullChunk();
  ASSERT_EQ(chunk.size(), 2U);
  EXPECT_FALSE(chunk.empty());
  std::array<float, 3> position{};
  unsigned short intensity = 0;
  unsigned char classIndex = 0;
  chunk.getPosition(1, position);
  chunk.getIntensity(1, intensity);
  chunk.getClassIndex(1, classIndex);
  EXPECT_THAT(position, ElementsAre(10, 20, 30));
  EXPECT_EQ(intensity, 4);
  EXPECT_EQ(classIndex, 5);
  chunk.getIntensity(0, intensity);
  chunk.getClassIndex(0, classIndex);
  EXPECT_EQ(intensity, 65535);
  EXPECT_EQ(classIndex, 200);
}

TEST(PointChunk, WritesExactlyThreeValuesOfPositionAndNormal) {
  const PointChunk chunk = fullChunk();
  std::array<float, 5> values{-7, -7, -7, -7, -7};
  chunk.getPosition(0, values);
  EXPECT_THAT(values, ElementsAre(1, 2, 3, -7, -7));
  chunk.getNormal(0, values);
  EXPECT_NEAR(values[2], 1, 0.01);
  EXPECT_THAT(std::span(values).subspan(3), Each(-7));
}

TEST(PointChunk, PutsRedIntoTheThirdByteOfAColorAndBlueIntoTheFirst) {
  Color color{};
  fullChunk().getColor(0, color);
  const auto bytes = std::bit_cast<std::array<unsigned char, 4>>(color);
  EXPECT_EQ(color.r, 255);
  EXPECT_THAT(bytes, ElementsAre(0, 7, 255, 255));
}

TEST(PointChunk, HandsOutWholeColumns) {
  const PointChunk chunk = fullChunk();
  EXPECT_THAT(listed(chunk.positions()), ElementsAre(1, 2, 3, 10, 20, 30));
  EXPECT_THAT(listed(chunk.colors()), ElementsAre(255, 7, 0, 255, 1, 2, 3, 255));
  EXPECT_THAT(listed(chunk.intensities()), ElementsAre(65535, 4));
  EXPECT_THAT(listed(chunk.classIndices()), ElementsAre(200, 5));
  std::array<float, 6> normals{};
  chunk.getNormal(0, Sorvik::Span<float>(normals.data(), 3));
  chunk.getNormal(1, Sorvik::Span<float>(normals.data() + 3, 3));
  EXPECT_THAT(listed(chunk.normals()), ElementsAreArray(normals));
}

TEST(PointChunk, HasDefaultsInTheColumnsThatItsCloudLacks) {
  const PointChunk chunk = chunkOf({"position"});
  EXPECT_THAT(listed(chunk.colors()), ElementsAre(0, 0, 0, 255, 0, 0, 0, 255));
  EXPECT_THAT(listed(chunk.intensities()), ElementsAre(0, 0));
  EXPECT_THAT(listed(chunk.classIndices()), ElementsAre(0, 0));
  EXPECT_THAT(listed(chunk.normals()), ElementsAre(0, 0, 0, 0, 0, 0));
}

TEST(PointChunk, IsOnePointerThatMovesWithoutThrowing) {
  static_assert(sizeof(PointChunk) == sizeof(void*));
  static_assert(std::is_nothrow_move_constructible_v<PointChunk>);
  static_assert(std::is_nothrow_move_assignable_v<PointChunk>);
}

TEST(PointChunk, SharesItsPointsWithItsCopies) {
  const PointChunk chunk = fullChunk();
  const PointChunk copy(chunk);
  PointChunk assigned;
  assigned = chunk;
  for (const PointChunk* other : {&copy, &std::as_const(assigned)}) {
    EXPECT_EQ(other->positions().data(), chunk.positions().data());
    EXPECT_EQ(other->normals().data(), chunk.normals().data());
    EXPECT_EQ(other->colors().data(), chunk.colors().data());
    EXPECT_EQ(other->intensities().data(), chunk.intensities().data());
    EXPECT_EQ(other->classIndices().data(), chunk.classIndices().data());
  }
}

TEST(PointChunk, HandsItsPointsOverWhenMovedAndCanBeAssignedToAfterwards) {
  PointChunk first = fullChunk();
  const float* const place = first.positions().data();
  PointChunk second(std::move(first));
  EXPECT_EQ(second.positions().data(), place);
  first = second;  // NOLINT(bugprone-use-after-move): this is what a moved-from chunk allows
  EXPECT_EQ(first.positions().data(), place);
  PointChunk third;
  third = std::move(first);
  first = std::move(third);
  EXPECT_EQ(first.positions().data(), place);
}

TEST(PointChunk, SurvivesAssignmentFromItself) {
  PointChunk chunk = fullChunk();
  PointChunk& itself = chunk;
  chunk = itself;
  EXPECT_EQ(chunk.size(), 2U);
}

TEST(PointChunk, ConstructedFromItselfIsEmpty) {
  alignas(PointChunk) std::array<std::byte, sizeof(PointChunk)> storage{};
  auto* const chunk = reinterpret_cast<PointChunk*>(storage.data());
  std::construct_at(chunk, *chunk);
  EXPECT_TRUE(chunk->empty());
  EXPECT_TRUE(chunk->positions().empty());
  *chunk = fullChunk();
  EXPECT_EQ(chunk->size(), 2U);
  std::destroy_at(chunk);
}

TEST(PointChunk, OutlivesLocationCloudIteratorAndFiles) {
  auto folder = std::make_optional<CloudFolder>();
  auto location = std::make_optional(folder->location());
  auto cloud = std::make_optional<Sorvik::PointCloud>(*location);
  location.reset();
  auto walk = std::make_optional<AllPointsIterator>(*cloud, 0.0F);
  cloud.reset();
  auto chunk = std::make_optional(**walk);
  ++*walk;
  EXPECT_EQ((**walk).size(), Testing::kPointsPerNode);
  walk.reset();
  const PointChunk copy = *chunk;
  chunk.reset();
  folder.reset();
  ASSERT_EQ(copy.size(), Testing::kPointsPerNode);
  for (std::size_t i = 0; i < copy.size(); ++i) EXPECT_EQ(copy.intensities()[i], i);
}

TEST(PointChunk, OfAFilteredNodeOutlivesEverythingElse) {
  auto folder = std::make_optional<CloudFolder>();
  auto cloud = std::make_optional(folder->open());
  auto walk = std::make_optional(Sorvik::allPointsInside(*cloud, Sorvik::Sphere(32, 32, 32, 30), 0));
  const PointChunk chunk = **walk;
  ++*walk;
  cloud.reset();
  walk.reset();
  folder.reset();
  ASSERT_GT(chunk.size(), 0U);
  EXPECT_LT(chunk.intensities()[chunk.size() - 1], Testing::kPointsPerNode);
}

}  // namespace
