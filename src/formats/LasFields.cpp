#include "formats/LasFields.h"

#include <algorithm>
#include <array>
#include <span>

#include "core/LittleEndian.h"
#include "formats/AttributeValue.h"

namespace Formats {
namespace {

using Math::AttributeType;

template <std::size_t Size>
void storeBytes(const AttributeValues& values, std::size_t count, std::byte* out, std::size_t stride) {
  copyValues(values, Size, count, out, stride);
}

/// Some bits, beside the others of the byte.
template <unsigned Shift, std::uint8_t (*BitsOf)(std::uint8_t)>
void storeBits(const AttributeValues& values, std::size_t count, std::byte* out, std::size_t stride) {
  for (std::size_t i = 0; i < count; ++i) {
    const auto value = loadValue<std::uint8_t>(values.first + i * values.stride);
    out[i * stride] |= static_cast<std::byte>(BitsOf(value) << Shift);
  }
}

std::uint8_t nearestOf15(std::uint8_t value) { return std::min<std::uint8_t>(value, 15); }
std::uint8_t lowFourBits(std::uint8_t value) { return value & 0xFU; }
std::uint8_t lowFiveBits(std::uint8_t value) { return value & 0x1FU; }
std::uint8_t lowThreeBits(std::uint8_t value) { return value & 7U; }
std::uint8_t directionAndEdge(std::uint8_t value) { return value & 0xCU; }

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

bool isBelow8(std::uint8_t value) { return value < 8; }
bool isBelow32(std::uint8_t value) { return value < 32; }
bool isOfChannel0(std::uint8_t value) { return value % 4 == 0; }

constexpr AttributeType kU8 = AttributeType::UInt8;
constexpr AttributeType kU16 = AttributeType::UInt16;

constexpr LasField kGpsTime{"gps-time", AttributeType::Double, 1, LasPart::GpsTime, 0, storeBytes<8>};
constexpr LasField kRgb{"rgb", kU16, 3, LasPart::Rgb, 0, storeBytes<6>};
constexpr LasField kRgbOfBytes{"rgb", kU8, 3, LasPart::Rgb, 0, storeWidenedColors};

constexpr LasPart kCore = LasPart::Core;

constexpr std::array kFields14{
    LasField{"intensity", kU16, 1, kCore, 12, storeBytes<2>},
    LasField{"return number", kU8, 1, kCore, kLasReturnByte, storeBits<0, nearestOf15>},
    LasField{"number of returns", kU8, 1, kCore, kLasReturnByte, storeBits<4, nearestOf15>},
    LasField{"classification flags", kU8, 1, kCore, 15, storeBits<0, lowFourBits>},
    LasField{"scan flags", kU8, 1, kCore, 15, storeBits<4, lowFourBits>},
    LasField{"classification", kU8, 1, kCore, 16, storeBytes<1>},
    LasField{"user data", kU8, 1, kCore, 17, storeBytes<1>},
    LasField{"scan angle", AttributeType::Int16, 1, kCore, 18, storeBytes<2>},
    LasField{"scan angle rank", AttributeType::Int8, 1, kCore, 18, storeDegrees},
    LasField{"point source id", kU16, 1, kCore, 20, storeBytes<2>},
    LasField{"nir", kU16, 1, LasPart::Nir, 0, storeBytes<2>},
    kGpsTime,
    kRgb,
    kRgbOfBytes,
};

constexpr std::array kFields12{
    LasField{"intensity", kU16, 1, kCore, 12, storeBytes<2>},
    LasField{"return number", kU8, 1, kCore, kLasReturnByte, storeBits<0, lowThreeBits>, isBelow8, "0 to 7"},
    LasField{"number of returns", kU8, 1, kCore, kLasReturnByte, storeBits<3, lowThreeBits>, isBelow8,
             "0 to 7"},
    LasField{"scan flags", kU8, 1, kCore, kLasReturnByte, storeBits<4, directionAndEdge>, isOfChannel0,
             "0, 4, 8 or 12, since it knows no scanner channels"},
    LasField{"classification", kU8, 1, kCore, 15, storeBits<0, lowFiveBits>, isBelow32, "0 to 31"},
    LasField{"classification flags", kU8, 1, kCore, 15, storeBits<5, lowThreeBits>, isBelow8,
             "0 to 7, since it knows no flag of overlap"},
    LasField{"scan angle rank", AttributeType::Int8, 1, kCore, kScanAngleRankOffset, storeBytes<1>},
    LasField{"user data", kU8, 1, kCore, 17, storeBytes<1>},
    LasField{"point source id", kU16, 1, kCore, 18, storeBytes<2>},
    kGpsTime,
    kRgb,
    kRgbOfBytes,
};

}  // namespace

const LasField* lasFieldOf(const Math::Attribute& attribute, LasVersion version) {
  const std::span<const LasField> fields = version == LasVersion::V14 ? std::span<const LasField>(kFields14)
                                                                      : std::span<const LasField>(kFields12);
  const auto found = std::find_if(fields.begin(), fields.end(), [&](const LasField& field) {
    return field.name == attribute.name && field.type == attribute.type &&
           field.numElements == attribute.numElements;
  });
  const bool scaled = !attribute.scale.empty() || !attribute.offset.empty();
  return found == fields.end() || scaled ? nullptr : &*found;
}

void storeScanAngleRank(const AttributeValues& values, std::size_t count, std::byte* out,
                        std::size_t stride) {
  for (std::size_t i = 0; i < count; ++i) {
    const int thousandths = 6 * loadValue<std::int16_t>(values.first + i * values.stride);  // of a degree
    const int degrees = (thousandths + (thousandths < 0 ? -500 : 500)) / 1000;
    out[i * stride] = static_cast<std::byte>(std::clamp(degrees, -128, 127));
  }
}

}  // namespace Formats
