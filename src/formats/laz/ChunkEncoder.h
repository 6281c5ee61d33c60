#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "formats/laz/LazVlr.h"

namespace Formats::Laz {

/// Compresses the records of one chunk. Pure.
/// @param vlr      as lazVlrFor() gives it for a point format of 0 to 3 or 6 to 8.
/// @param records  whole records of vlr.recordLength() bytes, at least one.
/// @throws std::invalid_argument for items that are not written, and for records that are not whole ones.
[[nodiscard]] std::vector<std::byte> encodeChunk(const LazVlr& vlr, std::span<const std::byte> records);

/// The table that stands behind chunks of a fixed number of points.
/// @param chunkSizes  bytes of each, below 2^32.
[[nodiscard]] std::vector<std::byte> encodeChunkTable(std::span<const std::size_t> chunkSizes);

}  // namespace Formats::Laz
