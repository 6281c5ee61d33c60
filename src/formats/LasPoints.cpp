#include "formats/LasPoints.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <string>

#include "core/ByteReader.h"
#include "formats/LasHeader.h"

namespace Formats {
namespace {

using Math::AttributeType;

// Attributes are decoded one after the other over this many records, which with their outputs stay in the
// processor's nearest cache.
constexpr std::size_t kRecordsPerRound = 256;

}  // namespace

template <std::size_t size>
void LasPointDecoder::copyBytes(const Field& field, const std::byte* records, std::size_t recordLength,
                                std::size_t count, std::byte* out, std::size_t stride) {
  const std::byte* in = records + field.offset;
  for (std::size_t p = 0; p < count; ++p) {
    std::memcpy(out, in, size);
    in += recordLength;
    out += stride;
  }
}

void LasPointDecoder::takeBits(const Field& field, const std::byte* records, std::size_t recordLength,
                               std::size_t count, std::byte* out, std::size_t stride) {
  const std::byte* in = records + field.offset;
  // Copies, since a write through a byte pointer might change the field itself.
  const unsigned shift = field.shift;
  const unsigned mask = field.mask;
  for (std::size_t p = 0; p < count; ++p) {
    *out = static_cast<std::byte>(std::to_integer<unsigned>(*in) >> shift & mask);
    in += recordLength;
    out += stride;
  }
}

template <class Stored>
void LasPointDecoder::scaleToDouble(const Field& field, const std::byte* records, std::size_t recordLength,
                                    std::size_t count, std::byte* out, std::size_t stride) {
  const std::byte* in = records + field.offset;
  const double scale = field.scale;
  const double offset = field.valueOffset;
  for (std::size_t p = 0; p < count; ++p) {
    const double value = static_cast<double>(Core::loadLittleEndian<Stored>(in)) * scale + offset;
    std::memcpy(out, &value, sizeof(value));
    in += recordLength;
    out += stride;
  }
}

LasPointDecoder::Extract LasPointDecoder::copierOf(std::size_t size) {
  switch (size) {
    case 1:
      return copyBytes<1>;
    case 2:
      return copyBytes<2>;
    case 3:
      return copyBytes<3>;
    case 4:
      return copyBytes<4>;
    case 6:
      return copyBytes<6>;
    case 8:
      return copyBytes<8>;
    case 12:
      return copyBytes<12>;
    case 16:
      return copyBytes<16>;
    case 24:
      return copyBytes<24>;
    default:
      throw std::invalid_argument("an attribute of " + std::to_string(size) + " bytes in LAS points");
  }
}

LasPointDecoder::Extract LasPointDecoder::scalerOf(AttributeType storedType) {
  switch (storedType) {
    case AttributeType::Int8:
      return scaleToDouble<std::int8_t>;
    case AttributeType::Int16:
      return scaleToDouble<std::int16_t>;
    case AttributeType::Int32:
      return scaleToDouble<std::int32_t>;
    case AttributeType::Int64:
      return scaleToDouble<std::int64_t>;
    case AttributeType::UInt8:
      return scaleToDouble<std::uint8_t>;
    case AttributeType::UInt16:
      return scaleToDouble<std::uint16_t>;
    case AttributeType::UInt32:
      return scaleToDouble<std::uint32_t>;
    case AttributeType::UInt64:
      return scaleToDouble<std::uint64_t>;
    case AttributeType::Float:
      return scaleToDouble<float>;
    case AttributeType::Double:
      return scaleToDouble<double>;
  }
  throw std::invalid_argument("unknown attribute type");
}

void LasPointDecoder::add(std::string_view name, AttributeType type, std::uint32_t numElements,
                          std::size_t offset) {
  Math::Attribute attribute;
  attribute.name = name;
  attribute.type = type;
  attribute.numElements = numElements;
  Field field;
  field.extract = copierOf(attribute.size());
  field.offset = offset;
  attributes_.push_back(std::move(attribute));
  fields_.push_back(field);
}

void LasPointDecoder::addBits(std::string_view name, std::size_t offset, unsigned shift, unsigned mask) {
  add(name, AttributeType::UInt8, 1, offset);
  fields_.back().extract = takeBits;
  fields_.back().shift = shift;
  fields_.back().mask = mask;
}

// Offsets and bits: ASPRS LAS 1.4 R15, tables 7 to 17.
void LasPointDecoder::addStandardFields(std::uint8_t pointFormat) {
  const bool isExtended = pointFormat >= kFirstExtendedLasFormat;
  add("intensity", AttributeType::UInt16, 1, 12);
  if (isExtended) {
    addBits("return number", 14, 0, 0x0F);
    addBits("number of returns", 14, 4, 0x0F);
    addBits("classification flags", 15, 0, 0x0F);
    add("classification", AttributeType::UInt8, 1, 16);
    add("scan angle", AttributeType::Int16, 1, 18);
    add("user data", AttributeType::UInt8, 1, 17);
    add("point source id", AttributeType::UInt16, 1, 20);
  } else {
    addBits("return number", 14, 0, 0x07);
    addBits("number of returns", 14, 3, 0x07);
    addBits("classification flags", 15, 5, 0x07);
    addBits("classification", 15, 0, 0x1F);
    add("scan angle rank", AttributeType::Int8, 1, 16);
    add("user data", AttributeType::UInt8, 1, 17);
    add("point source id", AttributeType::UInt16, 1, 18);
  }
  const LasOptionalParts& parts = kLasOptionalParts[pointFormat];
  if (parts.gpsTime != 0) add("gps-time", AttributeType::Double, 1, parts.gpsTime);
  if (parts.rgb != 0) add("rgb", AttributeType::UInt16, 3, parts.rgb);
  if (parts.nir != 0) add("nir", AttributeType::UInt16, 1, parts.nir);
  // Both layouts end in scan direction and edge of flight line; the older one has no scanner channel.
  addBits("scan flags", isExtended ? 15 : 14, 4, isExtended ? 0x0F : 0x0C);
}

LasPointDecoder::LasPointDecoder(std::uint8_t pointFormat, std::size_t recordLength,
                                 std::span<const LasExtraField> extraFields)
    : recordLength_(recordLength) {
  if (pointFormat >= kLasOptionalParts.size() || recordLength < lasRecordSize(pointFormat)) {
    throw std::invalid_argument("LAS point format " + std::to_string(pointFormat) + " in records of " +
                                std::to_string(recordLength) + " bytes");
  }
  addStandardFields(pointFormat);
  numStandard_ = fields_.size();
  decodeStandard_ = standardFieldsDecoder(pointFormat);
  const std::size_t firstExtraByte = lasRecordSize(pointFormat);
  for (const LasExtraField& extra : extraFields) {
    const std::size_t size = Math::sizeOf(extra.storedType) * extra.attribute.numElements;
    const std::size_t room = recordLength - firstExtraByte;
    if (extra.offset > room || size > room - extra.offset) {
      throw std::invalid_argument("extra bytes outside the LAS point record: " + extra.attribute.name);
    }
    Field field;
    field.extract = extra.isNormal ? scalerOf(extra.storedType) : copierOf(size);
    field.offset = firstExtraByte + extra.offset;
    field.scale = extra.normalScale;
    field.valueOffset = extra.normalOffset;
    attributes_.push_back(extra.attribute);
    fields_.push_back(field);
  }
}

void LasPointDecoder::decode(std::span<const std::byte> records, std::byte* out, std::size_t stride,
                             std::span<const std::size_t> offsets) const {
  const std::size_t count = records.size() / recordLength_;
  const auto standard = offsets.first(numStandard_);
  const bool wantsStandard = std::find(standard.begin(), standard.end(), kUnwanted) == standard.end();
  for (std::size_t first = 0; first < count; first += kRecordsPerRound) {
    const std::size_t inRound = std::min(kRecordsPerRound, count - first);
    const std::byte* const roundRecords = records.data() + first * recordLength_;
    std::byte* const roundOut = out + first * stride;
    if (wantsStandard) {
      decodeStandard_(roundRecords, recordLength_, inRound, roundOut, stride, offsets.data());
    }
    for (std::size_t i = wantsStandard ? numStandard_ : 0; i < fields_.size(); ++i) {
      if (offsets[i] == kUnwanted) continue;
      fields_[i].extract(fields_[i], roundRecords, recordLength_, inRound, roundOut + offsets[i], stride);
    }
  }
}

void LasPointDecoder::decodeCoordinates(std::span<const std::byte> records,
                                        const std::array<bool, 3>& complemented, std::int32_t* out) const {
  const std::size_t count = records.size() / recordLength_;
  const std::array<std::int32_t, 3> flip{complemented[0] ? -1 : 0, complemented[1] ? -1 : 0,
                                         complemented[2] ? -1 : 0};
  const std::byte* in = records.data();
  for (std::size_t p = 0; p < count; ++p) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
      out[axis] = Core::loadLittleEndian<std::int32_t>(in + axis * sizeof(std::int32_t)) ^ flip[axis];
    }
    in += recordLength_;
    out += 3;
  }
}

}  // namespace Formats
