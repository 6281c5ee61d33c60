#include "converter/RecordLayout.h"

namespace Converter {

std::size_t RecordColumn::encodedSize() const {
  constexpr std::size_t kPositionCodeSize = 16;
  constexpr std::size_t kColorCodeSize = 8;
  switch (kind) {
    case ColumnKind::Position:
      return kPositionCodeSize;
    case ColumnKind::Color:
      return kColorCodeSize;
    case ColumnKind::Raw:
      break;
  }
  return size;
}

RecordLayout::RecordLayout(std::span<const PoTree::Attribute> attributes) {
  for (const PoTree::Attribute& attribute : attributes) {
    RecordColumn column{ColumnKind::Raw, stride, static_cast<std::size_t>(attribute.size)};
    if (attribute.name == "position") {
      column.kind = ColumnKind::Position;
      positionOffset = stride;
    } else if (attribute.name == "rgb") {
      column.kind = ColumnKind::Color;
    }
    columns.push_back(column);
    stride += column.size;
  }
}

}  // namespace Converter
