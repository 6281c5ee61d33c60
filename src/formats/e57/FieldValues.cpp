#include "formats/e57/FieldValues.h"

#include <cstdint>

#include "core/ByteReader.h"

namespace Formats::E57 {
namespace {

/// What makes values of stored numbers.
struct Mapping {
  std::uint64_t minimum;
  double scale;
  double offset;
  bool isScaled;
};

/// @param storedAt  gives the number i.
template <class StoredAt>
void map(const Mapping& mapping, std::size_t count, double* out, const StoredAt& storedAt) {
  const auto raw = [&](std::size_t i) {
    return static_cast<double>(static_cast<std::int64_t>(storedAt(i) + mapping.minimum));
  };
  if (mapping.isScaled) {
    for (std::size_t i = 0; i < count; ++i) out[i] = raw(i) * mapping.scale + mapping.offset;
  } else {
    for (std::size_t i = 0; i < count; ++i) out[i] = raw(i);
  }
}

template <class Float>
void widen(const std::byte* column, std::size_t first, std::size_t count, double* out) {
  const std::byte* const at = column + first * sizeof(Float);
  for (std::size_t i = 0; i < count; ++i) out[i] = Core::loadLittleEndian<Float>(at + i * sizeof(Float));
}

void unpack(const Mapping& mapping, unsigned bits, const std::byte* column, std::size_t first,
            std::size_t count, double* out) {
  constexpr unsigned kBitsOfOneLoad = 57;  // a value may begin at the last bit of a byte
  const std::uint64_t mask = bits == 0 ? 0 : ~std::uint64_t{0} >> (64 - bits);
  const auto low = [&](std::size_t bit) {
    return Core::loadLittleEndian<std::uint64_t>(column + bit / 8) >> bit % 8;
  };
  if (bits <= kBitsOfOneLoad) {
    map(mapping, count, out, [&](std::size_t i) { return low((first + i) * bits) & mask; });
  } else {
    map(mapping, count, out, [&](std::size_t i) {
      const std::size_t bit = (first + i) * bits;
      const auto high = std::to_integer<std::uint64_t>(column[bit / 8 + 8]);
      return (low(bit) | high << 1U << (63 - bit % 8)) & mask;
    });
  }
}

}  // namespace

void decodeValues(const PointField& field, const std::byte* column, std::size_t first, std::size_t count,
                  double* out) {
  const Mapping mapping{static_cast<std::uint64_t>(field.minimum), field.scale, field.offset,
                        field.type == FieldType::ScaledInteger};
  if (field.type == FieldType::Single) return widen<float>(column, first, count, out);
  if (field.type == FieldType::Double) return widen<double>(column, first, count, out);
  if (field.bits == 8) {
    return map(mapping, count, out,
               [&](std::size_t i) { return std::to_integer<std::uint64_t>(column[first + i]); });
  }
  unpack(mapping, field.bits, column, first, count, out);
}

}  // namespace Formats::E57
