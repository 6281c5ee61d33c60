#include "sorvik/NumberArguments.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <string>
#include <system_error>

#include "sorvik/CallError.h"

namespace Program {
namespace {

[[noreturn]] void refuse(std::string_view option, std::string_view text, const char* why) {
  throw CallError(std::string(option) + ": '" + std::string(text) + "' " + why);
}

}  // namespace

double parseNumber(std::string_view option, std::string_view text) {
  if (text.empty()) throw CallError(std::string(option) + ": a number is missing");
  double number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error == std::errc::invalid_argument || stop != end) refuse(option, text, "is not a number");
  if (error == std::errc::result_out_of_range) refuse(option, text, "is out of range");
  if (!std::isfinite(number)) refuse(option, text, "is not a finite number");
  // The cloud's own coordinates are floats: nothing beyond their range can be meant.
  if (std::abs(number) > static_cast<double>(std::numeric_limits<float>::max())) {
    refuse(option, text, "is out of range");
  }
  return number;
}

std::vector<double> parseNumbers(std::string_view option, std::string_view text) {
  std::vector<double> numbers;
  for (;;) {
    const std::size_t comma = text.find(',');
    numbers.push_back(parseNumber(option, text.substr(0, comma)));
    if (comma == std::string_view::npos) return numbers;
    text.remove_prefix(comma + 1);
  }
}

std::uint64_t parseCount(std::string_view option, std::string_view text, std::uint64_t most) {
  std::uint64_t count = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, count);
  if (error == std::errc::invalid_argument || stop != end) refuse(option, text, "is not a whole number");
  if (error == std::errc::result_out_of_range || count < 1 || count > most)
    refuse(option, text, "is out of range");
  return count;
}

std::uint64_t parseByteCount(std::string_view option, std::string_view text) {
  constexpr std::string_view kUnits = "KMG";
  std::string_view digits = text;
  double factor = 1;
  if (!text.empty()) {
    const char last = text.back();
    const std::size_t unit = kUnits.find(last >= 'a' ? static_cast<char>(last - 'a' + 'A') : last);
    if (unit != std::string_view::npos) {
      factor = std::ldexp(1.0, 10 * (static_cast<int>(unit) + 1));
      digits.remove_suffix(1);
    }
  }
  const double bytes = parseNumber(option, digits) * factor;
  if (bytes < 0 || bytes > std::ldexp(1.0, 60)) refuse(option, text, "is out of range");
  return static_cast<std::uint64_t>(bytes);
}

}  // namespace Program
