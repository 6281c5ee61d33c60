#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "math/BoundingBox.h"
#include "math/Point.h"

namespace Math {

/// A mask of image pixels by alternating run lengths: row by row from the top left pixel, the first run is
/// out. What the runs leave over is out. Pixel (i, j) holds i <= x < i + 1 and j <= y < j + 1, so points on
/// the image's right and bottom edges are outside, as are those without numbers.
class ImageSegmentation {
 public:
  /// No pixels.
  ImageSegmentation() = default;
  /// @param counts  runs of length 0 are allowed.
  /// @throws std::invalid_argument when the runs are longer than the image, or the image has 2^63 pixels or
  ///         more.
  ImageSegmentation(std::uint64_t width, std::uint64_t height, std::vector<std::uint64_t> counts);

  [[nodiscard]] std::uint64_t width() const { return width_; }
  [[nodiscard]] std::uint64_t height() const { return height_; }
  [[nodiscard]] std::span<const std::uint64_t> counts() const { return counts_; }

  [[nodiscard]] bool inside(const Point<float, 2>& p) const;

  /// Whether a pixel that @p box touches in x and y is in, and whether all of them are.
  friend bool overlaps(const ImageSegmentation& shape, const NBoundingBox<float, 3>& box);
  friend bool contains(const ImageSegmentation& shape, const NBoundingBox<float, 3>& box);

  /// By size and run lengths.
  bool operator==(const ImageSegmentation&) const = default;

 private:
  /// Pixels of the image, the last ones included.
  struct Pixels {
    std::uint64_t minX, minY, maxX, maxY;
  };

  [[nodiscard]] std::size_t runOf(std::uint64_t pixel) const;
  [[nodiscard]] bool anyOf(bool in, const Pixels& pixels) const;

  std::uint64_t width_ = 0;
  std::uint64_t height_ = 0;
  std::vector<std::uint64_t> counts_;
  std::vector<std::uint64_t> ends_;  // of the runs, in pixels from the first
};

}  // namespace Math
