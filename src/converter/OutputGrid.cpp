#include "converter/OutputGrid.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <sstream>

#include "converter/ConversionError.h"

namespace Converter {
namespace {

constexpr double kMostSteps = std::numeric_limits<std::int32_t>::max();
constexpr std::array<char, 3> kAxisNames{'x', 'y', 'z'};

// Stated corners are decimal numbers rounded to binary ones; this much of a step is taken for rounding.
constexpr double kRounding = 1.0 / 1024;

/// 10^exponent, the nearest double: powers up to 10^22 are exact, and a quotient is rounded once.
double powerOfTen(int exponent) {
  double power = 1;
  for (int i = 0; i < std::abs(exponent); ++i) power *= 10;
  return exponent < 0 ? 1 / power : power;
}

/// The next coarser scale: that of a power of ten is the next power, without an error of its own.
double tenfold(double scale) {
  const int exponent = static_cast<int>(std::lround(std::log10(scale)));
  return scale == powerOfTen(exponent) ? powerOfTen(exponent + 1) : scale * 10;
}

/// Grid steps of one axis.
struct AxisSteps {
  double first = 0;  // whole steps from the base
  double count = 1;
};

AxisSteps stepsOf(double minimum, double maximum, double base, double scale) {
  const double first = std::floor((minimum - base) / scale + kRounding);
  const double last = std::ceil((maximum - base) / scale - kRounding);
  return {first, std::max(last - first, 0.0) + 1};
}

double scaleForFloats(double minimum, double maximum) {
  constexpr int kCommonExponent = -4;
  constexpr int kFinestExponent = -9;
  constexpr double kFewSteps = 1 << 20;
  constexpr double kManySteps = 1 << 26;
  const double extent = maximum - minimum;
  // Finer steps would be lost when offset and steps are added up.
  const double finest = std::max(std::abs(minimum), std::abs(maximum)) * 0x1p-50;
  int exponent = kCommonExponent;
  while (extent > 0 && exponent > kFinestExponent && extent / powerOfTen(exponent) < kFewSteps) --exponent;
  while (extent / powerOfTen(exponent) >= kManySteps || powerOfTen(exponent) < finest) ++exponent;
  return powerOfTen(exponent);
}

/// The finest of the integer scales of an axis; nothing where all scans store floating point.
std::optional<double> finestScale(std::span<const ScanInfo* const> scans, std::size_t axis) {
  std::optional<double> finest;
  for (const ScanInfo* scan : scans) {
    if (scan->grid && (!finest || scan->grid->scale[axis] < *finest)) finest = scan->grid->scale[axis];
  }
  return finest;
}

std::string number(double value) {
  std::ostringstream text;
  text.imbue(std::locale::classic());
  text << value;
  return text.str();
}

/// Where coordinates are so large that doubles do not tell steps of the scale apart, there is no grid.
void checkResolution(std::span<const ScanInfo* const> scans, std::size_t axis, double largest, double scale,
                     bool isWanted) {
  constexpr int kSpareBits = 2;
  if (std::ldexp(largest, kSpareBits - std::numeric_limits<double>::digits) <= scale) return;
  if (isWanted) {
    throw ConversionError(Result::ConvertFileTooBig, "the scale " + number(scale) + " is too fine: along " +
                                                         kAxisNames[axis] + " coordinates reach " +
                                                         number(largest) + "; choose a coarser one");
  }
  const auto offsetOf = [&](const ScanInfo* scan) {
    return scan->grid ? std::abs(scan->grid->offset[axis]) : 0;
  };
  const auto farthest = std::max_element(
      scans.begin(), scans.end(), [&](const auto* a, const auto* b) { return offsetOf(a) < offsetOf(b); });
  throw ConversionError(Result::InputGetInfoError, (*farthest)->name + ": along " + kAxisNames[axis] +
                                                       " its coordinates reach " + number(largest) +
                                                       ", where steps of " + number(scale) + " are lost");
}

}  // namespace

OutputGrid::OutputGrid(const std::array<double, 3>& scale, const std::array<double, 3>& offset,
                       const std::array<std::uint32_t, 3>& steps)
    : scale_(scale), offset_(offset), steps_(steps) {
  double longest = 0;
  for (std::size_t axis = 0; axis < 3; ++axis) longest = std::max(longest, scale[axis] * steps[axis]);
  const bool onePlace = std::all_of(steps.begin(), steps.end(), [](std::uint32_t n) { return n == 1; });
  edge_ = onePlace ? 1 : longest;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    // One step alone is coordinate 0, whatever the factor; others take at most half of the edge.
    if (steps[axis] == 1) continue;
    factor_[axis] = static_cast<std::uint64_t>(std::ldexp(scale[axis] / edge_, 32 + kFactorBits));
  }
}

OutputGrid chooseGrid(std::span<const ScanInfo* const> scans, const Math::NBoundingBox<double, 3>& box,
                      std::optional<double> wanted, std::vector<std::string>& remarks) {
  std::array<double, 3> scale{};
  std::array<double, 3> offset{};
  std::array<std::uint32_t, 3> steps{};
  const auto firstWithGrid =
      std::find_if(scans.begin(), scans.end(), [](const ScanInfo* s) { return s->grid; });
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const double minimum = box.minimum[static_cast<int>(axis)];
    const double maximum = box.maximum[static_cast<int>(axis)];
    const double base = firstWithGrid == scans.end() ? 0 : (*firstWithGrid)->grid->offset[axis];
    const double first =
        wanted ? *wanted : finestScale(scans, axis).value_or(scaleForFloats(minimum, maximum));
    scale[axis] = first;
    checkResolution(scans, axis, std::max(std::abs(minimum), std::abs(maximum)), first, wanted.has_value());
    AxisSteps found = stepsOf(minimum, maximum, base, first);
    while (found.count > kMostSteps) {
      if (wanted) {
        throw ConversionError(Result::ConvertFileTooBig,
                              "the scale " + number(*wanted) + " is too fine: along " + kAxisNames[axis] +
                                  " the points take " + number(found.count) +
                                  " steps, and 2147483647 can be stored; choose a coarser one");
      }
      scale[axis] = tenfold(scale[axis]);
      found = stepsOf(minimum, maximum, base, scale[axis]);
    }
    if (scale[axis] != first && finestScale(scans, axis)) {
      remarks.push_back(std::string("Along ") + kAxisNames[axis] + " the scale was raised from " +
                        number(first) + " to " + number(scale[axis]) +
                        ", since the points lie too far apart for the finer one.");
    }
    offset[axis] = base + found.first * scale[axis];
    steps[axis] = static_cast<std::uint32_t>(found.count);
  }
  return {scale, offset, steps};
}

}  // namespace Converter
