#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>

#include "converter/ConversionError.h"
#include "converter/ConversionRun.h"
#include "converter/Distribute.h"
#include "support/TempFolder.h"

namespace {

using Converter::CellTree;
using Converter::DistributeResult;
using Converter::OutputGrid;
using Testing::ScanContent;
using Testing::scanOf;

/// One pass over scans on a grid of a thousand steps of 0.01.
class DistributeTest : public testing::Test {
 protected:
  DistributeResult distribute(const std::vector<ScanContent>& contents, unsigned threads = 2) {
    const Testing::ListScans scans = Testing::scansOf(contents);
    std::vector<const Converter::ScanInfo*> infos;
    for (const auto& scan : scans) infos.push_back(&scan->info());
    std::vector<std::string> remarks;
    records_ = joinScans(infos, false, remarks);
    progress_.begin(Converter::Stage::Distribute, 0);
    firstCell_ = store_.addCells(cells_.size());
    return Converter::Distribute(scans, records_, grid_, cells_, store_, firstCell_)
        .run({.threads = threads, .memoryBudget = 1 << 30U, .shuffleSeed = {}}, progress_, {});
  }

  /// The records of a cell, sorted.
  [[nodiscard]] std::vector<std::string> recordsOf(std::size_t cell) const {
    std::vector<std::string> records;
    for (const auto& piece : store_.piecesOf(firstCell_ + cell)) {
      std::string bytes(piece.size, '\0');
      store_.read(piece, std::as_writable_bytes(std::span(bytes)));
      for (std::size_t at = 0; at < bytes.size(); at += records_.stride)
        records.push_back(bytes.substr(at, records_.stride));
    }
    std::sort(records.begin(), records.end());
    return records;
  }

  template <class T>
  [[nodiscard]] std::vector<T> valuesOf(const std::string& attribute) const {
    std::vector<T> values;
    for (std::size_t cell = 0; cell < cells_.size(); ++cell) {
      for (const std::string& record : recordsOf(cell)) {
        T value;
        std::memcpy(&value, record.data() + records_.offsetOf(attribute).value(), sizeof value);
        values.push_back(value);
      }
    }
    return values;
  }

  Testing::TempFolder folder_;
  Core::DiskFileSystem disk_{Core::DiskFileSystem::Sync::No};
  Converter::TempStore store_{disk_, folder_.path() / "points.tmp"};
  Testing::ProgressLog progress_;
  OutputGrid grid_{{0.01, 0.01, 0.01}, {}, {1000, 1000, 1000}};
  CellTree cells_ = CellTree::childrenOf({});
  Converter::CloudRecords records_;
  std::size_t firstCell_ = 0;
};

TEST_F(DistributeTest, BringsRecordsToTheCellsOfTheirPlaces) {
  ScanContent content = scanOf({{1, 2, 3}, {999, 2, 3}, {499, 501, 999}});
  content.columns = {Testing::scanColumn<std::uint8_t>("user data", {7, 8, 9})};
  const DistributeResult result = distribute({content});
  EXPECT_EQ(result.numPoints, 3);
  EXPECT_FALSE(result.outsideGrid);
  EXPECT_THAT(recordsOf(0), testing::ElementsAre(std::string("\1\0\0\0\2\0\0\0\3\0\0\0\7", 13)));
  EXPECT_EQ(recordsOf(4).size(), 1);
  EXPECT_EQ(recordsOf(3).size(), 1);
}

TEST_F(DistributeTest, AttributesThatAScanLacksAreZero) {
  ScanContent a = scanOf({{1, 1, 1}});
  a.columns = {Testing::scanColumn<std::uint16_t>("intensity", {7})};
  ScanContent b = scanOf({{2, 2, 2}});
  b.columns = {Testing::scanColumn<double>("gps-time", {5})};
  distribute({a, b}, 1);
  EXPECT_THAT(valuesOf<std::uint16_t>("intensity"), testing::UnorderedElementsAre(7, 0));
  EXPECT_THAT(valuesOf<double>("gps-time"), testing::UnorderedElementsAre(5, 0));
}

TEST_F(DistributeTest, BringsTimesToAdjustedStandardTime) {
  ScanContent a = scanOf({{1, 1, 1}});
  a.columns = {Testing::scanColumn<double>("gps-time", {1.2e9})};
  a.toAdjustedStandardTime = -1e9;
  ScanContent b = scanOf({{2, 2, 2}});
  b.columns = {Testing::scanColumn<double>("gps-time", {3e8})};
  b.toAdjustedStandardTime = 0;
  const DistributeResult result = distribute({a, b});
  EXPECT_THAT(valuesOf<double>("gps-time"), testing::UnorderedElementsAre(2e8, 3e8));
  EXPECT_THAT(result.statistics.facts()[0].min, testing::ElementsAre(2e8))
      << "of the times as they are stored";
}

TEST_F(DistributeTest, GathersTheStatisticsOfAllPoints) {
  ScanContent content = Testing::clusteredScan(3'000, 5);
  for (auto& p : content.points) p = {5, 5, 5};
  const DistributeResult result = distribute({content}, 3);
  EXPECT_THAT(result.statistics.facts()[4].min, testing::ElementsAre(0));
  EXPECT_THAT(result.statistics.facts()[4].max, testing::ElementsAre(2'999));
  const auto& histogram = result.statistics.facts()[2].histogram;
  EXPECT_EQ(std::accumulate(histogram.begin(), histogram.end(), std::uint64_t{0}), 3'000);
  EXPECT_EQ(progress_.stages()[0].done, 3'000);
}

TEST_F(DistributeTest, MeasuresAllPointsWhenOneLiesOutsideOfTheGrid) {
  for (const std::size_t outside : {0U, 1'234U, 2'999U}) {
    ScanContent content = scanOf(std::vector<std::array<double, 3>>(3'000, {5, 5, 5}));
    content.pointsPerBlock = 100;
    content.points[outside] = {5, 5, 1000};
    content.points[7] = {900, 5, 5};
    content.points[2'990] = {5, 0, 5};
    const DistributeResult result = distribute({content});
    EXPECT_TRUE(result.outsideGrid);
    const auto box = result.bounds[0].world(content.grid);
    EXPECT_EQ(box.maximum, (Math::Point<double, 3>{{9, 0.05, 10}}));
    EXPECT_EQ(box.minimum[1], 0);
  }
}

TEST_F(DistributeTest, SeesPositionsWhoseCodesWouldBeMisread) {
  grid_ = OutputGrid({0.01, 0.01, 0.01}, {}, {1U << 30U, 1, 1});
  EXPECT_TRUE(distribute({scanOf({{5, 0, 0}, {134217728, 0, 0}})}).unreadablePosition);
  EXPECT_FALSE(distribute({scanOf({{5, 0, 0}, {1048576, 0, 0}})}).unreadablePosition);
}

TEST_F(DistributeTest, PassesOnTheErrorOfAScan) {
  ScanContent content = scanOf({{1, 1, 1}});
  content.beforeBlock = [](std::uint64_t) {
    throw Converter::ConversionError(Converter::Result::InputCannotRead, "broken");
  };
  EXPECT_THROW(distribute({content}), Converter::ConversionError);
}

}  // namespace
