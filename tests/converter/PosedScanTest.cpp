#include <gmock/gmock.h>

#include <cstring>

#include "converter/PosedScan.h"
#include "support/ListScan.h"

namespace Testing {
namespace {

using Converter::BlockCoordinates;
using Converter::RecordTarget;
using Converter::ScanReader;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

/// A quarter turn about z and a shift: (x, y, z) becomes (10 - y, 20 + x, 30 + z).
constexpr Math::Pose kPose{{{{0, -1, 0, 10}, {1, 0, 0, 20}, {0, 0, 1, 30}}}};

std::unique_ptr<ScanReader> posed(ScanContent content) {
  return Converter::withPose(std::make_unique<ListScan>(std::move(content)), kPose);
}

ScanContent twoPoints() {
  ScanContent content;
  content.grid = Converter::ScanInfo::Grid{{0.5, 0.5, 0.5}, {100, 0, 0}};
  content.points = {{2, 4, 6}, {4, 0, 0}};
  return content;
}

TEST(PosedScan, GivesWorldCoordinatesOfTheOtherSystem) {
  const auto scan = posed(twoPoints());
  BlockCoordinates coordinates;
  EXPECT_EQ(scan->readBlock(0, {}, coordinates), 2U);
  EXPECT_THAT(coordinates.world, ElementsAre(8, 121, 33, 10, 122, 30));
  EXPECT_THAT(coordinates.stored, IsEmpty());
  EXPECT_FALSE(scan->info().grid);
}

TEST(PosedScan, MovesFloatingCoordinatesAsWell) {
  ScanContent content = twoPoints();
  content.grid.reset();
  BlockCoordinates coordinates;
  EXPECT_EQ(posed(content)->readBlock(0, {}, coordinates), 2U);
  EXPECT_THAT(coordinates.world, ElementsAre(6, 22, 36, 10, 24, 30));
}

TEST(PosedScan, StatesABoxThatHoldsThePoints) {
  const auto scan = posed(twoPoints());
  EXPECT_EQ(scan->info().statedBox.minimum, (Math::Point<double, 3>{{8, 121, 30}}));
  EXPECT_EQ(scan->info().statedBox.maximum, (Math::Point<double, 3>{{10, 122, 33}}));
}

TEST(PosedScan, MovesTheSampleToo) {
  EXPECT_THAT(posed(twoPoints())->sample(2),
              ElementsAre(Math::Point<double, 3>{{8, 121, 33}}, Math::Point<double, 3>{{10, 122, 30}}));
}

template <class T>
void expectTurnedNormals() {
  ScanContent content = twoPoints();
  content.columns = {scanColumn<T>("NormalX", {1, 0}), scanColumn<T>("NormalY", {0, 0.5}),
                     scanColumn<std::uint8_t>("class", {7, 8}), scanColumn<T>("NormalZ", {0, -1})};
  const std::vector<std::size_t> offsets{0, sizeof(T), 3 * sizeof(T), 2 * sizeof(T)};
  const std::size_t stride = 3 * sizeof(T) + 1;
  std::vector<std::byte> records(2 * stride);
  BlockCoordinates coordinates;
  EXPECT_EQ(posed(content)->readBlock(0, {records.data(), stride, offsets}, coordinates), 2U);
  std::array<T, 3> normals[2];
  for (std::size_t i = 0; i < 2; ++i)
    std::memcpy(&normals[i], records.data() + i * stride, sizeof normals[i]);
  EXPECT_THAT(normals[0], ElementsAre(0, 1, 0));
  EXPECT_THAT(normals[1], ElementsAre(-0.5, 0, -1));
  EXPECT_EQ(records.back(), std::byte{8});
}

TEST(PosedScan, TurnsNormalsAndLeavesOtherAttributes) {
  expectTurnedNormals<double>();
  expectTurnedNormals<float>();
}

TEST(PosedScan, ReadsCoordinatesAloneWhereNothingElseIsWanted) {
  ScanContent content = twoPoints();
  for (const char* const name : {"NormalX", "NormalY", "NormalZ"}) {
    content.columns.push_back(scanColumn<double>(name, {1, 0}));
  }
  const std::vector<std::size_t> unwanted(3, RecordTarget::kUnwanted);
  BlockCoordinates coordinates;
  EXPECT_EQ(posed(content)->readBlock(0, {nullptr, 0, unwanted}, coordinates), 2U);
}

TEST(PosedScan, DropsTheFilesCoordinateSystemWithAWarning) {
  ScanContent content = twoPoints();
  EXPECT_THAT(posed(content)->info().warnings, IsEmpty());
  content.projection = "PROJCS[]";
  const auto scan = posed(content);
  EXPECT_EQ(scan->info().projection, "");
  EXPECT_THAT(scan->info().warnings, SizeIs(1));
}

TEST(PosedScan, TellsWhenTheFileHasChanged) {
  ScanContent content = twoPoints();
  content.changesWhileRead = true;
  EXPECT_THROW(posed(content)->checkUnchanged(), std::exception);
}

}  // namespace
}  // namespace Testing
