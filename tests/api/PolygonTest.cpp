#include <gmock/gmock.h>

#include <algorithm>
#include <stdexcept>

#include "Sorvik/Polygon.h"
#include "api/Elements.h"

namespace {

using Sorvik::Polygon;
using Testing::elements;
using testing::ElementsAre;
using testing::ThrowsMessage;
using Testing::Vector2;

using Square = std::array<float, 8>;

constexpr Square kCounterClockwise{0, 0, 1, 0, 1, 1, 0, 1};
constexpr Square kClockwise{0, 0, 0, 1, 1, 1, 1, 0};

TEST(Polygon, IsHalfOpenSoLeftAndBottomEdgesAreInsideAndRightAndTopEdgesOutside) {
  const Polygon square(kCounterClockwise);
  EXPECT_TRUE(square.inside(Vector2{0, 0.5F}));
  EXPECT_TRUE(square.inside(Vector2{0.5F, 0}));
  EXPECT_FALSE(square.inside(Vector2{1, 0.5F}));
  EXPECT_FALSE(square.inside(Vector2{0.5F, 1}));
}

TEST(Polygon, OfTheUnitSquareHasArea1AndPerimeter4InBothDirections) {
  for (const Square& corners : {kClockwise, kCounterClockwise}) {
    const Polygon square(corners);
    EXPECT_EQ(square.area(), 1.0F);
    EXPECT_EQ(square.perimeter(), 4.0F);
  }
}

TEST(Polygon, WithOneVertexHasOneEdgeNoAreaNoPerimeterAndContainsNothing) {
  const Polygon polygon(Vector2{3, 4});
  EXPECT_EQ(polygon.numVertices(), 1U);
  EXPECT_EQ(polygon.numEdges(), 1U);
  EXPECT_EQ(polygon.area(), 0.0F);
  EXPECT_EQ(polygon.perimeter(), 0.0F);
  EXPECT_FALSE(polygon.inside(Vector2{3, 4}));
}

TEST(Polygon, FromAnEmptySpanHasNoVerticesAndContainsNothing) {
  const Polygon polygon(Sorvik::Span<const float>{});
  EXPECT_EQ(polygon.numVertices(), 0U);
  EXPECT_EQ(polygon.numEdges(), 0U);
  EXPECT_EQ(polygon.area(), 0.0F);
  EXPECT_EQ(polygon.perimeter(), 0.0F);
  EXPECT_FALSE(polygon.inside(Vector2{0, 0}));
  EXPECT_THAT(elements(polygon.vertex(0)), ElementsAre(0, 0));
}

TEST(Polygon, OfTheDefaultHasNoVerticesAndContainsNothing) {
  const Polygon polygon;
  EXPECT_EQ(polygon.numVertices(), 0U);
  EXPECT_EQ(polygon.numEdges(), 0U);
  EXPECT_EQ(polygon.area(), 0.0F);
  EXPECT_EQ(polygon.perimeter(), 0.0F);
  EXPECT_FALSE(polygon.inside(Vector2{0, 0}));
}

TEST(Polygon, RefusesAnOddNumberOfValues) {
  for (const std::size_t size : {1U, 7U}) {
    EXPECT_THAT([&] { Polygon(Sorvik::Span<const float>(kClockwise.data(), size)); },
                ThrowsMessage<std::invalid_argument>("Error: vertexPositions.size() % 2 != 0"));
  }
}

TEST(Polygon, ClosesItsRingWithTheFirstVertex) {
  const Polygon triangle(std::array<float, 6>{0, 0, 3, 0, 0, 4});
  EXPECT_EQ(triangle.numVertices(), 3U);
  EXPECT_EQ(triangle.numEdges(), 3U);
  EXPECT_THAT(elements(triangle.vertex(1)), ElementsAre(3, 0));
  EXPECT_THAT(elements(triangle.vertex(3)), ElementsAre(0, 0));
  EXPECT_EQ(triangle.perimeter(), 12.0F);
  EXPECT_EQ(triangle.area(), 6.0F);
}

TEST(Polygon, OfTwoVerticesIsALineThereAndBack) {
  const Polygon line(std::array<float, 4>{0, 0, 3, 4});
  EXPECT_EQ(line.numVertices(), 2U);
  EXPECT_EQ(line.perimeter(), 10.0F);
  EXPECT_EQ(line.area(), 0.0F);
  EXPECT_FALSE(line.inside(Vector2{1.5F, 2}));
}

TEST(Polygon, LeavesOutWhatItsOutlineGoesRoundTwice) {
  // A pentagram: its core is enclosed twice, its points once.
  const Polygon star(std::array<float, 10>{0, 10, 6, -8, -10, 3, 10, 3, -6, -8});
  EXPECT_FALSE(star.inside(Vector2{0, 0}));
  EXPECT_TRUE(star.inside(Vector2{0, 7}));
  EXPECT_FALSE(star.inside(Vector2{9, 9}));
}

TEST(Polygon, KeepsItsAreaExactFarFromTheOrigin) {
  Square far = kCounterClockwise;
  std::for_each(far.begin(), far.end(), [](float& value) { value += 8'000'000.0F; });
  EXPECT_EQ(Polygon(far).area(), 1.0F);
}

TEST(Polygon, ReadsTwoElementsOfAPointWhateverItsLength) {
  const Vector2 p{0.5F, 0.5F};
  EXPECT_TRUE(Polygon(kClockwise).inside(Sorvik::Span<const float>(p.data(), 0)));
  EXPECT_TRUE(Polygon(kClockwise).inside(std::array<float, 3>{0.5F, 0.5F, 99}));
}

}  // namespace
