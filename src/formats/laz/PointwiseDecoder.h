#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "core/FormatError.h"
#include "formats/laz/ChunkDecoder.h"
#include "formats/laz/LazVlr.h"
#include "formats/laz/PointwiseItem.h"
#include "formats/laz/RangeDecoder.h"

namespace Formats::Laz {

/// Decodes point-wise compressed points: a chunk, or all points of a file without chunks, whose bytes may
/// come in parts.
class PointwiseDecoder final : public ChunkDecoder {
 public:
  /// @param items  of types and versions of point-wise compression.
  explicit PointwiseDecoder(const std::vector<Item>& items);

  void start(std::span<const std::byte> chunk, std::uint64_t numPoints, const Core::Source& source,
             Wanted wanted) override;
  void decode(std::span<std::byte> records) override;
  void finish() const override;

  /// Goes on with other bytes of the same stream, those that follow the position() bytes that were used. The
  /// first point must have been decoded.
  void continueIn(std::span<const std::byte> bytes);

  /// The bytes used since start() or continueIn().
  [[nodiscard]] std::size_t position() const { return behind_ + decoder_.position(); }

  /// The points decoded since start(), also where decode() threw.
  [[nodiscard]] std::uint64_t numDecoded() const { return numDecoded_; }

  /// The most bytes of a stream that a point takes: an upper bound, far above what points usually take.
  [[nodiscard]] std::size_t mostBytesPerPoint() const { return 16 * recordLength_; }

 private:
  struct Part {
    Item item;
    std::size_t offset = 0;  // in the record
    std::unique_ptr<PointwiseItem> decoder;
  };

  [[noreturn]] void refuseEnd(const Item& item) const;

  std::vector<Part> parts_;
  std::size_t recordLength_ = 0;
  const std::byte* first_ = nullptr;  // the first point, until it was handed out
  RangeDecoder decoder_;
  std::size_t behind_ = 0;  // bytes used before those of decoder_
  std::size_t size_ = 0;    // of the bytes at hand
  std::uint64_t numDecoded_ = 0;
  Core::Source source_;
};

}  // namespace Formats::Laz
