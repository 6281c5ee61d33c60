#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "converter/RecordLayout.h"
#include "octree/potree/MetaData.h"

namespace Converter {

/// From the points of one node to its bytes in the octree data file. Pure.
/// Threads: encode() is safe together.
class NodeEncoder {
 public:
  virtual ~NodeEncoder() = default;

  /// @param records  whole interleaved point records.
  /// @param scratch  where the bytes are put unless they are the records themselves; what it held is lost.
  /// @return the bytes of the node, a view of @p records or of @p scratch; none for no records.
  /// @throws std::invalid_argument when a point cannot be stored so that readers find it.
  [[nodiscard]] virtual std::span<const std::byte> encode(std::span<const std::byte> records,
                                                          std::string& scratch) const = 0;
};

/// How brotli nodes are compressed; of no meaning to uncompressed data.
enum class NodeCompression {
  Columns,  ///< by what columns of points have in common (Brotli::ColumnEncoder)
  Search    ///< by a general search for matches: libbrotli at quality 9
};

[[nodiscard]] std::unique_ptr<NodeEncoder> makeNodeEncoder(
    PoTree::Encoding encoding, RecordLayout layout, NodeCompression compression = NodeCompression::Columns);

/// The content of a brotli node before compression: one block an attribute, in list order, positions and
/// colours as Morton codes. Points are ordered by position code, equal ones as they came; without positions
/// the order stays.
/// @throws std::invalid_argument naming a position that readers would not find again
/// (PositionCode::readable).
[[nodiscard]] std::vector<std::byte> attributeBlocks(std::span<const std::byte> records,
                                                     const RecordLayout& layout);

}  // namespace Converter
