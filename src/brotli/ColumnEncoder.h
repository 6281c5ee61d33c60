#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "brotli/BitWriter.h"
#include "brotli/ColumnParser.h"
#include "brotli/ColumnPlanner.h"
#include "brotli/Commands.h"
#include "brotli/MetaBlockWriter.h"

namespace Brotli {

/// Compresses columns of elements of fixed size into one brotli stream (RFC 7932) that any decoder reads:
/// made for point attributes, one column behind the other, whose points follow a space-filling curve. It
/// looks for copies only where such columns have them, and gives each column codes of its own;
/// docs/compression.md has the reasons and figures.
///
/// The same columns give the same bytes everywhere: integer arithmetic alone. The stream takes at most 8
/// bytes and one in a thousand more than the data. Beside the stream, memory is bounded by about 40 MiB and
/// 30 times the longest element; usually it is a few times the data. It is kept for the next stream. Not to
/// be used by two threads at once.
class ColumnEncoder {
 public:
  /// Bytes of the data that are parsed before they are written.
  static constexpr std::size_t kBlockBytes = std::size_t{1} << 21U;

  /// @param data         the columns behind each other.
  /// @param numElements  of each column; at most 2^32.
  /// @param strides      bytes of an element of each column, at least 1; with numElements they make up the
  ///                     data.
  /// @return the stream; valid until the next call.
  /// @throws std::invalid_argument when the strides do not make up the data.
  [[nodiscard]] std::span<const std::byte> encode(std::span<const std::byte> data, std::size_t numElements,
                                                  std::span<const std::size_t> strides);

 private:
  void encodeColumn(std::span<const std::byte> data, const ColumnRange& column);
  [[nodiscard]] std::size_t room() const;
  void finishBlock(std::span<const std::byte> data);

  BitWriter out_;
  ColumnPlanner planner_;
  ColumnParser parser_;
  MetaBlock block_;
  MetaBlockWriter writer_;
  LastDistances distances_{};
  std::uint32_t carried_ = 0;  // literals of the block since its last copy
};

}  // namespace Brotli
