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

std::uint64_t parseCount(std::string_view option, std::string_view text, std::uint64_t most) {
  std::uint64_t number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error == std::errc::invalid_argument || stop != end) refuse(option, text, "is not a whole number");
  if (error == std::errc::result_out_of_range || number > most) {
    throw CallError(std::string(option) + ": at most " + std::to_string(most) + " is possible");
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

}  // namespace Program
