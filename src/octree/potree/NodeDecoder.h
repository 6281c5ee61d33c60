#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "math/SoAPointContainer.h"
#include "octree/potree/AttributePlaces.h"
#include "octree/potree/MetaData.h"

namespace PoTree {

/// What the decoder needs to know of an octree; the same for all its nodes.
struct NodeFormat {
  Encoding encoding = Encoding::Uncompressed;
  AttributeStarts starts;
  std::vector<ExtraAttribute> extras;  ///< those that fill extra columns
  std::uint64_t bytesPerPoint = 0;     ///< of decompressed data; what a node's number of points is counted by
  std::array<double, 3> scale{};
  double positionFactor = 1;
  std::array<std::uint16_t, 2> intensityRange{0, 65535};

  /// @param positionFactor  applied to every coordinate after the scale.
  /// @param wanted          the extra columns of the containers that are decoded into.
  NodeFormat(const MetaData& metaData, double positionFactor, std::span<const Math::Attribute> wanted = {});
};

/// Points [first, first + count) of a node.
struct PointRange {
  std::size_t first = 0;
  std::size_t count = 0;
};

/// Stored values of a range of points, as they stand in the file; what is not stored stays empty.
struct StoredPoints {
  std::vector<std::uint32_t> positions;  ///< three a point
  std::vector<std::uint16_t> colors;     ///< red, green, blue a point
  std::vector<std::uint16_t> intensities;
  std::vector<std::uint8_t> classes;
  std::vector<std::uint8_t> visibility;
  std::vector<float> normals;  ///< three a point
};

/// Takes @p range out of interleaved records. Pure; it allocates only when the arrays have to grow.
/// @param data  at least starts.stride * (range.first + range.count) bytes (not checked).
void decodeDefault(const AttributeStarts& starts, std::span<const std::byte> data, PointRange range,
                   StoredPoints& out);

/// Takes @p range out of decompressed blocks, one an attribute, of @p numPoints points. Pure, as above.
/// @param data  at least starts.stride * numPoints bytes (not checked).
void decodeBrotli(const AttributeStarts& starts, std::span<const std::byte> data, std::size_t numPoints,
                  PointRange range, StoredPoints& out);

/// The normal of an octahedral code, high byte u, low byte v (Meyer et al., "On Floating-Point Normal
/// Vectors", 2010): a unit vector.
[[nodiscard]] std::array<float, 3> decodeOct16(std::int16_t code);

/// Decodes the whole points that @p data (decompressed) holds into the columns of @p points, from index 0 on.
/// The container grows where it holds fewer; columns that are not stored stay as they are. Colours are those
/// stored or, without colours, the intensities as grey. Extra columns get the values as stored. Pure.
/// @param format  made with the extra columns of @p points.
/// @return the number of points in @p data.
/// @throws std::invalid_argument when the attributes' sizes add up to more than bytesPerPoint.
std::size_t decodeNode(const NodeFormat& format, std::span<const std::byte> data, Math::NodePoints& points);

}  // namespace PoTree
