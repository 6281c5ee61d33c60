#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "octree/potree/MetaData.h"

namespace Converter {

/// How a column of the records is stored in brotli nodes.
enum class ColumnKind {
  Position,  ///< three 32-bit integers, as a PositionCode of 16 bytes
  Color,     ///< three 16-bit values, as a Morton code of 8 bytes
  Raw        ///< as it stands
};

/// One attribute within an interleaved point record; sizes and offsets in bytes.
struct RecordColumn {
  ColumnKind kind = ColumnKind::Raw;
  std::size_t offset = 0;
  std::size_t size = 0;

  /// Bytes that one point takes in a brotli node.
  [[nodiscard]] std::size_t encodedSize() const;
};

/// Where the attributes stand in a point record: in list order, without padding.
struct RecordLayout {
  std::vector<RecordColumn> columns;
  std::size_t stride = 0;
  std::optional<std::size_t> positionOffset;

  /// Of a list that checkWritable() (MetaDataCheck.h) accepts.
  explicit RecordLayout(std::span<const PoTree::Attribute> attributes);
};

}  // namespace Converter
