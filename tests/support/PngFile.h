#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace Testing {

using Rgba = std::array<std::uint8_t, 4>;

/// A PNG file as libpng reads it: rows from the top.
struct PngFile {
  std::size_t width = 0;
  std::size_t height = 0;
  std::vector<Rgba> pixels;

  [[nodiscard]] Rgba at(std::size_t x, std::size_t y) const { return pixels.at(y * width + x); }
};

/// @throws std::runtime_error with libpng's words when it is none.
[[nodiscard]] PngFile readPng(const std::filesystem::path& path);

}  // namespace Testing
