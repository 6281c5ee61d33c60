#include "octree/potree/NodeDecoder.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <stdexcept>
#include <string>

#include "core/ByteReader.h"
#include "octree/potree/MortonDecoder.h"

namespace PoTree {
namespace {

using Core::loadLittleEndian;

// Points are decoded in blocks whose stored values stay in the first two cache levels.
constexpr std::size_t kBlockSize = 256;

/// The values of one attribute: the first one's place, and the step to the next.
struct Values {
  const std::byte* first;
  std::size_t step;

  [[nodiscard]] const std::byte* operator[](std::size_t i) const { return first + i * step; }
};

/// Copies kWidth numbers of every point.
template <std::size_t kWidth, class T>
void take(const Values& values, std::size_t count, std::vector<T>& out) {
  constexpr std::size_t bytes = sizeof(T) * kWidth;
  out.resize(count * kWidth);
  auto* const to = reinterpret_cast<std::byte*>(out.data());
  if (values.step == bytes) {
    std::memcpy(to, values.first, count * bytes);
    return;
  }
  for (std::size_t i = 0; i < count; ++i) std::memcpy(to + i * bytes, values[i], bytes);
}

void takeOct16Normals(const Values& codes, std::size_t count, std::vector<float>& out) {
  out.resize(count * 3);
  for (std::size_t i = 0; i < count; ++i) {
    const std::array<float, 3> normal = decodeOct16(loadLittleEndian<std::int16_t>(codes[i]));
    std::copy(normal.begin(), normal.end(), out.begin() + static_cast<std::ptrdiff_t>(3 * i));
  }
}

void takeNormalComponent(const Values& values, std::size_t count, std::size_t axis, std::vector<float>& out) {
  out.resize(count * 3);
  for (std::size_t i = 0; i < count; ++i) {
    out[3 * i + axis] = static_cast<float>(loadLittleEndian<double>(values[i]));
  }
}

/// All attributes whose values are taken alike in both encodings. @p values gives the place of the attribute
/// that starts at `start` and takes `size` bytes a point.
template <class Place>
void takeCommon(const AttributeStarts& starts, std::size_t count, const Place& values, StoredPoints& out) {
  constexpr std::size_t kAbsent = AttributeStarts::kAbsent;
  if (starts.intensity != kAbsent) take<1>(values(starts.intensity, 2), count, out.intensities);
  if (starts.classification != kAbsent) take<1>(values(starts.classification, 1), count, out.classes);
  if (starts.visibility != kAbsent) take<1>(values(starts.visibility, 1), count, out.visibility);
  if (starts.normalOct16 != kAbsent) {
    takeOct16Normals(values(starts.normalOct16, 2), count, out.normals);
  } else if (starts.normalXyz[0] != kAbsent) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
      takeNormalComponent(values(starts.normalXyz[axis], 8), count, axis, out.normals);
    }
  }
}

void writePositions(const NodeFormat& format, const std::vector<std::uint32_t>& stored, float* out) {
  for (std::size_t i = 0; i < stored.size(); i += 3) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
      out[i + axis] = static_cast<float>(stored[i + axis] * format.scale[axis] * format.positionFactor);
    }
  }
}

void writeColors(const std::vector<std::uint16_t>& stored, Math::Color* out) {
  const auto to8Bit = [](std::uint16_t v) { return static_cast<std::uint8_t>(v > 255 ? v >> 8 : v); };
  for (std::size_t i = 0; 3 * i < stored.size(); ++i) {
    out[i] = Math::Color(to8Bit(stored[3 * i]), to8Bit(stored[3 * i + 1]), to8Bit(stored[3 * i + 2]), 255);
  }
}

void writeGreys(const NodeFormat& format, const std::vector<std::uint16_t>& intensities, Math::Color* out) {
  const auto minimum = static_cast<float>(format.intensityRange[0]);
  const float width = static_cast<float>(format.intensityRange[1]) - minimum;
  for (std::size_t i = 0; i < intensities.size(); ++i) {
    const float above = static_cast<float>(intensities[i]) - minimum;
    const float grey = width != 0 ? above * 255.0F / width : above > 0 ? 255.0F : 0.0F;
    const auto g = static_cast<std::uint8_t>(std::clamp(grey, 0.0F, 255.0F));
    out[i] = Math::Color(g, g, g, 255);
  }
}

/// Writes a range of points into an extra column.
void writeExtra(const NodeFormat& format, const ExtraAttribute& extra, std::span<const std::byte> data,
                std::size_t numPoints, PointRange range, const StoredPoints& stored,
                Math::NodePoints& points) {
  const std::size_t size = points.extras().attributes()[extra.column].size();
  const auto store = [&](const void* values, std::size_t step) {
    points.storeExtra(extra.column, range.first, range.count, static_cast<const std::byte*>(values), step);
  };
  if (extra.form == ColumnForm::Position) {
    store(stored.positions.data(), size);
  } else if (extra.form == ColumnForm::Color) {
    store(stored.colors.data(), size);
  } else if (format.encoding == Encoding::Brotli) {
    store(data.data() + extra.start * numPoints + range.first * size, size);
  } else {
    store(data.data() + range.first * format.starts.stride + extra.start, format.starts.stride);
  }
}

/// The columns of a container that one decode writes; null where the octree does not store the attribute.
struct TargetColumns {
  float* positions = nullptr;
  Math::Color* colors = nullptr;
  std::uint16_t* intensities = nullptr;
  std::uint8_t* classes = nullptr;
  std::uint8_t* visibility = nullptr;
  float* normals = nullptr;

  TargetColumns(const AttributeStarts& starts, std::size_t count, Math::NodePoints& points) {
    constexpr std::size_t kAbsent = AttributeStarts::kAbsent;
    const bool hasIntensities = starts.intensity != kAbsent;
    if (starts.position != kAbsent) positions = points.prepare<Math::PositionAttr<float>>(count).data();
    if (starts.color != kAbsent || hasIntensities) colors = points.prepare<Math::ColorAttr>(count).data();
    if (hasIntensities) intensities = points.prepare<Math::IntensityAttr<std::uint16_t>>(count).data();
    if (starts.classification != kAbsent) classes = points.prepare<Math::ClassIndexAttr>(count).data();
    if (starts.visibility != kAbsent) visibility = points.prepareVisibility(count).data();
    if (starts.normalOct16 != kAbsent || starts.normalXyz[0] != kAbsent) {
      normals = points.prepare<Math::NormalAttr<float>>(count).data();
    }
  }

  void write(const NodeFormat& format, const StoredPoints& stored, std::size_t first) const {
    if (positions != nullptr) writePositions(format, stored.positions, positions + 3 * first);
    if (format.starts.color != AttributeStarts::kAbsent) {
      writeColors(stored.colors, colors + first);
    } else if (intensities != nullptr) {
      writeGreys(format, stored.intensities, colors + first);
    }
    if (intensities != nullptr)
      std::copy(stored.intensities.begin(), stored.intensities.end(), intensities + first);
    if (classes != nullptr) std::copy(stored.classes.begin(), stored.classes.end(), classes + first);
    if (visibility != nullptr)
      std::copy(stored.visibility.begin(), stored.visibility.end(), visibility + first);
    if (normals != nullptr) std::copy(stored.normals.begin(), stored.normals.end(), normals + 3 * first);
  }
};

}  // namespace

NodeFormat::NodeFormat(const MetaData& metaData, double factor, std::span<const Math::Attribute> wanted)
    : encoding(metaData.encoding),
      starts(attributeStarts(metaData)),
      extras(extraAttributes(metaData, wanted)),
      bytesPerPoint(metaData.encoding == Encoding::Brotli ? starts.stride : metaData.bytesPerPoint),
      scale(metaData.scale),
      positionFactor(factor),
      intensityRange(metaData.intensityRange) {}

void decodeDefault(const AttributeStarts& starts, std::span<const std::byte> data, PointRange range,
                   StoredPoints& out) {
  const auto values = [&](std::size_t start, std::size_t) {
    return Values{data.data() + range.first * starts.stride + start, starts.stride};
  };
  if (starts.position != AttributeStarts::kAbsent) {
    take<3>(values(starts.position, 12), range.count, out.positions);
  }
  if (starts.color != AttributeStarts::kAbsent) take<3>(values(starts.color, 6), range.count, out.colors);
  takeCommon(starts, range.count, values, out);
}

void decodeBrotli(const AttributeStarts& starts, std::span<const std::byte> data, std::size_t numPoints,
                  PointRange range, StoredPoints& out) {
  const auto values = [&](std::size_t start, std::size_t size) {
    return Values{data.data() + start * numPoints + range.first * size, size};
  };
  if (starts.position != AttributeStarts::kAbsent) {
    out.positions.resize(range.count * 3);
    decodeMortonPositions({values(starts.position, kPositionCodeSize).first, range.count * kPositionCodeSize},
                          out.positions);
  }
  if (starts.color != AttributeStarts::kAbsent) {
    out.colors.resize(range.count * 3);
    decodeMortonColors({values(starts.color, kColorCodeSize).first, range.count * kColorCodeSize},
                       out.colors);
  }
  takeCommon(starts, range.count, values, out);
}

std::array<float, 3> decodeOct16(std::int16_t code) {
  const auto bits = static_cast<std::uint16_t>(code);
  float u = static_cast<float>(bits >> 8) / 255.0F * 2.0F - 1.0F;
  float v = static_cast<float>(bits & 0xFF) / 255.0F * 2.0F - 1.0F;
  const float w = 1.0F - std::abs(u) - std::abs(v);
  if (w < 0) {
    const auto sign = [](float t) { return t >= 0 ? 1.0F : -1.0F; };
    const float foldedU = (1.0F - std::abs(v)) * sign(u);
    v = (1.0F - std::abs(u)) * sign(v);
    u = foldedU;
  }
  const float lengthSquared = u * u + v * v + w * w;
  if (!(lengthSquared > 0)) return {u, v, w};
  const float length = std::sqrt(lengthSquared);
  return {u / length, v / length, w / length};
}

std::size_t decodeNode(const NodeFormat& format, std::span<const std::byte> data, Math::NodePoints& points) {
  if (format.bytesPerPoint == 0 || format.starts.stride > format.bytesPerPoint) {
    throw std::invalid_argument("attribute sizes: expected at most " + std::to_string(format.bytesPerPoint) +
                                " bytes a point, found " + std::to_string(format.starts.stride));
  }
  const std::size_t count = data.size() / format.bytesPerPoint;
  if (count > points.size()) points.resize(count);
  if (count == 0) return 0;
  const TargetColumns target(format.starts, count, points);
  for (const ExtraAttribute& extra : format.extras) points.prepareExtra(extra.column, count);
  StoredPoints stored;
  for (std::size_t first = 0; first < count; first += kBlockSize) {
    const PointRange range{first, std::min(kBlockSize, count - first)};
    if (format.encoding == Encoding::Brotli) {
      decodeBrotli(format.starts, data, count, range, stored);
    } else {
      decodeDefault(format.starts, data, range, stored);
    }
    target.write(format, stored, first);
    for (const ExtraAttribute& extra : format.extras) {
      writeExtra(format, extra, data, count, range, stored, points);
    }
  }
  return count;
}

}  // namespace PoTree
