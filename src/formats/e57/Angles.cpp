#include "formats/e57/Angles.h"

#include <array>
#include <cmath>
#include <cstddef>

namespace Formats::E57 {
namespace {

// Half of pi in three parts. The first two have 33 bits, so that their products with whole numbers below 2^20
// are exact.
constexpr double kQuarterHigh = 0x1.921fb544p+0;
constexpr double kQuarterMiddle = 0x1.0b4611a6p-34;
constexpr double kQuarterLow = 0x1.3198a2e037073p-69;
constexpr double kQuartersPerRadian = 0x1.45f306dc9c883p-1;

/// The sum of c[0] + c[1] s + c[2] s^2 + ...
template <std::size_t count>
double polynomial(const std::array<double, count>& c, double s) {
  double sum = c[count - 1];
  for (std::size_t i = count - 1; i-- > 0;) sum = sum * s + c[i];
  return sum;
}

/// (-1)^k / n! for n = first, first + 2, ...: the Taylor series of sine (from 3) and cosine (from 4).
template <std::size_t count>
constexpr std::array<double, count> alternatingFactorials(int first, double sign) {
  std::array<double, count> terms{};
  double factorial = 1;
  for (int n = 2; n < first; ++n) factorial *= n;
  int n = first;
  for (double& term : terms) {
    factorial *= n;
    term = sign / factorial;
    factorial *= n + 1;
    n += 2;
    sign = -sign;
  }
  return terms;
}

// Up to an eighth of a turn the first terms left out are below 2^-58.
constexpr auto kSineTerms = alternatingFactorials<7>(3, -1);
constexpr auto kCosineTerms = alternatingFactorials<7>(4, 1);

}  // namespace

SineCosine sineCosine(double angleRadians) {
  constexpr double kFarAway = 0x1p19;
  if (!(std::abs(angleRadians) < kFarAway)) angleRadians = std::fmod(angleRadians, 4 * kQuarterHigh);
  const double quarters = std::floor(angleRadians * kQuartersPerRadian + 0.5);
  const double high = angleRadians - quarters * kQuarterHigh;
  const double r = (high - quarters * kQuarterMiddle) - quarters * kQuarterLow;
  const double s = r * r;
  const double sine = r + r * s * polynomial(kSineTerms, s);
  const double cosine = (1 - 0.5 * s) + s * s * polynomial(kCosineTerms, s);
  if (!(std::abs(quarters) < kFarAway)) return {sine, cosine};  // of NaN
  switch (static_cast<int>(quarters) & 3) {
    case 0:
      return {sine, cosine};
    case 1:
      return {cosine, -sine};
    case 2:
      return {-sine, -cosine};
    default:
      return {-cosine, sine};
  }
}

}  // namespace Formats::E57
