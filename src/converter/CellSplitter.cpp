#include "converter/CellSplitter.h"

#include <algorithm>
#include <bit>

#include "converter/CellBuffers.h"
#include "converter/SortedPoints.h"
#include "converter/WorkerThreads.h"

namespace Converter {
namespace {

constexpr std::size_t kBufferBytes = 128 << 10U;

struct Splitter {
  std::uint64_t mostBytes;
  std::size_t stride;
  const OutputGrid& grid;
  TempStore& store;
  const std::stop_token& stopToken;
  std::vector<StoredCell> done;

  template <class Work>
  void eachRecord(std::size_t cell, const Work& work) {
    RawBytes bytes;
    for (const TempStore::Piece& piece : store.piecesOf(cell)) {
      throwIfStopped(stopToken);
      bytes.resize(piece.size);
      store.read(piece, bytes);
      for (std::size_t at = 0; at < bytes.size(); at += stride) work(bytes.data() + at);
    }
  }

  /// The same cell, as that of the deepest node that holds all its points.
  StoredCell narrowed(const StoredCell& cell) {
    CubePoint first;
    CubePoint differing;
    bool any = false;
    eachRecord(cell.cell, [&](const std::byte* record) {
      const CubePoint p = grid.cubePoint(positionOf(record));
      if (!any) first = p;
      any = true;
      differing = {differing.x | (p.x ^ first.x), differing.y | (p.y ^ first.y),
                   differing.z | (p.z ^ first.z)};
    });
    const bool onePlace = differing == CubePoint{};
    const auto commonLevels =
        static_cast<unsigned>(std::countl_zero(differing.x | differing.y | differing.z));
    const auto deepest = static_cast<unsigned>(Octree::OctreeNodeId::kDeepestLevel);
    Octree::OctreeNodeId node = cell.id;
    for (auto level = static_cast<unsigned>(node.level()); level < std::min(commonLevels, deepest); ++level) {
      node = node.child(static_cast<std::uint8_t>(childIndexAt(first, level)));
    }
    return {node, cell.cell, onePlace};
  }

  void run(const StoredCell& cell) {
    if (store.bytesOf(cell.cell) <= mostBytes) {
      done.push_back(cell);
      return;
    }
    const StoredCell inner = narrowed(cell);
    if (inner.id.level() == Octree::OctreeNodeId::kDeepestLevel) {
      done.push_back(inner);
      return;
    }
    const CellTree children = CellTree::childrenOf(inner.id);
    const std::size_t first = store.addCells(children.size());
    CellBuffers buffers(store, first, children.size(), stride, kBufferBytes);
    eachRecord(cell.cell, [&](const std::byte* record) {
      buffers.add(children.cellOf(grid.cubePoint(positionOf(record))), record);
    });
    buffers.flush();
    store.discard(cell.cell);
    for (std::size_t child = 0; child < children.size(); ++child) run({children.id(child), first + child});
  }
};

}  // namespace

std::vector<StoredCell> splitLargeCells(const std::vector<StoredCell>& cells, std::uint64_t mostBytes,
                                        std::size_t stride, const OutputGrid& grid, TempStore& store,
                                        const std::stop_token& stopToken) {
  Splitter splitter{mostBytes, stride, grid, store, stopToken, {}};
  for (const StoredCell& cell : cells) splitter.run(cell);
  return std::move(splitter.done);
}

}  // namespace Converter
