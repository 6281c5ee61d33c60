#include "graphics/ColorImage.h"

#include <limits>
#include <stdexcept>
#include <string>

#include "core/ReplacingFile.h"
#include "graphics/Png.h"

namespace Graphics {
namespace {

std::size_t checkedPixelCount(std::size_t width, std::size_t height) {
  constexpr std::size_t kMostPixels = std::numeric_limits<std::ptrdiff_t>::max() / sizeof(Math::Color);
  if (height != 0 && width > kMostPixels / height) {
    throw std::length_error("an image of " + std::to_string(width) + " x " + std::to_string(height) +
                            " pixels is too large for memory");
  }
  return width * height;
}

}  // namespace

ColorImage::ColorImage(std::size_t width, std::size_t height)
    : width_(width), height_(height), pixels_(checkedPixelCount(width, height)) {}

void ColorImage::writePng(const std::filesystem::path& path) const {
  std::vector<std::byte> bytes;
  try {
    bytes = encodePng(pixels_, width_, height_);
  } catch (const PngError& error) {
    throw std::runtime_error(path.string() + ": " + error.what());
  }
  Core::ReplacingFile file(path);
  file.append(bytes);
  file.commit();
}

}  // namespace Graphics
