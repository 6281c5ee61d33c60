#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

#include "core/ByteReader.h"

namespace Formats::Laz {

// What the records of all point formats begin with, and what is coded alike for all.

inline unsigned byteAt(const std::byte* record, std::size_t offset) {
  return std::to_integer<unsigned>(record[offset]);
}
inline std::uint16_t wordAt(const std::byte* record, std::size_t offset) {
  return Core::loadLittleEndian<std::uint16_t>(record + offset);
}
inline std::int32_t xOf(const std::byte* record) { return Core::loadLittleEndian<std::int32_t>(record); }
inline std::int32_t yOf(const std::byte* record) { return Core::loadLittleEndian<std::int32_t>(record + 4); }
inline std::int32_t zOf(const std::byte* record) { return Core::loadLittleEndian<std::int32_t>(record + 8); }
inline std::uint16_t intensityOf(const std::byte* record) { return wordAt(record, 12); }

inline bool anyBit(std::span<const std::byte> bytes) {
  return std::any_of(bytes.begin(), bytes.end(), [](std::byte bits) { return bits != std::byte{0}; });
}

/// Modulo 2^32.
inline std::int32_t wrappedDifference(std::int32_t a, std::int32_t b) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) - static_cast<std::uint32_t>(b));
}

inline constexpr std::size_t kYContexts = 22;
inline constexpr std::size_t kZContexts = 20;

/// The even context of y, whose odd neighbour is that of single returns, by the class of x's correction.
inline std::size_t yContext(std::uint32_t xClass) { return std::min(xClass & ~1U, 20U); }
/// The same of z, by the classes of both corrections.
inline std::size_t zContext(std::uint32_t xClass, std::uint32_t yClass) {
  return std::min((xClass + yClass) / 2 & ~1U, 18U);
}

}  // namespace Formats::Laz
