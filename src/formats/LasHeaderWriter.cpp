#include "formats/LasHeaderWriter.h"

#include <algorithm>

#include "core/LittleEndian.h"

namespace Formats {
namespace {

constexpr std::size_t kTextSize = 32;    // of names, descriptions and who wrote a file
constexpr std::size_t kUserIdSize = 16;  // of variable-length records
constexpr std::uint16_t kHeaderSize12 = 227;
constexpr std::uint16_t kHeaderSize14 = 375;
constexpr std::uint16_t kAdjustedStandardTime = 1U << 0U;
constexpr std::uint8_t kCompressed = 1U << 7U;        // of the point format
constexpr std::uint16_t kProjectionIsWkt = 1U << 4U;  // which the formats from 6 on demand

/// Appends fields one after the other.
class FieldWriter {
 public:
  explicit FieldWriter(std::vector<std::byte>& out) : out_(&out) {}

  template <class T>
  FieldWriter& number(T value) {
    Core::storeLittleEndian(extend(sizeof(T)), value);
    return *this;
  }

  template <class T, std::size_t N>
  FieldWriter& numbers(const std::array<T, N>& values) {
    for (const T value : values) number(value);
    return *this;
  }

  /// Cut to @p size bytes, between two code points, and filled up with zeros.
  FieldWriter& text(std::string_view utf8, std::size_t size) {
    std::size_t length = std::min(utf8.size(), size);
    const auto splitsCodePoint = [&] {
      return length < utf8.size() && (static_cast<unsigned char>(utf8[length]) & 0xC0U) == 0x80;
    };
    while (length > 0 && splitsCodePoint()) --length;
    std::byte* const at = extend(size);
    std::transform(utf8.begin(), utf8.begin() + static_cast<std::ptrdiff_t>(length), at,
                   [](char c) { return static_cast<std::byte>(c); });
    return *this;
  }

  FieldWriter& zeros(std::size_t count) {
    extend(count);
    return *this;
  }

  FieldWriter& bytes(std::span<const std::byte> values) {
    out_->insert(out_->end(), values.begin(), values.end());
    return *this;
  }

 private:
  std::byte* extend(std::size_t count) {
    out_->resize(out_->size() + count);
    return out_->data() + out_->size() - count;
  }

  std::vector<std::byte>* out_;
};

std::uint8_t extraBytesType(Math::AttributeType type) {
  switch (type) {
    case Math::AttributeType::UInt8:
      return 1;
    case Math::AttributeType::Int8:
      return 2;
    case Math::AttributeType::UInt16:
      return 3;
    case Math::AttributeType::Int16:
      return 4;
    case Math::AttributeType::UInt32:
      return 5;
    case Math::AttributeType::Int32:
      return 6;
    case Math::AttributeType::UInt64:
      return 7;
    case Math::AttributeType::Int64:
      return 8;
    case Math::AttributeType::Float:
      return 9;
    case Math::AttributeType::Double:
      return 10;
  }
  return 0;
}

/// The counts of 32 bits, which have no meaning for point formats from 6 on.
void appendLegacyCounts(const LasHeaderValues& values, FieldWriter& fields) {
  constexpr std::size_t kReturns = 5;
  if (values.version != LasVersion::V12) {
    fields.zeros((1 + kReturns) * 4);
    return;
  }
  fields.number(static_cast<std::uint32_t>(values.numPoints));
  for (std::size_t i = 0; i < kReturns; ++i) {
    fields.number(static_cast<std::uint32_t>(values.pointsByReturn[i]));
  }
}

void appendExtraBytesEntry(const Math::Attribute& attribute, std::size_t element, FieldWriter& fields) {
  constexpr std::uint8_t kHasScale = 1U << 3U;
  constexpr std::uint8_t kHasOffset = 1U << 4U;
  constexpr std::size_t kNoDataAndRange = 3 * 3 * 8;
  const bool hasScale = !attribute.scale.empty();
  const bool hasOffset = !attribute.offset.empty();
  const auto options = static_cast<std::uint8_t>((hasScale ? kHasScale : 0U) | (hasOffset ? kHasOffset : 0U));
  const bool isArray = attribute.numElements != 1;
  fields.zeros(2).number(extraBytesType(attribute.type)).number(options);
  fields.text(isArray ? attribute.name + '[' + std::to_string(element) + ']' : attribute.name, kTextSize);
  fields.zeros(4 + kNoDataAndRange);
  fields.number(hasScale ? attribute.scale[element] : 0.0).zeros(2 * sizeof(double));
  fields.number(hasOffset ? attribute.offset[element] : 0.0).zeros(2 * sizeof(double));
  fields.text(attribute.description, kTextSize);
}

}  // namespace

void appendLasHeader(const LasHeaderValues& values, std::vector<std::byte>& out) {
  constexpr std::size_t kSourceAndProject = 2;
  constexpr std::size_t kProjectId = 16;
  constexpr std::size_t kCreationDate = 4;  // left open, so that the same points make the same file
  constexpr std::size_t kWaveformOffset = 8;
  const bool isOld = values.version == LasVersion::V12;
  FieldWriter fields(out);
  const auto encoding = static_cast<std::uint16_t>(
      (isOld ? 0U : kProjectionIsWkt) | (values.adjustedStandardTime ? kAdjustedStandardTime : 0U));
  fields.text("LASF", 4).zeros(kSourceAndProject).number(encoding).zeros(kProjectId);
  fields.number(std::uint8_t{1}).number(isOld ? std::uint8_t{2} : std::uint8_t{4});
  fields.text("OTHER", kTextSize).text("Sorvik", kTextSize);
  fields.zeros(kCreationDate).number(isOld ? kHeaderSize12 : kHeaderSize14);
  fields.number(values.pointOffset).number(values.numRecords);
  fields.number(static_cast<std::uint8_t>(values.pointFormat | (values.isCompressed ? kCompressed : 0U)));
  fields.number(values.pointSize);
  appendLegacyCounts(values, fields);
  fields.numbers(values.scale).numbers(values.offset);
  for (std::size_t axis = 0; axis < 3; ++axis) {
    fields.number(values.maximum[axis]).number(values.minimum[axis]);
  }
  if (isOld) return;
  fields.zeros(kWaveformOffset).number(values.extendedRecordOffset).number(values.numExtendedRecords);
  fields.number(values.numPoints).numbers(values.pointsByReturn);
}

void appendLasRecord(const LasRecord& record, std::vector<std::byte>& out) {
  FieldWriter fields(out);
  fields.zeros(2).text(record.userId, kUserIdSize).number(record.recordId);
  if (record.isExtended()) {
    fields.number(static_cast<std::uint64_t>(record.data.size()));
  } else {
    fields.number(static_cast<std::uint16_t>(record.data.size()));
  }
  fields.text(record.description, kTextSize).bytes(record.data);
}

LasRecord extraBytesRecord(std::span<const Math::Attribute> attributes) {
  LasRecord record{"LASF_Spec", 4, "extra bytes", {}};
  FieldWriter fields(record.data);
  for (const Math::Attribute& attribute : attributes) {
    for (std::size_t element = 0; element < attribute.numElements; ++element) {
      appendExtraBytesEntry(attribute, element, fields);
    }
  }
  return record;
}

LasRecord projectionRecord(std::string_view wkt) {
  LasRecord record{"LASF_Projection", 2112, "coordinate system as WKT", {}};
  FieldWriter(record.data).text(wkt, wkt.size() + 1);  // ends with a zero
  return record;
}

}  // namespace Formats
