#include "math/Spectrum.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <numbers>

#include "math/UnitInterval.h"

namespace Math::Spectrum {
namespace {

constexpr Color kGreen(0, 150, 64, 255);
constexpr Color kYellow(255, 221, 0, 255);
constexpr Color kRed(214, 39, 40, 255);

/// The value at a parameter whose ends 0 and 1 stand for @p min and @p max.
double valueAt(double t, double min, double max) { return min + toUnitInterval(t) * (max - min); }

bool isWithin(double value, double min, double max) { return min <= value && value <= max; }

}  // namespace

Color Gray::operator()(double t) const { return colorOf(t, t, t); }

Color BlueGreenRed::operator()(double t) const {
  const double fromGreen = 2 * toUnitInterval(t) - 1;  // -1 at blue, 1 at red
  const double angle = std::numbers::pi / 2 * std::abs(fromGreen);
  const double other = std::sin(angle);
  return colorOf(fromGreen > 0 ? other : 0, std::cos(angle), fromGreen < 0 ? other : 0);
}

Color Bone::operator()(double t) const {
  const double u = toUnitInterval(t);
  // Seven parts of gray, one of the hot ramp with its channels in reverse order.
  const auto mixed = [u](double hot) { return (7 * u + toUnitInterval(hot)) / 8; };
  return colorOf(mixed(4 * u - 3), mixed(8 * u / 3 - 1), mixed(8 * u / 3));
}

Color Jet::operator()(double t) const {
  const double quarters = 4 * toUnitInterval(t);
  const auto trapezoid = [quarters](double center) { return 1.5 - std::abs(quarters - center); };
  return colorOf(trapezoid(3), trapezoid(2), trapezoid(1));
}

Color Hot::operator()(double t) const {
  const double u = toUnitInterval(t);
  return colorOf(8 * u / 3, 8 * u / 3 - 1, 4 * u - 3);
}

Color Hsv::operator()(double t) const {
  const double sixths = 6 * toUnitInterval(t);
  return colorOf(std::abs(sixths - 3) - 1, 2 - std::abs(sixths - 2), 2 - std::abs(sixths - 4));
}

Color Beer::operator()(double t) const {
  // What a unit of SRM lets through of red, green and blue.
  constexpr std::array<double, 3> kTransmittance = {0.975, 0.88, 0.7};
  constexpr double kSrmOfStout = 40;
  const double srm = kSrmOfStout * density_ * toUnitInterval(t);
  return colorOf(std::pow(kTransmittance[0], srm), std::pow(kTransmittance[1], srm),
                 std::pow(kTransmittance[2], srm));
}

Color RedWhiteBlue::operator()(double t) const {
  const double u = toUnitInterval(t);
  const double red = 2 - 2 * u;
  const double blue = 2 * u;
  return colorOf(red, std::min(red, blue), blue);
}

Color LevelOfAccuracy::operator()(double t) const {
  constexpr std::array<Color, 5> kBands = {kGreen, Color(146, 208, 80, 255), kYellow,
                                           Color(245, 140, 30, 255), kRed};
  const double deviation = std::abs(2 * toUnitInterval(t) - 1);
  const auto band = static_cast<std::size_t>(deviation * kBands.size());
  return kBands[std::min(band, kBands.size() - 1)];
}

Color PassFail::operator()(double t) const {
  return isWithin(valueAt(t, min_, max_), passMin_, passMax_) ? kGreen : kRed;
}

Color TrafficLight::operator()(double t) const {
  const double value = valueAt(t, min_, max_);
  if (isWithin(value, warnMin_, warnMax_)) return kGreen;
  return isWithin(value, passMin_, passMax_) ? kYellow : kRed;
}

}  // namespace Math::Spectrum
