#include <gmock/gmock.h>

#include <algorithm>

#include "converter/SortedPoints.h"
#include "sample/RandomBits.h"

namespace {

using Converter::CubePoint;
using Converter::OutputGrid;
using Converter::RawBytes;
using Converter::SortedPoints;
using Converter::StoredPosition;

constexpr std::size_t kStride = 15;

/// Records at places of which many are equal or near to each other, with bytes behind them of which some are
/// equal, too.
std::vector<std::string> randomRecords(const OutputGrid& grid, std::size_t count, std::uint64_t seed) {
  Sample::RandomBits random(seed);
  std::vector<StoredPosition> places(count / 4 + 1);
  for (std::size_t i = 0; i < places.size(); ++i) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const std::uint64_t range = std::max<std::uint64_t>(grid.steps()[axis] >> i % 32, 1);
      places[i][axis] = static_cast<std::uint32_t>(random.next() % range);
    }
  }
  std::vector<std::string> records;
  for (std::size_t i = 0; i < count; ++i) {
    const StoredPosition& place = places[random.next() % places.size()];
    std::string record(reinterpret_cast<const char*>(place.data()), sizeof place);
    for (std::size_t k = record.size(); k < kStride; ++k)
      record += static_cast<char>(random.next() % 2 * 200);
    records.push_back(record);
  }
  return records;
}

RawBytes bytesOf(const std::vector<std::string>& records) {
  RawBytes bytes;
  for (const std::string& record : records) {
    const auto* const data = reinterpret_cast<const std::byte*>(record.data());
    bytes.insert(bytes.end(), data, data + record.size());
  }
  return bytes;
}

std::string recordAt(const SortedPoints& points, std::size_t i) {
  return {reinterpret_cast<const char*>(points.record(i)), points.stride()};
}

std::vector<std::string> recordsOf(const SortedPoints& points) {
  std::vector<std::string> records;
  for (std::size_t i = 0; i < points.size(); ++i) records.push_back(recordAt(points, i));
  return records;
}

CubePoint cubePointOf(const OutputGrid& grid, const std::string& record) {
  return grid.cubePoint(Converter::positionOf(reinterpret_cast<const std::byte*>(record.data())));
}

std::vector<std::string> sorted(const OutputGrid& grid, std::vector<std::string> records) {
  std::stable_sort(records.begin(), records.end(), [&](const std::string& a, const std::string& b) {
    const CubePoint pa = cubePointOf(grid, a);
    const CubePoint pb = cubePointOf(grid, b);
    for (unsigned level = 0; level < 32; ++level) {
      if (childIndexAt(pa, level) != childIndexAt(pb, level))
        return childIndexAt(pa, level) < childIndexAt(pb, level);
    }
    return std::memcmp(a.data(), b.data(), kStride) < 0;
  });
  return records;
}

/// Ordinary and extreme ones; in the last one many stored places are one place of the cube.
std::vector<OutputGrid> grids() {
  return {OutputGrid({0.01, 0.01, 0.01}, {}, {100'000, 200'000, 5'000}), OutputGrid({1, 1, 1}, {}, {3, 1, 7}),
          OutputGrid({1, 1, 1}, {}, {INT32_MAX, INT32_MAX, INT32_MAX}),
          OutputGrid({1, 1e-9, 1e-6}, {}, {INT32_MAX, INT32_MAX, 1'000'000})};
}

TEST(SortedPoints, StandAlongTheCurveAndInOnePlaceByTheirBytes) {
  for (const OutputGrid& grid : grids()) {
    for (const std::size_t count : {0U, 1U, 2U, 100U, 5'000U}) {
      const auto records = randomRecords(grid, count, count);
      EXPECT_EQ(recordsOf(SortedPoints(bytesOf(records), kStride, grid, 0)), sorted(grid, records)) << count;
    }
  }
}

TEST(SortedPoints, StandTheSameInWhateverOrderTheyCame) {
  const OutputGrid grid = grids()[0];
  auto records = randomRecords(grid, 2'000, 3);
  const auto expected = recordsOf(SortedPoints(bytesOf(records), kStride, grid, 0));
  std::reverse(records.begin(), records.end());
  EXPECT_EQ(recordsOf(SortedPoints(bytesOf(records), kStride, grid, 0)), expected);
}

TEST(SortedPoints, HaveTheKeysAndPlacesOfTheirRecords) {
  for (const OutputGrid& grid : grids()) {
    const SortedPoints points(bytesOf(randomRecords(grid, 500, 4)), kStride, grid, 0);
    for (std::size_t i = 0; i < points.size(); ++i) {
      const CubePoint place = cubePointOf(grid, recordAt(points, i));
      EXPECT_EQ(points.cubePoint(i), place);
      EXPECT_EQ(points.keys()[i], cellKey(place, 0));
    }
    EXPECT_TRUE(std::is_sorted(points.keys().begin(), points.keys().end()));
  }
}

TEST(SortedPoints, OfADeepNodeAreSortedByAllOfTheirBits) {
  const OutputGrid grid({1, 1, 1}, {}, {INT32_MAX, INT32_MAX, INT32_MAX});
  auto records = randomRecords(grid, 1'000, 5);
  for (std::string& record : records) {
    for (std::size_t axis = 0; axis < 3; ++axis) record.replace(4 * axis + 1, 3, "\x12\x34\x56");  // one node
  }
  const SortedPoints points(bytesOf(records), kStride, grid, 21);
  EXPECT_EQ(recordsOf(points), sorted(grid, records));
  EXPECT_EQ(points.keys()[7], cellKey(points.cubePoint(7), 21));
}

TEST(SortedPoints, GivePointsOfOnePlaceOnePriority) {
  const OutputGrid grid = grids()[0];
  const SortedPoints points(bytesOf(randomRecords(grid, 1'000, 6)), kStride, grid, 0);
  for (std::size_t i = 1; i < points.size(); ++i) {
    EXPECT_EQ(points.priorities()[i] == points.priorities()[i - 1],
              points.cubePoint(i) == points.cubePoint(i - 1));
  }
}

TEST(SortedPoints, DropAllButOneOfEqualRecords) {
  const OutputGrid grid = grids()[0];
  const auto records = randomRecords(grid, 2'000, 7);
  SortedPoints points(bytesOf(records), kStride, grid, 0);
  std::vector<std::string> dropped;
  points.dropDuplicates(
      [&](const std::byte* record) { dropped.emplace_back(reinterpret_cast<const char*>(record), kStride); });
  auto expected = sorted(grid, records);
  expected.erase(std::unique(expected.begin(), expected.end()), expected.end());
  EXPECT_EQ(recordsOf(points), expected);
  EXPECT_EQ(dropped.size(), records.size() - expected.size());
  EXPECT_GT(dropped.size(), 10);
  for (std::size_t i = 0; i < points.size(); ++i)
    EXPECT_EQ(points.keys()[i], cellKey(points.cubePoint(i), 0));
}

}  // namespace
