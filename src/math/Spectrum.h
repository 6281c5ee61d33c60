#pragma once

#include <cstdint>

#include "math/Color.h"

/// Colour maps: functors from a parameter to an opaque colour. The parameter runs from 0 to 1; what lies
/// outside takes the colour of the nearer end, and NaN that of 0. Sources of the ramps: docs/colour-maps.md.
/// Threads: all calls are safe together.
namespace Math::Spectrum {

/// Every spectrum, by the numbers under which callers know them.
enum class SpectrumNames : std::int32_t {
  Gray = 0,
  BlueGreenRed = 1,
  Bone = 2,
  Jet = 3,
  Hot = 4,
  Thermo = 5,
  Hsv = 6,
  Beer = 7,
  Turbo = 8,
  Inferno = 9,
  Plasma = 10,
  Magma = 11,
  Viridis = 12,
  RedWhiteBlue = 13,
  LevelOfAccuracy = 14,
  PassFail = 15,
  TrafficLight = 16,
  CoolToWarm = 17
};

/// Black to white.
struct Gray {
  Color operator()(double t) const;
};

/// Blue over green to red. The squares of the channels add up to one, so that the mixtures are not darker.
struct BlueGreenRed {
  Color operator()(double t) const;
};

/// Gray with a tinge of blue.
struct Bone {
  Color operator()(double t) const;
};

/// Dark blue, blue, cyan, yellow, red, dark red.
struct Jet {
  Color operator()(double t) const;
};

/// Black, red, yellow, white.
struct Hot {
  Color operator()(double t) const;
};

/// Hot iron, as thermal cameras show it: black, violet, red, orange, yellow, white.
struct Thermo {
  Color operator()(double t) const;
};

/// The hues from red over green and blue to red again: cyclic.
struct Hsv {
  Color operator()(double t) const;
};

/// White light behind a layer of beer that grows thicker with the parameter: the law of Beer and Lambert,
/// with the absorption of red, green and blue of the Standard Reference Method (SRM) scale of beer colours.
class Beer {
 public:
  /// @param density  how much of the scale is run through: 1 ends at its darkest beer, stout (SRM 40), 0.5 at
  ///                 brown ale (SRM 20); 0 is white throughout.
  explicit Beer(double density) : density_(density) {}
  Color operator()(double t) const;

 private:
  double density_;
};

struct Turbo {
  Color operator()(double t) const;
};

struct Inferno {
  Color operator()(double t) const;
};

struct Plasma {
  Color operator()(double t) const;
};

struct Magma {
  Color operator()(double t) const;
};

struct Viridis {
  Color operator()(double t) const;
};

/// Red over white to blue.
struct RedWhiteBlue {
  Color operator()(double t) const;
};

/// Signed deviations, none in the middle: five bands on either side, each a fifth of the way to the end. From
/// the middle: green, light green, yellow, orange, red, for the levels of accuracy 50, 40, 30, 20 and 10.
struct LevelOfAccuracy {
  Color operator()(double t) const;
};

/// Two colours: green where a value passes, else red.
class PassFail {
 public:
  /// The parameter 0 to 1 stands for the values @p min to @p max; those from @p passMin to @p passMax pass,
  /// both included.
  PassFail(double passMin, double passMax, double min, double max)
      : passMin_(passMin), passMax_(passMax), min_(min), max_(max) {}
  Color operator()(double t) const;

 private:
  double passMin_;
  double passMax_;
  double min_;
  double max_;
};

/// Three colours: green, yellow from where a value is to be warned of, red from where it fails.
class TrafficLight {
 public:
  /// The parameter 0 to 1 stands for the values @p min to @p max. Those from @p warnMin to @p warnMax are
  /// green, further ones from @p passMin to @p passMax yellow, the rest red; the bounds belong to the inner
  /// band.
  TrafficLight(double passMin, double passMax, double warnMin, double warnMax, double min, double max)
      : passMin_(passMin), passMax_(passMax), warnMin_(warnMin), warnMax_(warnMax), min_(min), max_(max) {}
  Color operator()(double t) const;

 private:
  double passMin_;
  double passMax_;
  double warnMin_;
  double warnMax_;
  double min_;
  double max_;
};

/// Blue over a light gray to red, of even lightness on both sides.
struct CoolToWarm {
  Color operator()(double t) const;
};

}  // namespace Math::Spectrum
