#include <gtest/gtest.h>

#include <cmath>

#include "regions/PolygonRows.h"
#include "regions/RandomRegions.h"

namespace {

using Math::PolygonRows;
using Polygon = Math::Polygon<float>;

/// The outline of a round area with bays, as digitised: its edges are short.
Polygon outline(Testing::RandomRegions& random, int numVertices) {
  std::vector<float> interleaved;
  for (int i = 0; i < numVertices; ++i) {
    const float angle = 6.2831853F * static_cast<float>(i) / static_cast<float>(numVertices);
    const float radius =
        150 + 60 * std::sin(5 * angle) + random.uniform(-200, 200) / static_cast<float>(numVertices);
    interleaved.insert(interleaved.end(), {320 + radius * std::cos(angle), 240 + radius * std::sin(angle)});
  }
  return Polygon(interleaved);
}

/// Compares with the polygon at random places and at the heights of its vertices.
void compare(Testing::RandomRegions& random, const Polygon& polygon) {
  const PolygonRows rows(polygon);
  ASSERT_FALSE(rows.empty());
  for (const Math::Point<float, 2>& vertex : polygon.ring()) {
    for (const float x : {vertex[0], random.uniform(0, 640), std::nextafter(vertex[0], 1e9F)}) {
      for (const float y : {vertex[1], random.uniform(0, 480), std::nextafter(vertex[1], -1e9F)}) {
        ASSERT_EQ(rows.inside({{x, y}}), polygon.inside({{x, y}})) << x << ", " << y;
      }
    }
  }
}

TEST(PolygonRows, AnswerAsThePolygonForOutlines) {
  Testing::RandomRegions random(1, {0, 10, 0});
  for (const int numVertices : {60, 100, 500, 1500}) compare(random, outline(random, numVertices));
}

TEST(PolygonRows, AnswerAsThePolygonWithLevelEdgesFarFromTheOrigin) {
  Testing::RandomRegions random(2, {0, 10, 0});
  std::vector<float> stairs;
  for (int step = 0; step < 200; ++step) {
    const float x = 1e6F + std::floor(static_cast<float>(step) / 2);
    stairs.insert(stairs.end(), {x, 1e6F + std::floor(static_cast<float>(step + 1) / 2)});
  }
  stairs.insert(stairs.end(), {1e6F + 100, 1e6F});
  compare(random, Polygon(stairs));
}

TEST(PolygonRows, AnswerAsThePolygonWhereProductsOverflowOrVanish) {
  Testing::RandomRegions random(6, {0, 10, 0});
  for (const float scale : {1e17F, 1e22F, 1e35F, 1e-19F, 1e-21F, 1e-24F}) {
    const Polygon whole = outline(random, 300);
    std::vector<float> interleaved;
    for (const auto& vertex : whole.ring()) {
      interleaved.insert(interleaved.end(), {vertex[0] * scale, vertex[1] * scale});
    }
    const Polygon polygon(interleaved);
    const PolygonRows rows(polygon);
    ASSERT_FALSE(rows.empty());
    for (int i = 0; i < 5000; ++i) {
      const Math::Point<float, 2> p{{random.uniform(0, 640) * scale, random.uniform(0, 480) * scale}};
      ASSERT_EQ(rows.inside(p), polygon.inside(p)) << p[0] << ", " << p[1];
    }
  }
}

TEST(PolygonRows, AnswerNoForPointsWithoutNumbers) {
  Testing::RandomRegions random(3, {0, 10, 0});
  const PolygonRows rows(outline(random, 100));
  ASSERT_FALSE(rows.empty());
  EXPECT_FALSE(rows.inside({{300, std::nanf("")}}));
  EXPECT_FALSE(rows.inside({{std::nanf(""), 200}}));
  EXPECT_FALSE(rows.inside({{INFINITY, 200}}));
}

TEST(PolygonRows, PassOverVerticesWithoutNumbers) {
  Testing::RandomRegions random(4, {0, 10, 0});
  const Polygon whole = outline(random, 200);
  std::vector<float> interleaved;
  for (const auto& vertex : whole.ring()) interleaved.insert(interleaved.end(), {vertex[0], vertex[1]});
  interleaved[40] = std::nanf("");
  interleaved[91] = std::nanf("");
  compare(random, Polygon(interleaved));
}

TEST(PolygonRows, AreNotMadeWhereTheyGainNothing) {
  EXPECT_TRUE(PolygonRows(Polygon()).empty());
  EXPECT_TRUE(PolygonRows(Testing::RandomRegions(5, {0, 10, 0}).pixelPolygon(10)).empty());
  std::vector<float> comb;  // every edge goes from the bottom to the top
  for (int tooth = 0; tooth < 400; ++tooth) {
    const auto x = static_cast<float>(tooth);
    comb.insert(comb.end(), {x, 0, x + 0.5F, 100});
  }
  EXPECT_TRUE(PolygonRows(Polygon(comb)).empty());
  comb[0] = INFINITY;
  EXPECT_TRUE(PolygonRows(Polygon(comb)).empty());
}

TEST(PolygonRows, AreNotMadeOfPolygonsWithoutHeight) {
  std::vector<float> flat;
  for (int i = 0; i < 100; ++i) flat.insert(flat.end(), {static_cast<float>(i), 5});
  EXPECT_TRUE(PolygonRows(Polygon(flat)).empty());
  std::vector<float> tall;
  for (int i = 0; i < 100; ++i) tall.insert(tall.end(), {static_cast<float>(i), i % 2 == 0 ? -3e38F : 3e38F});
  EXPECT_TRUE(PolygonRows(Polygon(tall)).empty());
}

}  // namespace
