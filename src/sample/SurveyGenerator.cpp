#include "sample/SurveyGenerator.h"

#include <algorithm>
#include <cmath>

namespace Sample {
namespace {

constexpr double kDensity = 8;  // points a square metre
constexpr double kLeastSide = 200;
constexpr double kStripWidth = 150;  // about
constexpr double kOverlap = 0.1;     // of the strip's width, on either side
constexpr double kAltitude = 500;
constexpr double kSecondsPerLine = 0.01;
constexpr double kSecondsPerTurn = 60;
constexpr double kFirstSecond = 3.2e8;
constexpr double kRangeNoise = 0.02;
constexpr std::uint8_t kOverlapFlag = 8;

std::int32_t toSteps(double metres) {
  return static_cast<std::int32_t>(std::floor(metres / SurveyGenerator::kScale + 0.5));
}

/// The angle of a beam to the vertical by the first terms of the arc tangent's series, since std::atan may
/// differ between machines.
std::int16_t scanAngle(double sideways) {
  constexpr double kStepsPerRadian = 57.295779513082323 / 0.006;
  const double t = sideways / kAltitude;
  const double t2 = t * t;
  return static_cast<std::int16_t>(std::floor(kStepsPerRadian * t * (1 - t2 / 3 + t2 * t2 / 5) + 0.5));
}

/// A share of the 16-bit range, but at least 256: viewers take smaller channels for 8-bit ones.
std::uint16_t channel(double share) {
  return static_cast<std::uint16_t>(std::clamp(share * 65535, 256.0, 65535.0));
}

void measure(const SurveySurface& surface, RandomBits& random, SurveyPoint& point) {
  point.position[2] = toSteps(surface.z + kRangeNoise * (random.unit() - 0.5));
  point.intensity = static_cast<std::uint16_t>(60000 * surface.reflectance * (0.8 + 0.2 * random.unit()));
  point.classification = static_cast<std::uint8_t>(surface.classification);
  const double light = 0.85 + 0.15 * random.unit();
  for (std::size_t c = 0; c < point.rgb.size(); ++c) point.rgb[c] = channel(surface.color[c] * light);
}

}  // namespace

struct SurveyGenerator::Line {
  std::uint64_t strip;
  std::uint64_t row;
  double y;
  double nominalFirstX, nominalLastX;  ///< without overlap
  double firstX, lastX;                ///< as flown
};

SurveyGenerator::SurveyGenerator(std::uint64_t points, std::uint64_t seed)
    : scene_(mixBits(seed)), seed_(seed), points_(points) {
  const auto count = static_cast<double>(std::max<std::uint64_t>(1, points));
  side_ = std::max(kLeastSide, std::sqrt(count / kDensity));
  const double strips = std::max(1.0, std::floor(side_ / kStripWidth + 0.5));
  strips_ = static_cast<std::uint64_t>(strips);
  // As far from line to line as from point to point along a line.
  const double flownArea = side_ * side_ * (strips > 1 ? 1 + 2 * kOverlap : 1);
  linesPerStrip_ = static_cast<std::uint64_t>(std::max(1.0, side_ / std::sqrt(flownArea / count)));
}

std::uint64_t SurveyGenerator::lineStart(std::uint64_t line) const {
  const std::uint64_t each = points_ / lineCount();
  const std::uint64_t rest = points_ % lineCount();
  return line * each + line * rest / lineCount();
}

SurveyGenerator::Line SurveyGenerator::lineAt(std::uint64_t line) const {
  Line at{};
  at.strip = line / linesPerStrip_;
  at.row = line % linesPerStrip_;
  at.y = side_ * (static_cast<double>(at.row) + 0.5) / static_cast<double>(linesPerStrip_);
  const double width = side_ / static_cast<double>(strips_);
  at.nominalFirstX = width * static_cast<double>(at.strip);
  at.nominalLastX = width * static_cast<double>(at.strip + 1);
  at.firstX = std::max(0.0, at.nominalFirstX - kOverlap * width);
  at.lastX = std::min(side_, at.nominalLastX + kOverlap * width);
  return at;
}

void SurveyGenerator::makeLine(std::uint64_t line, std::span<SurveyPoint> out) const {
  const Line at = lineAt(line);
  const double lineSpacing = side_ / static_cast<double>(linesPerStrip_);
  const double length = at.lastX - at.firstX;
  const double lineSecond = kFirstSecond + static_cast<double>(line) * kSecondsPerLine +
                            static_cast<double>(at.strip) * kSecondsPerTurn;
  RandomBits random(mixBits(seed_) ^ mixBits(line));
  for (std::size_t made = 0; made < out.size();) {
    // A beam takes as much of the line as it returns points, so that the density stays the same.
    const double share = (static_cast<double>(made) + random.unit()) / static_cast<double>(out.size());
    const double x = at.row % 2 == 0 ? at.firstX + share * length : at.lastX - share * length;
    const double y = at.y + (random.unit() - 0.5) * 0.6 * lineSpacing;
    const SurveyBeam beam = scene_.beam(x, y, random);
    const std::size_t returns = std::min(beam.count, out.size() - made);

    SurveyPoint shot;
    shot.position = {toSteps(x), toSteps(y), 0};
    shot.numberOfReturns = static_cast<std::uint8_t>(returns);
    shot.classificationFlags = x < at.nominalFirstX || x > at.nominalLastX ? kOverlapFlag : std::uint8_t{0};
    shot.userData = static_cast<std::uint8_t>(at.row % 256);
    shot.scanAngle = scanAngle(x - (at.nominalFirstX + at.nominalLastX) / 2);
    shot.pointSourceId = static_cast<std::uint16_t>(at.strip + 1);
    shot.gpsTime = lineSecond + share * kSecondsPerLine;
    for (std::size_t i = 0; i < returns; ++i) {
      shot.returnNumber = static_cast<std::uint8_t>(i + 1);
      measure(beam.surfaces[i], random, shot);
      out[made++] = shot;
    }
  }
}

}  // namespace Sample
