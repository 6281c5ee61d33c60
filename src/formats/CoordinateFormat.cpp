#include "formats/CoordinateFormat.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace Formats {
namespace {

constexpr int kMostDecimals = 15;  // what every double holds
constexpr int kNoDecimalNumber = -1;
constexpr double kWholeNumbers = 9007199254740992.0;  // 2^53: up to here a double holds each

/// The decimals of the shortest text that reads back as @p scale.
int decimalsOf(double scale) {
  if (!std::isfinite(scale) || scale <= 0) return kNoDecimalNumber;
  std::array<char, 32> buffer{};
  const auto end =
      std::to_chars(buffer.data(), buffer.data() + buffer.size(), scale, std::chars_format::scientific);
  const std::string_view text(buffer.data(), static_cast<std::size_t>(end.ptr - buffer.data()));
  const std::size_t mark = text.find('e');
  const int digits = mark == 1 ? 1 : static_cast<int>(mark) - 1;  // "1e-03", "2.5e-01"
  const int exponent = std::atoi(text.data() + mark + 1);
  const int decimals = digits - 1 - exponent;
  if (digits > kMostDecimals || decimals > kMostDecimals) return kNoDecimalNumber;
  return decimals < 0 ? 0 : decimals;
}

}  // namespace

CoordinateFormat::CoordinateFormat(double scale) : decimals_(decimalsOf(scale)) {
  for (int i = 0; i < decimals_; ++i) factor_ *= 10;
}

char* CoordinateFormat::write(double value, char* out) const {
  if (decimals_ < 0) return std::to_chars(out, out + kLongest, value, std::chars_format::general, 17).ptr;
  // Whole numbers are written ten times as fast. What lies between two multiples of the step is rounded twice
  // here, which shows only where it is as near to the one as to the other.
  const double scaled = value * factor_;
  if (std::abs(scaled) < kWholeNumbers) return writeScaled(scaled, out);
  return std::to_chars(out, out + kLongest, value, std::chars_format::fixed, decimals_).ptr;
}

char* CoordinateFormat::writeScaled(double scaled, char* out) const {
  const auto rounded = static_cast<std::uint64_t>(std::llround(std::abs(scaled)));
  if (scaled < 0 && rounded != 0) *out++ = '-';
  const auto factor = static_cast<std::uint64_t>(factor_);
  out = std::to_chars(out, out + 20, rounded / factor).ptr;
  if (decimals_ == 0) return out;
  *out = '.';
  std::uint64_t rest = rounded % factor;
  for (char* digit = out + decimals_; digit != out; --digit) {
    *digit = static_cast<char>('0' + rest % 10);
    rest /= 10;
  }
  return out + 1 + decimals_;
}

std::string CoordinateFormat::text(double value) const {
  std::array<char, kLongest> buffer{};
  return {buffer.data(), write(value, buffer.data())};
}

}  // namespace Formats
