#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "sample/SurveyScene.h"

namespace Sample {

/// A point as an airborne scanner delivers it, in the units of LAS 1.4, point format 7.
struct SurveyPoint {
  std::array<std::int32_t, 3> position{};  ///< world = position * SurveyGenerator::kScale + kOrigin
  std::uint16_t intensity = 0;
  std::uint8_t returnNumber = 0;  ///< from 1
  std::uint8_t numberOfReturns = 0;
  std::uint8_t classificationFlags = 0;  ///< bit 3: overlap of two strips
  std::uint8_t classification = 0;
  std::uint8_t userData = 0;           ///< scan line within the strip, modulo 256
  std::int16_t scanAngle = 0;          ///< in steps of 0.006 degrees
  std::uint16_t pointSourceId = 0;     ///< strip, from 1
  double gpsTime = 0;                  ///< adjusted standard GPS time, seconds
  std::array<std::uint16_t, 3> rgb{};  ///< 256 to 65535, so that no viewer takes it for an 8-bit colour

  bool operator==(const SurveyPoint&) const = default;
};

/// A synthetic airborne survey of a SurveyScene: parallel strips that overlap, flown line by line, with up to
/// three returns a beam, 8 points a square metre (fewer on the least area, 200 m x 200 m). The same number of
/// points and seed give the same survey on every machine.
/// Threads: const calls are safe together.
class SurveyGenerator {
 public:
  static constexpr double kScale = 0.001;  ///< metres a step
  static constexpr std::array<double, 3> kOrigin{452000, 5411000,
                                                 0};  ///< easting, northing, height: UTM, metres

  SurveyGenerator(std::uint64_t points, std::uint64_t seed);

  /// The survey's points are numbered line by line; line i has those from lineStart(i) to lineStart(i + 1).
  [[nodiscard]] std::uint64_t lineCount() const { return strips_ * linesPerStrip_; }
  [[nodiscard]] std::uint64_t lineStart(std::uint64_t line) const;

  /// Makes all points of a line, as many as @p out holds places.
  void makeLine(std::uint64_t line, std::span<SurveyPoint> out) const;

 private:
  struct Line;

  [[nodiscard]] Line lineAt(std::uint64_t line) const;

  SurveyScene scene_;
  std::uint64_t seed_;
  std::uint64_t points_;
  double side_;  ///< of the square area, metres
  std::uint64_t strips_;
  std::uint64_t linesPerStrip_;
};

}  // namespace Sample
