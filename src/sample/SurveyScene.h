#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "sample/RandomBits.h"

namespace Sample {

/// Classes of LAS 1.4 that the scene has.
enum class SurveyClass : std::uint8_t {
  Ground = 2,
  LowVegetation = 3,
  MediumVegetation = 4,
  HighVegetation = 5,
  Building = 6,
  Noise = 7,
  Water = 9,
  Road = 11
};

/// A surface that a beam meets.
struct SurveySurface {
  double z = 0;  ///< metres
  SurveyClass classification = SurveyClass::Ground;
  std::array<double, 3> color{};  ///< red, green, blue, 0 to 1
  double reflectance = 0;         ///< 0 to 1
};

/// What one beam meets, highest first.
struct SurveyBeam {
  static constexpr std::size_t kMostSurfaces = 3;

  std::array<SurveySurface, kMostSurfaces> surfaces{};
  std::size_t count = 0;

  void add(const SurveySurface& surface) { surfaces[count++] = surface; }
};

/// A made-up landscape of unlimited extent: hills, a river near x = 70, roads every 40 m, houses, trees. All
/// numbers are metres; heights are 360 to 480. It uses only operations whose results IEEE 754 fixes, so that
/// it is the same on every machine.
/// Threads: const calls are safe together.
class SurveyScene {
 public:
  explicit SurveyScene(std::uint64_t seed);

  /// What a beam straight down meets: 1 to 3 surfaces.
  [[nodiscard]] SurveyBeam beam(double x, double y, RandomBits& random) const;

  [[nodiscard]] double groundHeight(double x, double y) const;

 private:
  struct House {
    double x, y;                  ///< its middle
    double halfWidth, halfDepth;  ///< along x and y
    double eaves;                 ///< above the ground at its middle
    double roofSlope;             ///< 0 for a flat roof
    std::array<double, 3> color;
  };
  struct Tree {
    double x, y;
    double radius, height;
  };

  [[nodiscard]] std::uint64_t column(std::size_t salt, std::int64_t i) const;
  [[nodiscard]] double chance(std::size_t salt, std::int64_t i, std::int64_t j) const;
  [[nodiscard]] double noise(std::size_t salt, double wavelength, double x, double y) const;
  [[nodiscard]] double riverDistance(double x, double y) const;
  [[nodiscard]] std::optional<House> houseOnLotOf(double x, double y) const;
  [[nodiscard]] std::optional<Tree> treeOfCell(double x, double y) const;
  [[nodiscard]] std::optional<SurveySurface> houseAt(double x, double y, double ground,
                                                     RandomBits& random) const;
  void addTreeAt(double x, double y, double ground, RandomBits& random, SurveyBeam& beam) const;
  [[nodiscard]] SurveySurface groundAt(double x, double y, double ground) const;

  static constexpr std::size_t kFields = 17;
  std::array<std::uint64_t, kFields> seeds_{};  // of the random fields
};

}  // namespace Sample
