#include "graphics/Png.h"

#include <png.h>

#include <string>

namespace Graphics {
namespace {

std::string imageOf(std::size_t width, std::size_t height) {
  return "an image of " + std::to_string(width) + " x " + std::to_string(height) + " pixels ";
}

/// What libpng keeps for an image goes with this object.
struct PngImage : png_image {
  PngImage() : png_image{} { version = PNG_IMAGE_VERSION; }
  ~PngImage() { png_image_free(this); }
  PngImage(const PngImage&) = delete;
  PngImage& operator=(const PngImage&) = delete;
};

}  // namespace

void checkPngSize(std::size_t width, std::size_t height) {
  if (width == 0 || height == 0) throw PngError(imageOf(width, height) + "cannot be a PNG file: it is empty");
  if (width > kLongestPngSide || height > kLongestPngSide) {
    throw PngError(imageOf(width, height) + "cannot be written as PNG: a side has at most " +
                   std::to_string(kLongestPngSide));
  }
  if (width * height > kMostPngPixels) {
    throw PngError(imageOf(width, height) + "cannot be written as PNG: at most " +
                   std::to_string(kMostPngPixels) + " in all");
  }
}

std::vector<std::byte> encodePng(std::span<const Math::Color> pixels, std::size_t width, std::size_t height) {
  checkPngSize(width, height);
  PngImage image;
  image.width = static_cast<png_uint_32>(width);
  image.height = static_cast<png_uint_32>(height);
  image.format = PNG_FORMAT_RGBA;
  const std::size_t rawSize =
      (width * sizeof(Math::Color) + 1) * height;  // a filter's number before each row
  png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX_(image, rawSize);
  std::vector<std::byte> bytes(size);
  constexpr int kAsItIs = 0;      // no conversion to 8 bits
  constexpr int kRowsInARow = 0;  // the stride is that of the width
  if (png_image_write_to_memory(&image, bytes.data(), &size, kAsItIs, pixels.data(), kRowsInARow, nullptr) ==
      0) {
    throw PngError(imageOf(width, height) + "cannot be written as PNG: " + image.message);
  }
  bytes.resize(size);
  return bytes;
}

}  // namespace Graphics
