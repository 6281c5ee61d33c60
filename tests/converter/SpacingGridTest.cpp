#include <gmock/gmock.h>

#include <cstdlib>

#include "converter/SpacingGrid.h"
#include "sample/RandomBits.h"

namespace {

using Converter::CubePoint;
using Converter::SpacingGrid;

constexpr std::int64_t kNodeEdge = std::int64_t{1} << 32U;

/// Looks at every point that was taken.
class AllPairs {
 public:
  explicit AllPairs(unsigned level) : level_(level) {}

  bool take(const CubePoint& p) {
    const std::int64_t least = (kNodeEdge >> level_) / 128 + 2;  // in units of the cube
    for (const CubePoint& other : taken_) {
      const std::int64_t dx = std::int64_t{p.x} - other.x;
      const std::int64_t dy = std::int64_t{p.y} - other.y;
      const std::int64_t dz = std::int64_t{p.z} - other.z;
      if (std::abs(dx) < least && std::abs(dy) < least && std::abs(dz) < least &&
          dx * dx + dy * dy + dz * dz < least * least) {
        return false;
      }
    }
    taken_.push_back(p);
    return true;
  }

 private:
  unsigned level_;
  std::vector<CubePoint> taken_;
};

/// Points of a node of that level: in a small part of it, so that many are near to each other, some on the
/// borders of cells and of the node.
std::vector<CubePoint> pointsOfNode(unsigned level, std::uint64_t seed) {
  Sample::RandomBits random(seed);
  const std::uint32_t node = level == 0 ? 0 : static_cast<std::uint32_t>(random.next()) << (32 - level);
  const std::uint64_t edge = std::uint64_t{1} << (32 - level);
  const std::uint64_t cell = edge / 128;
  const auto coordinate = [&] {
    switch (random.next() % 4) {
      case 0:
        return random.next() % 6 * cell;
      case 1:
        return random.next() % 6 * cell + cell - 1;
      case 2:
        return edge - 1 - random.next() % (6 * cell);
      default:
        return random.next() % (6 * cell);
    }
  };
  std::vector<CubePoint> points;
  for (int i = 0; i < 3'000; ++i) {
    points.push_back({node | static_cast<std::uint32_t>(coordinate()),
                      node | static_cast<std::uint32_t>(coordinate()),
                      node | static_cast<std::uint32_t>(coordinate())});
  }
  return points;
}

TEST(SpacingGrid, TakesWhatALookAtAllPairsTakes) {
  SpacingGrid grid;
  for (unsigned level = 0; level <= 20; ++level) {
    grid.begin(level);
    AllPairs oracle(level);
    for (const CubePoint& p : pointsOfNode(level, level)) {
      ASSERT_EQ(grid.take(p), oracle.take(p)) << level << ": " << p.x << ' ' << p.y << ' ' << p.z;
    }
  }
}

TEST(SpacingGrid, TakesAPointAtTheSpacingAndRefusesOneJustBelow) {
  constexpr std::uint32_t kSpacing = (1U << 25U) + 2;
  SpacingGrid grid;
  grid.begin(0);
  EXPECT_TRUE(grid.take({0, 0, 0}));
  EXPECT_FALSE(grid.take({kSpacing - 1, 0, 0}));
  EXPECT_TRUE(grid.take({kSpacing, 0, 0}));
  EXPECT_FALSE(grid.take({kSpacing, 0, 0}));
}

TEST(SpacingGrid, ForgetsAllPointsWhenItBegins) {
  SpacingGrid grid;
  for (int i = 0; i < 3; ++i) {
    grid.begin(0);
    EXPECT_TRUE(grid.take({0, 0, 0}));
    EXPECT_TRUE(grid.take({UINT32_MAX, UINT32_MAX, UINT32_MAX}));
    EXPECT_FALSE(grid.take({1, 1, 1}));
  }
}

TEST(SpacingGrid, FacesOfTheNodeAreNotNeighbours) {
  SpacingGrid grid;
  grid.begin(0);
  EXPECT_TRUE(grid.take({UINT32_MAX, 5U << 25U, 5U << 25U}));
  EXPECT_TRUE(grid.take({0, 6U << 25U, 5U << 25U})) << "the next row begins at the other face";
}

}  // namespace
