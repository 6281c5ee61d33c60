#pragma once

#include <string>

namespace Formats {

/// How the coordinates of one axis are written: with as many decimals as the step between them has, since
/// more would show the noise of floats; with 17 significant digits where the step is no short decimal number.
class CoordinateFormat {
 public:
  /// The bytes that the longest coordinate takes: a double of 309 digits, sign, point and decimals.
  static constexpr int kLongest = 330;

  /// @param scale  the step between coordinates: 0.001 gives three decimals, 0.25 two, 10 none.
  explicit CoordinateFormat(double scale);

  /// Writes @p value, rounded, with a point whatever the locale, and returns the end of the text.
  /// @param out  room for kLongest bytes.
  char* write(double value, char* out) const;

  /// The same as a text of its own.
  [[nodiscard]] std::string text(double value) const;

 private:
  char* writeScaled(double scaled, char* out) const;

  int decimals_;  // negative: 17 significant digits
  double factor_ = 1;
};

}  // namespace Formats
