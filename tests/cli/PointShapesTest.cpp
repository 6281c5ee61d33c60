#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <functional>
#include <random>

#include "cli/Program.h"
#include "support/SampleData.h"

namespace Testing {
namespace {

using Position = std::array<double, 3>;

/// What the floats of the walk, which hold this cloud to 2^-15, may make of a coordinate.
constexpr double kSlack = 2e-4;

/// A shape as an option, and as a test in double whose sizes are `slack` larger.
struct ShapeCase {
  std::string name;
  std::vector<double> numbers;
  std::function<bool(const Position& p, double slack)> inside;

  [[nodiscard]] std::string text() const {
    std::string text;
    for (const double number : numbers) text += (text.empty() ? "" : ",") + std::to_string(number);
    return text;
  }
};

double squared(double value) { return value * value; }

/// How far p lies from the line through a along the unit vector d, and how far along it.
std::array<double, 2> fromLine(const Position& p, const Position& a, const Position& d) {
  double along = 0;
  double square = 0;
  for (std::size_t i = 0; i < 3; ++i) along += (p[i] - a[i]) * d[i];
  for (std::size_t i = 0; i < 3; ++i) square += squared(p[i] - a[i] - along * d[i]);
  return {std::sqrt(square), along};
}

ShapeCase box(const Position& c, double r) {
  return {"--box",
          {c[0] - r, c[1] - 2 * r, c[2] - r, c[0] + r, c[1] + r, c[2] + r},
          [=](const Position& p, double slack) {
            return p[0] >= c[0] - r - slack && p[0] <= c[0] + r + slack && p[1] >= c[1] - 2 * r - slack &&
                   p[1] <= c[1] + r + slack && std::abs(p[2] - c[2]) <= r + slack;
          }};
}

/// Turned about z.
ShapeCase orientedBox(const Position& c, double r, double angle) {
  return {"--oriented-box",
          {c[0], c[1], c[2], r, 2 * r, r / 2, 0, 0, std::sin(angle / 2), std::cos(angle / 2)},
          [=](const Position& p, double slack) {
            const double dx = p[0] - c[0];
            const double dy = p[1] - c[1];
            return std::abs(dx * std::cos(angle) + dy * std::sin(angle)) <= r + slack &&
                   std::abs(-dx * std::sin(angle) + dy * std::cos(angle)) <= 2 * r + slack &&
                   std::abs(p[2] - c[2]) <= r / 2 + slack;
          }};
}

ShapeCase sphere(const Position& c, double r) {
  return {"--sphere", {c[0], c[1], c[2], r}, [=](const Position& p, double slack) {
            return std::sqrt(squared(p[0] - c[0]) + squared(p[1] - c[1]) + squared(p[2] - c[2])) <= r + slack;
          }};
}

ShapeCase cylinder(const Position& c, double r) {
  return {"--cylinder", {c[0], c[1], c[2], 6, 0, 8, r}, [=](const Position& p, double slack) {
            return fromLine(p, c, {0.6, 0, 0.8})[0] <= r + slack;
          }};
}

ShapeCase cylinderFinite(const Position& c, double r) {
  return {"--cylinder-finite",
          {c[0], c[1], c[2], c[0] + 60, c[1], c[2] + 80, r},
          [=](const Position& p, double slack) {
            const auto [distance, along] = fromLine(p, c, {0.6, 0, 0.8});
            return distance <= r + slack && along >= -slack && along <= 100 + slack;
          }};
}

ShapeCase rectangle(const Position& c, double r) {
  return {"--rectangle", {c[0] - r, c[1] - r, c[0] + 2 * r, c[1] + r}, [=](const Position& p, double slack) {
            return p[0] >= c[0] - r - slack && p[0] <= c[0] + 2 * r + slack &&
                   std::abs(p[1] - c[1]) <= r + slack;
          }};
}

ShapeCase orientedRectangle(const Position& c, double r, double angle) {
  return {"--oriented-rectangle", {c[0], c[1], r, r / 3, angle}, [=](const Position& p, double slack) {
            const double dx = p[0] - c[0];
            const double dy = p[1] - c[1];
            return std::abs(dx * std::cos(angle) + dy * std::sin(angle)) <= r + slack &&
                   std::abs(-dx * std::sin(angle) + dy * std::cos(angle)) <= r / 3 + slack;
          }};
}

ShapeCase circle(const Position& c, double r) {
  return {"--circle", {c[0], c[1], r}, [=](const Position& p, double slack) {
            return std::hypot(p[0] - c[0], p[1] - c[1]) <= r + slack;
          }};
}

/// A diamond.
ShapeCase polygon(const Position& c, double r) {
  return {"--polygon",
          {c[0] - r, c[1], c[0], c[1] - r, c[0] + r, c[1], c[0], c[1] + r},
          [=](const Position& p, double slack) {
            return std::abs(p[0] - c[0]) + std::abs(p[1] - c[1]) <= r + slack;
          }};
}

std::vector<ShapeCase> shapesAt(const Position& c, double r, double angle) {
  return {box(c, r),      orientedBox(c, r, angle),       sphere(c, r),
          cylinder(c, r), cylinderFinite(c, r),           rectangle(c, r),
          circle(c, r),   orientedRectangle(c, r, angle), polygon(c, r)};
}

TEST(PointShapes, HoldThePointsThatLieInThem) {
  SORVIK_SAMPLE_OR_SKIP(cloud, "potree/andelskahora");
  const std::vector<Position> positions = allPositions(cloud);
  ASSERT_EQ(positions.size(), 26845U);
  std::mt19937 random(12);
  std::uniform_real_distribution<double> radius(2, 60);
  std::uniform_real_distribution<double> angle(-3, 3);
  for (int round = 0; round < 4; ++round) {
    const Position center = positions[random() % positions.size()];
    for (const ShapeCase& shape : shapesAt(center, radius(random), angle(random))) {
      const auto countWith = [&](double slack) {
        return std::count_if(positions.begin(), positions.end(),
                             [&](const Position& p) { return shape.inside(p, slack); });
      };
      const long count = std::stol(outputOf({"points", cloud.string(), "--count", shape.name, shape.text()}));
      EXPECT_GT(count, 0) << shape.name << ' ' << shape.text();
      EXPECT_GE(count, countWith(-kSlack)) << shape.name << ' ' << shape.text();
      EXPECT_LE(count, countWith(kSlack)) << shape.name << ' ' << shape.text();
    }
  }
}

TEST(PointShapes, AreTheSameInBothFrames) {
  SORVIK_SAMPLE_OR_SKIP(cloud, "potree/andelskahora");
  // The reference position is -844161.69, -1014989.25, 636.83.
  const std::string world =
      outputOf({"points", cloud.string(), "--count", "--sphere", "-843961.69,-1014789.25,676.83,50"});
  EXPECT_GT(std::stol(world), 100);
  EXPECT_EQ(outputOf({"points", cloud.string(), "--count", "--local", "--sphere", "200,200,40,50"}), world);
}

TEST(PointShapes, AreWrittenAsTheyAreCounted) {
  SORVIK_SAMPLE_OR_SKIP(cloud, "potree/andelskahora");
  const Position center{-843961.69, -1014789.25, 676.83};
  const ShapeCase shape = sphere(center, 40);
  const std::string csv = outputOf({"points", cloud.string(), shape.name, shape.text()});
  const auto rows = csvRows(csv);
  EXPECT_EQ(std::to_string(rows.size()) + "\n",
            outputOf({"points", cloud.string(), "--count", shape.name, shape.text()}));
  for (const std::vector<double>& row : rows) {
    EXPECT_TRUE(shape.inside({row[0], row[1], row[2]}, kSlack + 0.005));
  }
}

}  // namespace
}  // namespace Testing
