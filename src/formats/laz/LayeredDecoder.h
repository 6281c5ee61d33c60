#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "core/FormatError.h"
#include "formats/laz/ChunkDecoder.h"
#include "formats/laz/LayeredItem.h"
#include "formats/laz/LazVlr.h"

namespace Formats::Laz {

/// What stands before the layers of a chunk.
struct LayeredChunkHead {
  std::uint32_t numPoints = 0;
  std::vector<std::uint32_t> layerSizes;
  std::size_t size = 0;  ///< bytes of the first point and of this head

  /// Bytes of the whole chunk.
  [[nodiscard]] std::uint64_t chunkSize() const;
};

/// Decodes the points of layered chunks.
class LayeredDecoder final : public ChunkDecoder {
 public:
  /// @param items  of types and versions of layered chunks; POINT14 comes first.
  explicit LayeredDecoder(const std::vector<Item>& items);

  /// The head of a chunk.
  /// @param bytes  the chunk's, from its beginning on: all, or at least headSize() of them.
  /// @throws FormatError when they are cut short, or when there are points and no bytes for them.
  [[nodiscard]] LayeredChunkHead readHead(std::span<const std::byte> bytes, const Core::Source& source) const;
  [[nodiscard]] std::size_t headSize() const;

  void start(std::span<const std::byte> chunk, std::uint64_t numPoints, const Core::Source& source,
             Wanted wanted) override;
  void decode(std::span<std::byte> records) override;
  void finish() const override;

 private:
  struct Part {
    std::size_t offset = 0;  // in the record
    std::unique_ptr<LayeredItem> decoder;
  };

  void decodeSome(const LayeredPoints& points);
  void checkLayers() const;
  /// The place of a layer in the source.
  [[nodiscard]] Core::Source placeOf(const Layer& layer) const;

  std::vector<Part> parts_;
  std::size_t recordLength_ = 0;
  std::size_t numLayers_ = 0;
  const std::byte* chunk_ = nullptr;
  bool hasFirst_ = false;  // whether the first point was not handed out yet
  std::vector<PointTrace> traces_;
  Core::Source source_;
};

}  // namespace Formats::Laz
