#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

#include "core/LittleEndian.h"

namespace Testing {

using Bytes = std::vector<std::byte>;

/// Columns of elements of fixed size, one behind the other.
struct Columns {
  std::size_t numElements = 0;
  std::vector<std::size_t> strides;
  Bytes data;

  /// Adds a column of @p numElements elements.
  Columns& add(std::size_t stride, const Bytes& column);
};

/// The same on every machine.
[[nodiscard]] Bytes randomBytes(std::size_t size, std::uint64_t seed = 1);

/// @p count values, value(i) each, as little-endian bytes.
template <class Value>
[[nodiscard]] Bytes columnOf(std::size_t count, const Value& value) {
  using Number = decltype(value(std::size_t{0}));
  Bytes bytes(count * sizeof(Number));
  for (std::size_t i = 0; i < count; ++i)
    Core::storeLittleEndian(bytes.data() + i * sizeof(Number), value(i));
  return bytes;
}

/// Elements of @p stride bytes whose bytes are, in turn, slowly rising, of few values, random, and as they
/// were in an element before.
[[nodiscard]] Bytes variedColumn(std::size_t count, std::size_t stride, std::uint64_t seed = 1);

/// What libbrotli makes of @p stream.
/// @throws std::runtime_error when it refuses it, or when there are more than @p mostSize bytes.
[[nodiscard]] Bytes decoded(std::span<const std::byte> stream, std::size_t mostSize);

/// The stream that a new encoder makes of the columns.
[[nodiscard]] Bytes encoded(const Columns& columns);

}  // namespace Testing
