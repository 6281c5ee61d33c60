#include "formats/LasWriter.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <locale>
#include <sstream>
#include <stdexcept>

#include "core/LittleEndian.h"
#include "formats/AttributeValue.h"
#include "formats/LasHeader.h"
#include "formats/LasStandardFields.h"

namespace Formats {
namespace {

/// Whether some attribute has its own field of that name.
bool hasField(std::span<const Math::Attribute> attributes, std::string_view name, LasVersion version) {
  return std::any_of(attributes.begin(), attributes.end(), [&](const Math::Attribute& attribute) {
    const LasField* const field = lasFieldOf(attribute, version);
    return field != nullptr && field->name == name;
  });
}

bool isScanAngle(const Math::Attribute& attribute) {
  const LasField* const field = lasFieldOf(attribute, LasVersion::V14);
  return field != nullptr && field->name == "scan angle";
}

std::uint8_t pointFormatOf(std::span<const Math::Attribute> attributes, LasVersion version) {
  const bool hasColors = hasField(attributes, "rgb", version);
  if (version == LasVersion::V12) {
    return static_cast<std::uint8_t>((hasField(attributes, "gps-time", version) ? 1 : 0) +
                                     (hasColors ? 2 : 0));
  }
  return hasField(attributes, "nir", version) ? 8 : hasColors ? 7 : 6;
}

std::size_t offsetOf(const LasField& field, std::uint8_t pointFormat) {
  const LasOptionalParts& parts = kLasOptionalParts[pointFormat];
  switch (field.part) {
    case LasPart::GpsTime:
      return parts.gpsTime + field.offset;
    case LasPart::Rgb:
      return parts.rgb + field.offset;
    case LasPart::Nir:
      return parts.nir + field.offset;
    case LasPart::Core:
      break;
  }
  return field.offset;
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

[[noreturn]] void refuseValue(const LasField& field, std::uint64_t point, unsigned value) {
  throw std::range_error("point " + std::to_string(point) + ": " + std::string(field.name) + " = " +
                         std::to_string(value) + ": LAS 1.2 holds " + std::string(field.held));
}

}  // namespace

/// An attribute on its way to its place in the records.
struct LasWriter::Field {
  std::size_t attribute;
  std::size_t offset;       // in the record
  StoreLasField store;      // null for extra bytes, which are copied
  std::size_t size;         // of extra bytes
  const LasField* checked;  // which does not hold all values; or null
};

LasWriter::LasWriter(const PointFileLayout& layout, LasCompression compression, LasVersion version) {
  low_.fill(std::numeric_limits<std::int32_t>::max());
  high_.fill(std::numeric_limits<std::int32_t>::min());
  header_.version = version;
  header_.adjustedStandardTime = layout.adjustedStandardTime;
  header_.scale = layout.scale;
  header_.offset = layout.offset;
  header_.pointFormat = pointFormatOf(layout.attributes, version);
  const std::vector<Math::Attribute> extra = addFields(layout.attributes);

  if (!layout.projection.empty()) records_.push_back(projectionRecord(layout.projection));
  if (!extra.empty()) records_.push_back(extraBytesRecord(extra));
  if (compression == LasCompression::Laz) beginCompression();
  for (const LasRecord& record : records_) {
    if (record.isExtended() && version == LasVersion::V12) {
      throw std::invalid_argument("LAS 1.2 has no place for " + record.description + " of " +
                                  std::to_string(record.data.size()) + " bytes, more than 65535");
    }
    ++(record.isExtended() ? header_.numExtendedRecords : header_.numRecords);
  }
  const std::size_t tablePlace = compressor_ ? Laz::PointAreaEncoder::kTablePlaceSize : 0;
  header_.pointOffset = static_cast<std::uint32_t>(head().size() - tablePlace);
}

std::vector<Math::Attribute> LasWriter::addFields(std::span<const Math::Attribute> attributes) {
  std::vector<Math::Attribute> extra;
  std::size_t recordSize = lasRecordSize(header_.pointFormat);
  const bool angleIsGiven = hasField(attributes, "scan angle", header_.version);
  const bool rankIsGiven = hasField(attributes, "scan angle rank", header_.version);
  for (std::size_t i = 0; i < attributes.size(); ++i) {
    const Math::Attribute& attribute = attributes[i];
    const LasField* const field = lasFieldOf(attribute, header_.version);
    if (field != nullptr && !(angleIsGiven && field->name == "scan angle rank")) {
      fields_.push_back({i, offsetOf(*field, header_.pointFormat), field->store, 0,
                         field->holds != nullptr ? field : nullptr});
      continue;
    }
    if (field == nullptr && isScanAngle(attribute) && !rankIsGiven) {
      fields_.push_back({i, kScanAngleRankOffset, storeScanAngleRank, 0, nullptr});
    }
    extra.push_back(attribute);
    fields_.push_back({i, recordSize, nullptr, attribute.size(), nullptr});
    recordSize += attribute.size();
    if (recordSize > UINT16_MAX) {
      throw std::invalid_argument("a LAS point has at most 65535 bytes, too few for all attributes");
    }
  }
  header_.pointSize = static_cast<std::uint16_t>(recordSize);
  return extra;
}

void LasWriter::beginCompression() {
  const std::size_t numExtraBytes = header_.pointSize - lasRecordSize(header_.pointFormat);
  const Laz::LazVlr vlr = Laz::lazVlrFor(header_.pointFormat, static_cast<std::uint16_t>(numExtraBytes));
  records_.push_back(
      {std::string(Laz::kVlrUserId), Laz::kVlrRecordId, "how points are compressed", Laz::writeLazVlr(vlr)});
  header_.isCompressed = true;
  compressor_.emplace(vlr);
}

LasWriter::~LasWriter() = default;

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
  checkHeld(batch);
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

void LasWriter::checkHeld(const PointBatch& batch) const {
  if (header_.version == LasVersion::V12 && batch.size() > UINT32_MAX - header_.numPoints) {
    throw std::range_error("point " + std::to_string(UINT32_MAX) + ": LAS 1.2 counts no more points");
  }
  for (const Field& field : fields_) {
    if (field.checked == nullptr) continue;
    const AttributeValues& values = batch.attributes[field.attribute];
    for (std::size_t i = 0; i < batch.size(); ++i) {
      const auto value = loadValue<std::uint8_t>(values.first + i * values.stride);
      if (!field.checked->holds(value)) refuseValue(*field.checked, header_.numPoints + i, value);
    }
  }
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
  const std::byte* at = points_.data() + kLasReturnByte;
  const std::byte bits{header_.version == LasVersion::V12 ? std::uint8_t{7} : std::uint8_t{15}};
  for (std::size_t i = 0; i < numPoints; ++i, at += header_.pointSize) {
    ++counts[std::to_integer<std::size_t>(*at & bits)];
  }
  for (std::size_t i = 0; i < LasHeaderValues::kReturns; ++i) header_.pointsByReturn[i] += counts[i + 1];
}

}  // namespace Formats
