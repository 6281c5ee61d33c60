#pragma once

#include <cstddef>
#include <filesystem>
#include <vector>

#include "math/Color.h"

namespace Graphics {

/// A picture: rows from the top, each from the left, four bytes a pixel (red, green, blue, alpha).
class ColorImage {
 public:
  /// Opaque black. Either side may be 0.
  /// @throws std::length_error naming the sides when there are more pixels than memory can hold at all;
  ///         std::bad_alloc.
  ColorImage(std::size_t width, std::size_t height);

  [[nodiscard]] std::size_t width() const { return width_; }
  [[nodiscard]] std::size_t height() const { return height_; }

  /// The pixel in column @p x from the left and row @p y from the top, both inside the picture (not checked).
  [[nodiscard]] Math::Color& operator()(std::size_t x, std::size_t y) { return pixels_[y * width_ + x]; }
  [[nodiscard]] const Math::Color& operator()(std::size_t x, std::size_t y) const {
    return pixels_[y * width_ + x];
  }

  /// All width() * height() pixels, valid while this object lives; of no meaning when there is none.
  [[nodiscard]] const Math::Color* data() const { return pixels_.data(); }

  /// Writes the picture as a PNG file (8 bits a channel, with alpha), which appears only when it is complete
  /// and replaces one that is there.
  /// @throws std::runtime_error, of which std::system_error is one, naming the path and the reason: no
  /// pixels,
  ///         a picture too large for PNG (encodePng()), a folder that is not there, a full disk, ...
  void writePng(const std::filesystem::path& path) const;

 private:
  std::size_t width_;
  std::size_t height_;
  std::vector<Math::Color> pixels_;
};

}  // namespace Graphics
