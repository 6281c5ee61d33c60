#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>

#include "Sorvik/AttributeType.h"
#include "Sorvik/Span.h"

namespace Sorvik {

/// The values of one attribute of all points of a chunk, as they are stored. A view: the chunk or a copy of
/// it must outlive it. Threads: const calls are safe together.
class AttributeColumn {
 public:
  /// No column, of no points.
  constexpr AttributeColumn() noexcept = default;

  /// @param numElements  values a point; not 0 unless there is no column.
  /// @param bytes        the values, aligned for their type: all those of point 0, then of point 1, ...
  constexpr AttributeColumn(AttributeType type, std::uint32_t numElements,
                            Span<const std::byte> bytes) noexcept
      : type_(type), numElements_(numElements), bytes_(bytes) {}

  [[nodiscard]] constexpr AttributeType type() const noexcept { return type_; }
  /// Values a point; 0 when there is no column.
  [[nodiscard]] constexpr std::uint32_t numElements() const noexcept { return numElements_; }
  /// The number of points.
  [[nodiscard]] constexpr std::uint64_t size() const noexcept {
    return numElements_ == 0 ? 0 : bytes_.size() / (numElements_ * sizeOf(type_));
  }
  [[nodiscard]] constexpr bool empty() const noexcept { return size() == 0; }

  /// The values as they lie in memory, in the machine's byte order.
  [[nodiscard]] constexpr Span<const std::byte> bytes() const noexcept { return bytes_; }

  /// numElements() values a point; none when there is no column, whatever the type.
  /// @throws std::invalid_argument when the values are not of type T.
  template <AttributeValue T>
  [[nodiscard]] Span<const T> values() const {
    if (numElements_ == 0) return {};
    if (type_ != attributeTypeOf<T>()) throw std::invalid_argument("Error: attribute is of another type");
    return {reinterpret_cast<const T*>(bytes_.data()), bytes_.size() / sizeof(T)};
  }

 private:
  AttributeType type_ = AttributeType::UInt8;
  std::uint32_t numElements_ = 0;
  Span<const std::byte> bytes_;
};

}  // namespace Sorvik
