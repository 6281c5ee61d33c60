#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "math/Attribute.h"
#include "octree/potree/MetaData.h"

namespace PoTree {

/// Where the attributes that are read stand in a node's data: the sum of the bytes a point of the attributes
/// before. In uncompressed data that is the offset in a record, in brotli data the block's start divided by
/// the number of points.
struct AttributeStarts {
  static constexpr std::size_t kAbsent = SIZE_MAX;

  std::size_t position = kAbsent;
  std::size_t color = kAbsent;
  std::size_t intensity = kAbsent;
  std::size_t classification = kAbsent;
  std::size_t visibility = kAbsent;
  std::size_t normalOct16 = kAbsent;
  std::array<std::size_t, 3> normalXyz{kAbsent, kAbsent, kAbsent};  ///< all three or none
  std::size_t stride = 0;                                           ///< the sum over all attributes
};

[[nodiscard]] AttributeStarts attributeStarts(const MetaData& metaData);

/// How the values of a column stand in a node's data.
enum class ColumnForm {
  Plain,     ///< as in the column
  Position,  ///< as the decoder's stored positions
  Color      ///< as the decoder's stored colours
};

/// An attribute that fills an extra column.
struct ExtraAttribute {
  std::size_t column = 0;  ///< its number among the wanted ones
  std::size_t start = 0;   ///< as in AttributeStarts
  ColumnForm form = ColumnForm::Plain;
};

/// Those of @p wanted that this octree stores with the same name, type and number of elements.
[[nodiscard]] std::vector<ExtraAttribute> extraAttributes(const MetaData& metaData,
                                                          std::span<const Math::Attribute> wanted);

/// An attribute of the list as a column holds it: in its stored type, with as many elements as its size says
/// (positions: three), its scale and offset left empty where they are 1 and 0; those of positions are the
/// octree's. Nothing when the type is not known, and for positions, or colours in compressed data, that are
/// not stored in the form that the decoder reads.
[[nodiscard]] std::optional<Math::Attribute> columnAttribute(const MetaData& metaData,
                                                             const Attribute& attribute);

}  // namespace PoTree
