#pragma once

namespace Formats::E57 {

struct SineCosine {
  double sine = 0;
  double cosine = 1;
};

/// Sine and cosine of an angle in radians, within 2 units of the last place (or 2^-72) up to some hundred
/// turns. Made of additions and multiplications alone, so that every processor gives the same bits, which the
/// standard library's functions do not promise. NaN for what is not finite.
[[nodiscard]] SineCosine sineCosine(double angleRadians);

}  // namespace Formats::E57
