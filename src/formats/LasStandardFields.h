#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace Formats {

inline constexpr std::uint8_t kFirstExtendedLasFormat = 6;  // from here on records have the layout of LAS 1.4

/// Where a point format keeps what not all formats have; 0: it has none.
struct LasOptionalParts {
  std::size_t gpsTime;
  std::size_t rgb;
  std::size_t nir;
};

inline constexpr std::array<LasOptionalParts, 11> kLasOptionalParts{{{0, 0, 0},
                                                                     {20, 0, 0},
                                                                     {0, 20, 0},
                                                                     {20, 28, 0},
                                                                     {20, 0, 0},
                                                                     {20, 28, 0},
                                                                     {22, 0, 0},
                                                                     {22, 30, 0},
                                                                     {22, 30, 36},
                                                                     {22, 0, 0},
                                                                     {22, 30, 36}}};

/// Takes all standard attributes of a point format (see LasPointDecoder) out of @p count records at once:
/// attribute i of record p goes to out + p * stride + offsets[i].
using StandardFieldsDecoder = void (*)(const std::byte* records, std::size_t recordLength, std::size_t count,
                                       std::byte* out, std::size_t stride, const std::size_t* offsets);

/// The one for a point format of 0 to 10.
[[nodiscard]] StandardFieldsDecoder standardFieldsDecoder(std::uint8_t pointFormat);

}  // namespace Formats
