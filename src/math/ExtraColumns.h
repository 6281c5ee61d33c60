#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "math/Attribute.h"
#include "math/UninitialisedAllocator.h"

namespace Math {

/// Attributes of all points of a container that have no column of their own there: under their stored names
/// and in their stored types, the values of a point one behind the other. Which ones there are is fixed from
/// the start and shared by copies; a column is as long as its container, or absent (empty).
/// Threads: const calls are safe together.
class ExtraColumns {
 public:
  /// No columns.
  ExtraColumns() = default;
  /// Absent columns of these attributes, in that order. Names are to differ (not checked).
  explicit ExtraColumns(std::vector<Attribute> attributes);

  [[nodiscard]] std::span<const Attribute> attributes() const;
  /// The number of the column of that name.
  [[nodiscard]] std::optional<std::size_t> find(std::string_view name) const;
  /// The values of a column, aligned for their type.
  [[nodiscard]] std::span<const std::byte> bytes(std::size_t column) const { return columns_[column]; }

  /// Makes the column @p size points long for writing. Points that it did not hold before are left unwritten
  /// below @p written, which the caller fills, and are zeros from there on.
  std::span<std::byte> prepare(std::size_t column, std::size_t size, std::size_t written);

  /// Writes points [first, first + count) of a prepared column (not checked).
  /// @param values  the first point's; each next one's stand @p step bytes behind.
  void store(std::size_t column, std::size_t first, std::size_t count, const std::byte* values,
             std::size_t step);

  /// Changes the length of the columns that are not absent; new points hold zeros. 0 makes all absent.
  void resize(std::size_t size);
  /// Makes the absent columns @p size zeros long.
  void complete(std::size_t size);

  /// The points of @p from at @p indices, in that order; columns absent there are absent. Indices are not
  /// checked.
  [[nodiscard]] static ExtraColumns fromIndices(const ExtraColumns& from,
                                                std::span<const std::uint32_t> indices);

  /// Bytes allocated for the columns.
  [[nodiscard]] std::size_t byteSize() const;

 private:
  using Bytes = std::vector<std::byte, UninitialisedAllocator<std::byte>>;

  std::shared_ptr<const std::vector<Attribute>> attributes_;  // null: none
  std::vector<Bytes> columns_;                                // one an attribute
};

}  // namespace Math
