#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "brotli/Commands.h"

namespace Brotli {

/// How the two bytes before a literal make its context (RFC 7932, section 7.1): their values are the modes'
/// numbers in a stream.
enum class ContextMode : std::uint8_t { LowBits = 0, HighBits = 1, Signed = 3 };

inline constexpr std::size_t kNumContexts = 64;

/// The contexts of a mode by table: context = ofLast[last byte] | ofSecondLast[the byte before].
struct ContextTable {
  std::array<std::uint8_t, 256> ofLast;
  std::array<std::uint8_t, 256> ofSecondLast;

  [[nodiscard]] std::size_t context(std::byte last, std::byte secondLast) const {
    return static_cast<std::size_t>(ofLast[std::to_integer<std::size_t>(last)] |
                                    ofSecondLast[std::to_integer<std::size_t>(secondLast)]);
  }
};

[[nodiscard]] const ContextTable& contextTable(ContextMode mode);

/// Which literals of a segment share a code.
struct LiteralModel {
  static constexpr std::size_t kMostClusters = 4;

  ContextMode mode = ContextMode::LowBits;
  std::size_t numClusters = 1;
  std::array<std::uint8_t, kNumContexts> clusterOf{};  ///< by context
};

/// Chooses mode and clusters by a sample of the segment's literals, so that separate codes save more than
/// their descriptions take.
/// @param numLiterals  of the segment.
[[nodiscard]] LiteralModel chooseLiteralModel(std::span<const std::byte> data, const MetaBlock& block,
                                              const Segment& segment, std::size_t numLiterals);

}  // namespace Brotli
