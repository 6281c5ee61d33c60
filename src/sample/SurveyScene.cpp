#include "sample/SurveyScene.h"

#include <algorithm>
#include <cmath>

namespace Sample {
namespace {

// One random field each.
enum Salt : std::size_t {
  kHills,
  kSlopes,
  kBumps,
  kRoughness,
  kRiver,
  kHouse,
  kHouseWidth,
  kHouseDepth,
  kHouseHeight,
  kHouseRoof,
  kHouseColor,
  kForest,
  kTree,
  kTreeX,
  kTreeY,
  kTreeSize,
  kGrass,
  kSalts
};

constexpr double kRiverLevel = 378;
constexpr double kRiverHalfWidth = 6;
constexpr double kRiverBank = 40;  // over which the ground rises to the hills
constexpr double kLot = 40;
constexpr double kRoadWidth = 5;  // along the low x and low y side of each lot
constexpr double kTreeCell = 8;
constexpr double kMostTreeRadius = 3.1;

std::int64_t cellOf(double value, double size) { return static_cast<std::int64_t>(std::floor(value / size)); }

double smoothStep(double t) { return t * t * (3 - 2 * t); }

double mix(double a, double b, double t) { return a + (b - a) * t; }

bool onRoad(double x, double y, double margin) {
  const auto withinLot = [](double value) { return value - kLot * std::floor(value / kLot); };
  const double right = withinLot(x);
  const double up = withinLot(y);
  return std::min(right, up) < kRoadWidth + margin || std::max(right, up) > kLot - margin;
}

/// The value in [0, 1) of a lattice point.
double chanceOf(std::uint64_t column, std::int64_t j) {
  return toUnit(mixBits(column + static_cast<std::uint64_t>(j) * 0xd1342543de82ef95U));
}

SurveyClass vegetationOfHeight(double height) {
  if (height < 1) return SurveyClass::LowVegetation;
  return height < 4 ? SurveyClass::MediumVegetation : SurveyClass::HighVegetation;
}

}  // namespace

SurveyScene::SurveyScene(std::uint64_t seed) {
  static_assert(kSalts == kFields);
  for (std::uint64_t salt = 0; salt < kFields; ++salt) {
    seeds_[salt] = mixBits(seed + salt * 0x9e3779b97f4a7c15U);
  }
}

/// What the values of column @p i of a random field are made of.
std::uint64_t SurveyScene::column(std::size_t salt, std::int64_t i) const {
  return mixBits(seeds_[salt] + static_cast<std::uint64_t>(i));
}

double SurveyScene::chance(std::size_t salt, std::int64_t i, std::int64_t j) const {
  return chanceOf(column(salt, i), j);
}

/// A smooth random field with values from 0 to 1: random values on a lattice, blended between its points.
double SurveyScene::noise(std::size_t salt, double wavelength, double x, double y) const {
  const std::int64_t i = cellOf(x, wavelength);
  const std::int64_t j = cellOf(y, wavelength);
  const double tx = smoothStep(x / wavelength - static_cast<double>(i));
  const double ty = smoothStep(y / wavelength - static_cast<double>(j));
  const std::uint64_t left = column(salt, i);
  const std::uint64_t right = column(salt, i + 1);
  return mix(mix(chanceOf(left, j), chanceOf(right, j), tx),
             mix(chanceOf(left, j + 1), chanceOf(right, j + 1), tx), ty);
}

/// From the middle of the river, across it.
double SurveyScene::riverDistance(double x, double y) const {
  return std::abs(x - (30 + 80 * noise(kRiver, 90, 0, y)));
}

double SurveyScene::groundHeight(double x, double y) const {
  const double land = 380 + 60 * noise(kHills, 180, x, y) + 10 * noise(kSlopes, 50, x, y) +
                      1.5 * noise(kBumps, 12, x, y) + 0.1 * noise(kRoughness, 1.5, x, y);
  const double bank = std::clamp((riverDistance(x, y) - kRiverHalfWidth) / kRiverBank, 0.0, 1.0);
  return mix(kRiverLevel, land, smoothStep(bank));
}

std::optional<SurveyScene::House> SurveyScene::houseOnLotOf(double x, double y) const {
  const std::int64_t i = cellOf(x, kLot);
  const std::int64_t j = cellOf(y, kLot);
  if (chance(kHouse, i, j) > 0.5) return std::nullopt;
  House house{};
  house.x = kLot * static_cast<double>(i) + (kLot + kRoadWidth) / 2;
  house.y = kLot * static_cast<double>(j) + (kLot + kRoadWidth) / 2;
  if (riverDistance(house.x, house.y) < kRiverBank) return std::nullopt;
  house.halfWidth = 6 + 6 * chance(kHouseWidth, i, j);
  house.halfDepth = 4 + 5 * chance(kHouseDepth, i, j);
  house.eaves = 4 + 9 * chance(kHouseHeight, i, j);
  house.roofSlope = chance(kHouseRoof, i, j) < 0.6 ? 0.7 : 0;
  const double tint = chance(kHouseColor, i, j);
  house.color = {0.55 + 0.25 * tint, 0.3 + 0.3 * tint, 0.25 + 0.3 * tint};
  return house;
}

std::optional<SurveyScene::Tree> SurveyScene::treeOfCell(double x, double y) const {
  const std::int64_t i = cellOf(x, kTreeCell);
  const std::int64_t j = cellOf(y, kTreeCell);
  Tree tree{};
  // The crown stays within its cell, so that a beam needs to look at one cell only.
  tree.x = kTreeCell * (static_cast<double>(i) + 0.4 + 0.2 * chance(kTreeX, i, j));
  tree.y = kTreeCell * (static_cast<double>(j) + 0.4 + 0.2 * chance(kTreeY, i, j));
  const double density = noise(kForest, 60, tree.x, tree.y) > 0.5 ? 0.85 : 0.2;
  if (chance(kTree, i, j) > density) return std::nullopt;
  const double size = chance(kTreeSize, i, j);
  tree.radius = 1.5 + (kMostTreeRadius - 1.5) * size;
  tree.height = 4 + 16 * size;
  if (onRoad(tree.x, tree.y, tree.radius) || riverDistance(tree.x, tree.y) < kRiverHalfWidth + 4) {
    return std::nullopt;
  }
  const std::optional<House> house = houseOnLotOf(tree.x, tree.y);
  const bool free = !house || std::abs(tree.x - house->x) > house->halfWidth + tree.radius ||
                    std::abs(tree.y - house->y) > house->halfDepth + tree.radius;
  return free ? std::optional(tree) : std::nullopt;
}

std::optional<SurveySurface> SurveyScene::houseAt(double x, double y, double ground,
                                                  RandomBits& random) const {
  const std::optional<House> house = houseOnLotOf(x, y);
  if (!house) return std::nullopt;
  const double toSide = house->halfWidth - std::abs(x - house->x);
  const double toFront = house->halfDepth - std::abs(y - house->y);
  if (toSide < 0 || toFront < 0) return std::nullopt;
  const double eaves = groundHeight(house->x, house->y) + house->eaves;
  double z = eaves + house->roofSlope * toFront;
  if (std::min(toSide, toFront) < 0.2 && random.unit() < 0.6) z = mix(ground, eaves, random.unit());
  return SurveySurface{std::max(z, ground), SurveyClass::Building, house->color, 0.45};
}

void SurveyScene::addTreeAt(double x, double y, double ground, RandomBits& random, SurveyBeam& beam) const {
  const std::optional<Tree> tree = treeOfCell(x, y);
  if (!tree) return;
  const double right = x - tree->x;
  const double up = y - tree->y;
  const double inside = 1 - (right * right + up * up) / (tree->radius * tree->radius);
  if (inside <= 0) return;
  const double top = tree->height * (0.35 + 0.65 * std::sqrt(inside));
  const double depth = random.unit();
  double height = top * (1 - 0.25 * depth * depth);
  const auto leaf = [&] {
    const double light = 0.6 + 0.4 * height / tree->height;
    return SurveySurface{
        ground + height, vegetationOfHeight(height), {0.2 * light, 0.5 * light, 0.15 * light}, 0.3};
  };
  beam.add(leaf());
  if (random.unit() > 0.35) return;
  height *= 0.3 + 0.5 * random.unit();
  beam.add(leaf());
}

SurveySurface SurveyScene::groundAt(double x, double y, double ground) const {
  if (onRoad(x, y, 0)) return {ground, SurveyClass::Road, {0.35, 0.35, 0.37}, 0.15};
  const double green = noise(kGrass, 9, x, y);
  return {ground, SurveyClass::Ground, {0.5 - 0.2 * green, 0.42 + 0.1 * green, 0.25}, 0.5 + 0.2 * green};
}

SurveyBeam SurveyScene::beam(double x, double y, RandomBits& random) const {
  SurveyBeam beam;
  const double ground = groundHeight(x, y);
  if (random.unit() < 0.0002) {
    beam.add({ground - 1 - 10 * random.unit(), SurveyClass::Noise, {0.1, 0.1, 0.1}, 0.02});
    return beam;
  }
  if (riverDistance(x, y) < kRiverHalfWidth) {
    beam.add({kRiverLevel, SurveyClass::Water, {0.15, 0.25, 0.4}, 0.05});
    return beam;
  }
  if (const std::optional<SurveySurface> house = houseAt(x, y, ground, random)) {
    beam.add(*house);
    return beam;
  }
  addTreeAt(x, y, ground, random, beam);
  const bool grass = beam.count == 0 && !onRoad(x, y, 0) && random.unit() < 0.06;
  if (grass) beam.add({ground + 0.1 + 0.8 * random.unit(), SurveyClass::LowVegetation, {0.3, 0.5, 0.2}, 0.4});
  if (beam.count == 0 || random.unit() < 0.6) beam.add(groundAt(x, y, ground));
  return beam;
}

}  // namespace Sample
