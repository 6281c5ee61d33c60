#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "brotli/BitWriter.h"

namespace Brotli {

/// Writes the number of codes and, where there are several, which of them each context uses (RFC 7932,
/// section 7.3).
void writeContextMap(std::span<const std::uint8_t> map, std::size_t numCodes, BitWriter& out);

/// An upper bound of what writeContextMap() writes.
[[nodiscard]] std::uint64_t mostContextMapBits(std::size_t numContexts, std::size_t numCodes);

}  // namespace Brotli
