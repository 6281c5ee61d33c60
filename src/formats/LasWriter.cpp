#include "formats/LasWriter.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <locale>
#include <sstream>
#include <stdexcept>

#include "core/LittleEndian.h"
#include "formats/AttributeValue.h"

namespace Formats {
namespace {

using Math::AttributeType;

constexpr std::size_t kReturnByte = 14;
constexpr std::size_t kAngleOffset = 18;
constexpr std::size_t kColorOffset = 30;
constexpr std::size_t kNirOffset = 36;
// Of the point formats 6, 7 and 8.
constexpr std::array<std::size_t, 3> kFormatSizes{30, 36, 38};
constexpr std::uint8_t kFirstFormat = 6;

/// Puts the values of an attribute at @p out, in records that are @p stride bytes apart and were zero before.
using Store = void (*)(const AttributeValues& values, std::size_t count, std::byte* out, std::size_t stride);

template <std::size_t Size>
void storeBytes(const AttributeValues& values, std::size_t count, std::byte* out, std::size_t stride) {
  copyValues(values, Size, count, out, stride);
}

/// Four bits, beside the other four of the byte.
template <unsigned Shift, std::uint8_t (*FourBitsOf)(std::uint8_t)>
void storeFourBits(const AttributeValues& values, std::size_t count, std::byte* out, std::size_t stride) {
  for (std::size_t i = 0; i < count; ++i) {
    const auto value = loadValue<std::uint8_t>(values.first + i * values.stride);
    out[i * stride] |= static_cast<std::byte>(FourBitsOf(value) << Shift);
  }
}

std::uint8_t nearestOf15(std::uint8_t value) { return std::min<std::uint8_t>(value, 15); }
std::uint8_t lowBits(std::uint8_t value) { return value & 0xFU; }

/// Whole degrees to steps of 0.006 degrees, halves away from zero.
void storeDegrees(const AttributeValues& values, std::size_t count, std::byte* out, std::size_t stride) {
  for (std::size_t i = 0; i < count; ++i) {
    const int thirds = 500 * loadValue<std::int8_t>(values.first + i * values.stride);  // of a step
    const int steps = (thirds + (thirds < 0 ? -1 : 1)) / 3;
    Core::storeLittleEndian(out + i * stride, static_cast<std::int16_t>(steps));
  }
}

/// 255 becomes 65535.
void storeWidenedColors(const AttributeValues& values, std::size_t count, std::byte* out,
                        std::size_t stride) {
  for (std::size_t i = 0; i < count; ++i) {
    for (std::size_t channel = 0; channel < 3; ++channel) {
      const auto value = loadValue<std::uint8_t>(values.first + i * values.stride + channel);
      Core::storeLittleEndian(out + i * stride + 2 * channel, static_cast<std::uint16_t>(257 * value));
    }
  }
}

struct StandardField {
  std::string_view name;
  AttributeType type;
  std::uint32_t numElements;
  std::size_t offset;
  Store store;
};

constexpr std::array<StandardField, 14> kStandardFields{{
    {"intensity", AttributeType::UInt16, 1, 12, storeBytes<2>},
    {"return number", AttributeType::UInt8, 1, kReturnByte, storeFourBits<0, nearestOf15>},
    {"number of returns", AttributeType::UInt8, 1, kReturnByte, storeFourBits<4, nearestOf15>},
    {"classification flags", AttributeType::UInt8, 1, 15, storeFourBits<0, lowBits>},
    {"scan flags", AttributeType::UInt8, 1, 15, storeFourBits<4, lowBits>},
    {"classification", AttributeType::UInt8, 1, 16, storeBytes<1>},
    {"user data", AttributeType::UInt8, 1, 17, storeBytes<1>},
    {"scan angle", AttributeType::Int16, 1, kAngleOffset, storeBytes<2>},
    {"scan angle rank", AttributeType::Int8, 1, kAngleOffset, storeDegrees},
    {"point source id", AttributeType::UInt16, 1, 20, storeBytes<2>},
    {"gps-time", AttributeType::Double, 1, 22, storeBytes<8>},
    {"rgb", AttributeType::UInt16, 3, kColorOffset, storeBytes<6>},
    {"rgb", AttributeType::UInt8, 3, kColorOffset, storeWidenedColors},
    {"nir", AttributeType::UInt16, 1, kNirOffset, storeBytes<2>},
}};

const StandardField* standardFieldOf(const Math::Attribute& attribute) {
  const auto* const found =
      std::find_if(kStandardFields.begin(), kStandardFields.end(), [&](const StandardField& field) {
        return field.name == attribute.name && field.type == attribute.type &&
               field.numElements == attribute.numElements;
      });
  const bool scaled = !attribute.scale.empty() || !attribute.offset.empty();
  return found == kStandardFields.end() || scaled ? nullptr : found;
}

bool hasScanAngle(std::span<const Math::Attribute> attributes) {
  return std::any_of(attributes.begin(), attributes.end(), [](const Math::Attribute& attribute) {
    const StandardField* const field = standardFieldOf(attribute);
    return field != nullptr && field->name == "scan angle";
  });
}

/// Halves away from zero. Exact, which adding a half before cutting is not.
double rounded(double value) {
  const auto whole = static_cast<double>(static_cast<std::int32_t>(value));
  const double rest = value - whole;
  return whole + (rest >= 0.5 ? 1 : 0) - (rest <= -0.5 ? 1 : 0);
}

constexpr double kLowestSteps = -2147483648.0;
constexpr double kHighestSteps = 2147483647.0;

/// Whether it is a 32-bit integer once rounded; false for NaN.
bool isStorable(double steps) { return steps > kLowestSteps - 0.5 && steps < kHighestSteps + 0.5; }

}  // namespace

/// An attribute on its way to its place in the records.
struct LasWriter::Field {
  std::size_t attribute;
  std::size_t offset;  // in the record
  Store store;         // null for extra bytes, which are copied
  std::size_t size;    // of extra bytes
};

LasWriter::LasWriter(const PointFileLayout& layout, LasCompression compression) {
  low_.fill(std::numeric_limits<std::int32_t>::max());
  high_.fill(std::numeric_limits<std::int32_t>::min());
  header_.adjustedStandardTime = layout.adjustedStandardTime;
  header_.scale = layout.scale;
  header_.offset = layout.offset;

  std::vector<Math::Attribute> extra;
  const bool angleIsGiven = hasScanAngle(layout.attributes);
  for (std::size_t i = 0; i < layout.attributes.size(); ++i) {
    const Math::Attribute& attribute = layout.attributes[i];
    const StandardField* const field = standardFieldOf(attribute);
    if (field == nullptr || (angleIsGiven && field->name == "scan angle rank")) {
      extra.push_back(attribute);
      fields_.push_back({i, 0, nullptr, attribute.size()});
    } else {
      fields_.push_back({i, field->offset, field->store, 0});
    }
  }
  const std::size_t formatsUp = hasFieldAt(kNirOffset) ? 2 : hasFieldAt(kColorOffset) ? 1 : 0;
  std::size_t recordSize = kFormatSizes[formatsUp];
  for (Field& field : fields_) {
    if (field.store != nullptr) continue;
    field.offset = recordSize;
    recordSize += field.size;
    if (recordSize > UINT16_MAX) {
      throw std::invalid_argument("a LAS point has at most 65535 bytes, too few for all attributes");
    }
  }
  header_.pointFormat = static_cast<std::uint8_t>(kFirstFormat + formatsUp);
  header_.pointSize = static_cast<std::uint16_t>(recordSize);

  if (!layout.projection.empty()) records_.push_back(projectionRecord(layout.projection));
  if (!extra.empty()) records_.push_back(extraBytesRecord(extra));
  if (compression == LasCompression::Laz) beginCompression();
  for (const LasRecord& record : records_)
    ++(record.isExtended() ? header_.numExtendedRecords : header_.numRecords);
  const std::size_t tablePlace = compressor_ ? Laz::PointAreaEncoder::kTablePlaceSize : 0;
  header_.pointOffset = static_cast<std::uint32_t>(head().size() - tablePlace);
}

void LasWriter::beginCompression() {
  const std::size_t numExtraBytes = header_.pointSize - kFormatSizes[header_.pointFormat - kFirstFormat];
  const Laz::LazVlr vlr = Laz::lazVlrFor(header_.pointFormat, static_cast<std::uint16_t>(numExtraBytes));
  records_.push_back(
      {std::string(Laz::kVlrUserId), Laz::kVlrRecordId, "how points are compressed", Laz::writeLazVlr(vlr)});
  header_.isCompressed = true;
  compressor_.emplace(vlr);
}

LasWriter::~LasWriter() = default;

bool LasWriter::hasFieldAt(std::size_t offset) const {
  return std::any_of(fields_.begin(), fields_.end(),
                     [&](const Field& field) { return field.offset == offset; });
}

std::vector<std::byte> LasWriter::head() const {
  LasHeaderValues header = header_;
  if (header.numPoints != 0) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
      header.minimum[axis] = low_[axis] * header.scale[axis] + header.offset[axis];
      header.maximum[axis] = high_[axis] * header.scale[axis] + header.offset[axis];
    }
  }
  if (header.numExtendedRecords != 0) {
    header.extendedRecordOffset = header.pointOffset + pointBytes_;
  }
  std::vector<std::byte> bytes;
  appendLasHeader(header, bytes);
  for (const LasRecord& record : records_) {
    if (!record.isExtended()) appendLasRecord(record, bytes);
  }
  if (compressor_) {
    constexpr std::size_t kPlace = Laz::PointAreaEncoder::kTablePlaceSize;
    bytes.resize(bytes.size() + kPlace);
    Core::storeLittleEndian(bytes.data() + bytes.size() - kPlace, bytes.size() + compressor_->chunkBytes());
  }
  return bytes;
}

std::vector<std::byte> LasWriter::tail() {
  std::vector<std::byte> bytes;
  if (compressor_) {
    const std::span<const std::byte> rest = compressor_->finish();
    bytes.assign(rest.begin(), rest.end());
    pointBytes_ += Laz::PointAreaEncoder::kTablePlaceSize + rest.size();
  }
  for (const LasRecord& record : records_) {
    if (record.isExtended()) appendLasRecord(record, bytes);
  }
  return bytes;
}

std::span<const std::byte> LasWriter::encode(const PointBatch& batch) {
  const std::size_t count = batch.size();
  const std::size_t stride = header_.pointSize;
  points_.assign(count * stride, std::byte{0});
  storeCoordinates(batch.positions);
  for (const Field& field : fields_) {
    const AttributeValues& values = batch.attributes[field.attribute];
    std::byte* const out = points_.data() + field.offset;
    if (field.store != nullptr) {
      field.store(values, count, out, stride);
    } else {
      copyValues(values, field.size, count, out, stride);
    }
  }
  header_.numPoints += count;
  countReturns(count);
  const std::span<const std::byte> bytes = compressor_ ? compressor_->add(points_) : points_;
  pointBytes_ += bytes.size();
  return bytes;
}

void LasWriter::storeCoordinates(std::span<const double> positions) {
  std::array<std::int32_t, 3> low = low_;
  std::array<std::int32_t, 3> high = high_;
  const std::size_t stride = header_.pointSize;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const double scale = header_.scale[axis];
    const double offset = header_.offset[axis];
    std::byte* out = points_.data() + axis * sizeof(std::int32_t);
    for (std::size_t i = axis; i < positions.size(); i += 3, out += stride) {
      const double steps = (positions[i] - offset) / scale;
      if (!isStorable(steps)) refuseCoordinate(positions, i);
      const auto stored = static_cast<std::int32_t>(rounded(steps));
      low[axis] = std::min(low[axis], stored);
      high[axis] = std::max(high[axis], stored);
      Core::storeLittleEndian(out, stored);
    }
  }
  low_ = low;
  high_ = high;
}

void LasWriter::refuseCoordinate(std::span<const double> positions, std::size_t index) const {
  const std::size_t axis = index % 3;
  std::ostringstream text;
  text.imbue(std::locale::classic());
  text.precision(std::numeric_limits<double>::max_digits10);
  text << "point " << header_.numPoints + index / 3 << ": "
       << "xyz"[axis] << " = " << positions[index] << ": expected at most 2^31 steps of "
       << header_.scale[axis] << " from " << header_.offset[axis];
  throw std::range_error(text.str());
}

void LasWriter::countReturns(std::size_t numPoints) {
  std::array<std::uint64_t, LasHeaderValues::kReturns + 1> counts{};
  const std::byte* at = points_.data() + kReturnByte;
  for (std::size_t i = 0; i < numPoints; ++i, at += header_.pointSize) {
    ++counts[std::to_integer<std::size_t>(*at & std::byte{0xF})];
  }
  for (std::size_t i = 0; i < LasHeaderValues::kReturns; ++i) header_.pointsByReturn[i] += counts[i + 1];
}

}  // namespace Formats
