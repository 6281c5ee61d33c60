#include "sorvik/RegionFile.h"

#include <cerrno>
#include <fstream>
#include <stdexcept>
#include <system_error>

namespace Program {
namespace {

/// One more than the longest text of a region, so that longer ones are refused unread.
constexpr std::size_t kMostBytes = (std::size_t{8} << 20U) + 1;

std::string readText(const std::string& file) {
  errno = 0;
  std::ifstream stream(file, std::ios::binary);
  std::string text(kMostBytes, '\0');
  stream.read(text.data(), static_cast<std::streamsize>(text.size()));
  text.resize(static_cast<std::size_t>(stream.gcount()));
  // A folder opens, but cannot be read.
  if (!stream.is_open() || stream.bad()) throw std::runtime_error(std::generic_category().message(errno));
  return text;
}

}  // namespace

Sorvik::ClippingRegion readRegion(const std::string& file, const std::array<double, 3>& origin) {
  try {
    return Sorvik::ClippingRegion::parse(readText(file), origin);
  } catch (const std::runtime_error& error) {
    throw std::runtime_error(file + ": " + error.what());
  }
}

}  // namespace Program
