#include <gmock/gmock.h>

#include <algorithm>

#include "converter/CellSplitter.h"
#include "converter/ConversionError.h"
#include "converter/TreePoints.h"
#include "support/TempFolder.h"

namespace {

using Converter::splitLargeCells;
using Converter::StoredCell;
using Converter::StoredPosition;
using Octree::OctreeNodeId;

constexpr std::uint64_t kMostBytes = 100 * Testing::kNumberedStride;

class CellSplitterTest : public testing::Test {
 protected:
  std::vector<StoredCell> split(const std::vector<StoredPosition>& places, const std::stop_token& stop = {}) {
    const Converter::RawBytes records = Testing::numberedRecords(places);
    const std::size_t cell = store_.addCells(1);
    const std::size_t half = places.size() / 2 * Testing::kNumberedStride;
    store_.append(cell, std::span(records).first(half));
    store_.append(cell, std::span(records).subspan(half));
    return splitLargeCells({{OctreeNodeId(), cell}}, kMostBytes, Testing::kNumberedStride, grid_, store_,
                           stop);
  }

  [[nodiscard]] std::vector<std::string> recordsOf(std::size_t cell) const {
    std::vector<std::string> records;
    for (const auto& piece : store_.piecesOf(cell)) {
      std::string bytes(piece.size, '\0');
      store_.read(piece, std::as_writable_bytes(std::span(bytes)));
      for (std::size_t at = 0; at < bytes.size(); at += Testing::kNumberedStride)
        records.push_back(bytes.substr(at, Testing::kNumberedStride));
    }
    return records;
  }

  Testing::TempFolder folder_;
  Core::DiskFileSystem disk_{Core::DiskFileSystem::Sync::No};
  Converter::TempStore store_{disk_, folder_.path() / "points.tmp"};
  const Converter::OutputGrid grid_{{1, 1, 1}, {}, {1U << 30U, 1U << 30U, 1U << 30U}};
};

TEST_F(CellSplitterTest, CellsHoldNoMoreThanAllowedAndAllRecordsOnce) {
  for (const auto& places : Testing::treeClouds(30)) {
    std::vector<std::string> found;
    for (const StoredCell& cell : split(places)) {
      if (!cell.onePlace && cell.id.level() < 21) {
        EXPECT_LE(store_.bytesOf(cell.cell), kMostBytes);
      }
      const auto records = recordsOf(cell.cell);
      found.insert(found.end(), records.begin(), records.end());
    }
    EXPECT_EQ(found.size(), places.size());
    std::sort(found.begin(), found.end());
    EXPECT_EQ(std::adjacent_find(found.begin(), found.end()), found.end());
  }
}

TEST_F(CellSplitterTest, CellsHoldWhatLiesInTheirNodesAndStandAlongTheCurve) {
  const auto cells = split(Testing::treeClouds(30)[0]);
  EXPECT_GT(cells.size(), 20);
  std::uint64_t reached = 0;  // along the curve, by the first place of each node of the deepest level
  for (const StoredCell& cell : cells) {
    const std::uint64_t shift = 3 * (21 - cell.id.level());
    EXPECT_GE(cell.id.value() << shift, reached);
    reached = (cell.id.value() + 1) << shift;
    for (const std::string& record : recordsOf(cell.cell)) {
      const auto p =
          grid_.cubePoint(Converter::positionOf(reinterpret_cast<const std::byte*>(record.data())));
      for (unsigned level = 0; level < cell.id.level(); ++level)
        ASSERT_EQ(childIndexAt(p, level), cell.id.childIndexAt(level + 1));
    }
  }
}

TEST_F(CellSplitterTest, PointsOfOnePlaceStayTogetherAndAreKnownToBeSuch) {
  const auto cells = split(std::vector<StoredPosition>(1'000, {5, 6, 7}));
  ASSERT_EQ(cells.size(), 1);
  EXPECT_TRUE(cells[0].onePlace);
  EXPECT_EQ(store_.bytesOf(cells[0].cell), 1'000 * Testing::kNumberedStride);
}

TEST_F(CellSplitterTest, PointsOfOneNodeOfTheDeepestLevelStayTogether) {
  std::vector<StoredPosition> places;
  for (std::uint32_t i = 0; i < 512; ++i) places.push_back({i % 8, i / 8 % 8, i / 64});
  const auto cells = split(places);
  ASSERT_EQ(cells.size(), 1);
  EXPECT_FALSE(cells[0].onePlace);
  EXPECT_EQ(cells[0].id.level(), 21);
}

TEST_F(CellSplitterTest, ACellThatIsSmallEnoughStays) {
  const auto cells = split(std::vector<StoredPosition>(100, {5, 6, 7}));
  ASSERT_EQ(cells.size(), 1);
  EXPECT_TRUE(cells[0].id.isRoot());
  EXPECT_FALSE(cells[0].onePlace) << "nobody looked";
}

TEST_F(CellSplitterTest, StopsWhenToldTo) {
  std::stop_source stop;
  stop.request_stop();
  EXPECT_THROW((void)split(Testing::treeClouds(30)[0], stop.get_token()), Converter::ConversionCancelled);
}

}  // namespace
