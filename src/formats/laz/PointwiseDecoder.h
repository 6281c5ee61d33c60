#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "core/FormatError.h"
#include "formats/laz/LazVlr.h"
#include "formats/laz/PointwiseItem.h"
#include "formats/laz/RangeDecoder.h"

namespace Formats::Laz {

/// Decodes point-wise compressed points, as many at a time as are wanted: a chunk, or all points of a file
/// without chunks. Keeps its memory from chunk to chunk. Threads: for one at a time.
class PointwiseDecoder {
 public:
  /// @param items  of types and versions of point-wise compression.
  explicit PointwiseDecoder(const std::vector<Item>& items);

  /// Begins with a first point.
  /// @param bytes   the stream from that point on, or the first part of it. They outlive their use and are
  ///                followed by kLookahead readable bytes.
  /// @param source  what the bytes belong to, with their offset; its name outlives this, too.
  /// @throws FormatError when there is no room for the point.
  void start(std::span<const std::byte> bytes, const Core::Source& source);

  /// Goes on with other bytes of the same stream, those that follow the position() bytes that were used. The
  /// first point must have been decoded.
  void continueIn(std::span<const std::byte> bytes);

  /// Writes the records of the next points.
  /// @param[out] records  room for whole records.
  /// @throws FormatError naming the item that the bytes ended in. Records before may have been written.
  void decode(std::span<std::byte> records);

  /// The bytes used since start() or continueIn().
  [[nodiscard]] std::size_t position() const { return behind_ + decoder_.position(); }

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
  Core::Source source_;
};

}  // namespace Formats::Laz
