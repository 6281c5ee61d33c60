#pragma once

#include <cstddef>
#include <cstdint>
#include <stop_token>
#include <vector>

#include "converter/CellTree.h"
#include "converter/OutputGrid.h"
#include "converter/TempStore.h"

namespace Converter {

/// A cell of the store that holds the points of an octree node.
struct StoredCell {
  Octree::OctreeNodeId id;
  std::size_t cell = 0;
  bool onePlace = false;  ///< whether it was found that all its points lie in one place
};

/// Distributes cells that turned out too large again, until each one holds at most @p mostBytes, or points of
/// one place alone, or lies at the deepest level.
/// @param cells  along the Z curve, and so is what is returned.
/// @throws ConversionError, ConversionCancelled.
[[nodiscard]] std::vector<StoredCell> splitLargeCells(const std::vector<StoredCell>& cells,
                                                      std::uint64_t mostBytes, std::size_t stride,
                                                      const OutputGrid& grid, TempStore& store,
                                                      const std::stop_token& stopToken);

}  // namespace Converter
