#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/FormatError.h"

namespace Formats::Laz {

/// The record that says how the points of a file are compressed.
inline constexpr std::string_view kVlrUserId = "laszip encoded";
inline constexpr std::uint16_t kVlrRecordId = 22204;

/// How the points of a file follow each other.
enum class Compressor : std::uint16_t {
  None = 0,       ///< records as they are
  PointWise = 1,  ///< one stream of all points
  Chunked = 2,    ///< chunks of points, each a stream
  Layered = 3     ///< chunks of points, each with a stream for every attribute
};

/// The parts of point records that are compressed together.
enum class ItemType : std::uint16_t {
  Byte = 0,
  Point10 = 6,
  GpsTime11 = 7,
  Rgb12 = 8,
  WavePacket13 = 9,
  Point14 = 10,
  Rgb14 = 11,
  RgbNir14 = 12,
  WavePacket14 = 13,
  Byte14 = 14
};

struct Item {
  ItemType type = ItemType::Byte;
  std::uint16_t size = 0;  ///< bytes of the record
  std::uint16_t version = 0;

  bool operator==(const Item&) const = default;
};

/// "POINT10 version 2", for messages.
[[nodiscard]] std::string nameOf(const Item& item);

/// How the points of a LAZ file are compressed, checked: the compressor is known, and its items are of known
/// types, sizes and versions that go with it. (LASzip record, user id "laszip encoded", record id 22204.)
struct LazVlr {
  static constexpr std::uint32_t kVariableChunkSize = UINT32_MAX;
  static constexpr std::uint32_t kUsualChunkSize = 50'000;

  Compressor compressor = Compressor::Chunked;
  /// Points of each chunk but the last, or kVariableChunkSize where the chunk table counts them; never 0.
  std::uint32_t chunkSize = kUsualChunkSize;
  std::vector<Item> items;  ///< in the order of the record; at least one

  /// Bytes of a point record: the sum of the items' sizes.
  [[nodiscard]] std::size_t recordLength() const;

  bool operator==(const LazVlr&) const = default;
};

/// Reads the record's data.
/// @throws FormatError naming the field or the item that is not known, does not go with the compressor, or is
///         cut short.
[[nodiscard]] LazVlr readLazVlr(std::span<const std::byte> data, const Core::Source& source);

/// The record's data, as readLazVlr() takes them.
[[nodiscard]] std::vector<std::byte> writeLazVlr(const LazVlr& vlr);

/// What points of a format are written as: formats 0 to 5 in chunks of items of version 2 (waveforms of
/// version 1), 6 to 10 in layered chunks of items of version 3.
/// @throws std::invalid_argument for a point format above 10.
[[nodiscard]] LazVlr lazVlrFor(std::uint8_t pointFormat, std::uint16_t numExtraBytes,
                               std::uint32_t chunkSize = LazVlr::kUsualChunkSize);

/// Whether the items are those of a point format, in its order, and nothing but extra bytes behind them.
[[nodiscard]] bool isOfPointFormat(const LazVlr& vlr, std::uint8_t pointFormat);

}  // namespace Formats::Laz
