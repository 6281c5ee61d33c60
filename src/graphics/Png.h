#pragma once

#include <cstddef>
#include <span>
#include <stdexcept>
#include <vector>

#include "math/Color.h"

namespace Graphics {

/// A picture that the encoder refuses; the text says why, without a path.
class PngError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The longest side that is written: libpng refuses longer ones, against decompression bombs.
inline constexpr std::size_t kLongestPngSide = 1'000'000;
/// The most pixels: libpng counts the bytes of a picture in 32 bits.
inline constexpr std::size_t kMostPngPixels = 0xFFFFFFFF / sizeof(Math::Color);

/// Refuses sizes of which no PNG file is made: no pixels, or more than the limits above.
/// @throws PngError with the sizes and the limit.
void checkPngSize(std::size_t width, std::size_t height);

/// The bytes of a PNG file (ISO/IEC 15948): sRGB, 8 bits a channel, with alpha. The same picture makes the
/// same bytes with the same versions of libpng and zlib.
/// @param pixels  width * height of them, rows from the top.
/// @throws PngError for a size that checkPngSize() refuses, and with libpng's reason.
[[nodiscard]] std::vector<std::byte> encodePng(std::span<const Math::Color> pixels, std::size_t width,
                                               std::size_t height);

}  // namespace Graphics
