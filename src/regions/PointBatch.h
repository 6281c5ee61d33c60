#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "math/BoundingBox.h"

namespace Math {

/// Up to 512 points by axis, for tests of many points at a time. What is behind the last point of the last 64
/// repeats it.
struct PointBatch {
  static constexpr std::size_t kCapacity = 512;

  /// Left unwritten: who makes a batch fills it.
  alignas(64) float coordinates[3][kCapacity];
  std::size_t size = 0;
  /// A box that holds all points; none when a coordinate is not finite, or no box is known.
  std::optional<NBoundingBox<float, 3>> bounds;

  // A user-provided constructor, so that value-initialisation does not clear 6 KiB either.
  PointBatch() {}  // NOLINT(modernize-use-equals-default)

  [[nodiscard]] Point<float, 3> point(std::size_t i) const {
    return {{coordinates[0][i], coordinates[1][i], coordinates[2][i]}};
  }

  /// Repeats the last point to the end of its 64.
  void pad() {
    for (float(&axis)[kCapacity] : coordinates) {
      for (std::size_t i = size; i % kWordBits != 0; ++i) axis[i] = axis[size - 1];
    }
  }

  static constexpr std::size_t kWordBits = 64;
};

/// A bit for each point of a batch. Bits behind the last point are of no meaning.
struct PointMask {
  static constexpr std::size_t kNumWords = PointBatch::kCapacity / PointBatch::kWordBits;

  std::array<std::uint64_t, kNumWords> words{};

  [[nodiscard]] static PointMask filled(bool value) {
    PointMask mask;
    mask.words.fill(value ? ~std::uint64_t{0} : 0);
    return mask;
  }

  void invert() {
    for (std::uint64_t& word : words) word = ~word;
  }
  PointMask& operator&=(const PointMask& other) {
    for (std::size_t i = 0; i < kNumWords; ++i) words[i] &= other.words[i];
    return *this;
  }
  PointMask& operator|=(const PointMask& other) {
    for (std::size_t i = 0; i < kNumWords; ++i) words[i] |= other.words[i];
    return *this;
  }
};

}  // namespace Math
