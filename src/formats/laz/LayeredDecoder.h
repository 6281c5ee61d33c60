#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "core/FormatError.h"
#include "formats/laz/LayeredItem.h"
#include "formats/laz/LazVlr.h"

namespace Formats::Laz {

/// Which attributes a decoder is asked for: the others keep the values of a chunk's first point.
enum class Wanted { All, Coordinates };

/// What stands before the layers of a chunk.
struct LayeredChunkHead {
  std::uint32_t numPoints = 0;
  std::vector<std::uint32_t> layerSizes;
  std::size_t size = 0;  ///< bytes of the first point and of this head

  /// Bytes of the whole chunk.
  [[nodiscard]] std::uint64_t chunkSize() const;
};

/// Decodes the points of layered chunks, as many at a time as are wanted. Keeps its memory from chunk to
/// chunk. Threads: for one at a time.
class LayeredDecoder {
 public:
  /// @param items  of types and versions of layered chunks; POINT14 comes first.
  explicit LayeredDecoder(const std::vector<Item>& items);

  /// The head of a chunk.
  /// @param bytes  the chunk's, from its beginning on: all, or at least headSize() of them.
  /// @throws FormatError when they are cut short, or when there are points and no bytes for them.
  [[nodiscard]] LayeredChunkHead readHead(std::span<const std::byte> bytes, const Core::Source& source) const;
  [[nodiscard]] std::size_t headSize() const;

  /// Begins a chunk.
  /// @param chunk   its bytes; they outlive its decoding and are followed by kLookahead readable bytes.
  /// @param source  what the bytes belong to, with their offset; its name outlives this, too.
  /// @throws FormatError when the layers do not fit the bytes.
  LayeredChunkHead start(std::span<const std::byte> chunk, const Core::Source& source,
                         Wanted wanted = Wanted::All);

  /// Writes the records of the next points.
  /// @param[out] records  room for whole records.
  /// @throws FormatError naming the layer that ended too soon. Records before may have been written.
  void decode(std::span<std::byte> records);

 private:
  struct Part {
    std::size_t offset = 0;  // in the record
    std::unique_ptr<LayeredItem> decoder;
  };

  void decodeSome(const LayeredPoints& points);
  void checkLayers() const;

  std::vector<Part> parts_;
  std::size_t recordLength_ = 0;
  std::size_t numLayers_ = 0;
  const std::byte* first_ = nullptr;  // the first point, until it was handed out
  std::vector<PointTrace> traces_;
  Core::Source source_;
};

}  // namespace Formats::Laz
