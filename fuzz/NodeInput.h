#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <vector>

#include "octree/potree/NodeDecoder.h"

namespace Fuzz {

/// Metadata drawn from the first bytes of an input: which attributes there are, in which order, and with
/// which surplus in the record's length.
struct NodeInput {
  PoTree::MetaData metaData;
  std::vector<std::byte> data;  ///< the rest, in an allocation of its own so that over-reads are seen

  /// All attributes, as extra columns.
  [[nodiscard]] std::vector<Math::Attribute> columns() const {
    std::vector<Math::Attribute> all;
    for (const PoTree::Attribute& attribute : metaData.attributes) {
      const auto column = PoTree::columnAttribute(metaData, attribute);
      if (column) all.push_back(*column);
    }
    return all;
  }

  NodeInput(std::span<const std::uint8_t> input, PoTree::Encoding encoding) {
    struct Known {
      const char* name;
      const char* type;
      std::int32_t size;
    };
    constexpr std::array<Known, 10> kKnown{{{"position", "int32", 12},
                                            {"rgb", "uint16", 6},
                                            {"intensity", "uint16", 2},
                                            {"classification", "uint8", 1},
                                            {"visibility", "uint8", 1},
                                            {"normal_oct16", "uint16", 2},
                                            {"NormalX", "double", 8},
                                            {"NormalY", "double", 8},
                                            {"NormalZ", "double", 8},
                                            {"ScanIndex", "uint8", 3}}};
    std::size_t used = 0;
    const auto next = [&]() -> std::uint8_t { return used < input.size() ? input[used++] : std::uint8_t{0}; };
    const std::size_t count = next() % kKnown.size();
    for (std::size_t i = 0; i < count; ++i) {
      const Known& known = kKnown[next() % kKnown.size()];
      if (metaData.find(known.name) != nullptr) continue;
      PoTree::Attribute attribute;
      attribute.name = known.name;
      attribute.type = known.type;
      attribute.size = known.size;
      metaData.attributes.push_back(attribute);
      metaData.bytesPerPoint += static_cast<std::uint64_t>(known.size);
    }
    metaData.encoding = encoding;
    metaData.scale = {0.01, 0.01, 0.01};
    metaData.intensityRange = {next(), static_cast<std::uint16_t>(next() << 4U)};
    metaData.bytesPerPoint += next() % 4;
    const auto rest = std::as_bytes(input.subspan(used));
    data.assign(rest.begin(), rest.end());
  }
};

/// Where the value of a point stands that a plain extra column takes.
inline const std::byte* plainValue(const PoTree::NodeFormat& format, const PoTree::ExtraAttribute& extra,
                                   std::span<const std::byte> data, std::size_t count, std::size_t point,
                                   std::size_t size) {
  return format.encoding == PoTree::Encoding::Brotli
             ? data.data() + extra.start * count + point * size
             : data.data() + point * format.starts.stride + extra.start;
}

/// Decodes with block-wise columns as nodes are, extra ones of all attributes too, and point by point; the
/// two must agree.
inline void decodeTwice(const NodeInput& input, std::span<const std::byte> data) {
  const std::vector<Math::Attribute> columns = input.columns();
  const PoTree::NodeFormat format(input.metaData, 1, columns);
  Math::NodePoints points;
  points.setExtras(Math::ExtraColumns(columns));
  std::size_t count = 0;
  try {
    count = PoTree::decodeNode(format, data, points);
  } catch (const std::invalid_argument&) {  // attribute sizes that leave the record
    return;
  }
  points.complete();
  if (points.size() != count || count > data.size()) std::abort();
  PoTree::StoredPoints one;
  for (std::size_t i = 0; i < count; ++i) {
    if (format.encoding == PoTree::Encoding::Brotli) {
      PoTree::decodeBrotli(format.starts, data, count, {i, 1}, one);
    } else {
      PoTree::decodeDefault(format.starts, data, {i, 1}, one);
    }
    if (!one.classes.empty() && one.classes[0] != points.classIndices()[i]) std::abort();
    if (!one.intensities.empty() && one.intensities[0] != points.intensities()[i]) std::abort();
    for (std::size_t axis = 0; !one.positions.empty() && axis < 3; ++axis) {
      const auto expected =
          static_cast<float>(one.positions[axis] * format.scale[axis] * format.positionFactor);
      if (expected != points.positions()[3 * i + axis]) std::abort();
    }
    for (const PoTree::ExtraAttribute& extra : format.extras) {
      const std::size_t size = columns[extra.column].size();
      const std::byte* const found = points.extras().bytes(extra.column).data() + i * size;
      const void* const expected = extra.form == PoTree::ColumnForm::Position ? one.positions.data()
                                   : extra.form == PoTree::ColumnForm::Color
                                       ? static_cast<const void*>(one.colors.data())
                                       : plainValue(format, extra, data, count, i, size);
      if (std::memcmp(found, expected, size) != 0) std::abort();
    }
  }
}

}  // namespace Fuzz
