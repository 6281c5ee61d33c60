#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Testing {

static_assert(std::endian::native == std::endian::little, "the files we write are little-endian");

/// The little-endian bytes of numbers, one after the other, as wide as their types.
template <class... Numbers>
[[nodiscard]] std::string littleEndian(Numbers... numbers) {
  std::string bytes;
  const auto append = [&bytes](const auto& number) {
    char raw[sizeof(number)];
    std::memcpy(raw, &number, sizeof(number));
    bytes.append(raw, sizeof(number));
  };
  (append(numbers), ...);
  return bytes;
}

/// All that can be stored for one point.
struct StoredPoint {
  std::array<std::uint32_t, 3> position{};
  std::array<std::uint16_t, 3> rgb{};
  std::uint16_t intensity = 0;
  std::uint8_t classification = 0;
  std::uint8_t visibility = 0;
  std::uint16_t normalOct16 = 0;
  std::array<double, 3> normal{};
};

/// One attribute as the common writer declares it.
struct DeclaredAttribute {
  std::string_view name;
  int size;  ///< bytes a point
  int numElements;
  std::string_view type;
};

/// The declaration of an attribute: those of StoredPoint under their stored names, and the fillers
/// "gps-time", "return number" and "ScanIndex", whose bytes follow from the point's intensity.
/// @throws std::invalid_argument for any other name.
[[nodiscard]] const DeclaredAttribute& declaredAttribute(std::string_view name);

/// The two 64-bit Morton codes of a position, that of the high 16 bits first, made bit by bit.
[[nodiscard]] std::string mortonCode(const std::array<std::uint32_t, 3>& position);
/// The 64-bit Morton code of a colour, red in bit 0, made bit by bit.
[[nodiscard]] std::string mortonCode(const std::array<std::uint16_t, 3>& rgb);

/// Uncompressed node data: a record a point, attributes in the order of @p names.
[[nodiscard]] std::string encodeRecords(std::span<const StoredPoint> points,
                                        std::span<const std::string> names);
/// What brotli node data hold once they are decompressed: a block an attribute.
[[nodiscard]] std::string encodeBlocks(std::span<const StoredPoint> points,
                                       std::span<const std::string> names);

/// Points with all values at random, from a seed.
[[nodiscard]] std::vector<StoredPoint> randomPoints(std::size_t count, std::uint32_t seed);

}  // namespace Testing
