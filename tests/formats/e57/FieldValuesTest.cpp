#include <gmock/gmock.h>

#include <bit>
#include <limits>
#include <random>

#include "core/LittleEndian.h"
#include "formats/e57/FieldValues.h"
#include "formats/e57/PacketIndex.h"

namespace {

using Formats::E57::Columns;
using Formats::E57::FieldType;
using Formats::E57::PointField;
using testing::ElementsAre;

constexpr std::size_t kCount = 100;

/// Bit-packed, one bit after the other.
std::vector<std::byte> packed(const std::vector<std::uint64_t>& stored, unsigned bits) {
  std::vector<std::byte> bytes((stored.size() * bits + 7) / 8 + Columns::kPadding, std::byte{0xAA});
  std::size_t at = 0;
  for (const std::uint64_t value : stored) {
    for (unsigned bit = 0; bit < bits; ++bit, ++at) {
      const auto one = std::byte{1} << at % 8;
      bytes[at / 8] = (value >> bit & 1U) != 0 ? bytes[at / 8] | one : bytes[at / 8] & ~one;
    }
  }
  return bytes;
}

std::vector<double> decode(const PointField& field, const std::vector<std::byte>& bytes, std::size_t first,
                           std::size_t count) {
  std::vector<double> values(count);
  decodeValues(field, bytes.data(), first, count, values.data());
  return values;
}

PointField integers(unsigned bits, std::int64_t minimum = 0) {
  PointField field;
  field.type = FieldType::Integer;
  field.bits = bits;
  field.minimum = minimum;
  return field;
}

class E57FieldValues : public testing::TestWithParam<unsigned> {};

INSTANTIATE_TEST_SUITE_P(Widths, E57FieldValues, testing::Range(0U, 65U));

TEST_P(E57FieldValues, OfEveryWidthAreUnpackedFromAnyRecordOn) {
  const unsigned bits = GetParam();
  const std::uint64_t mask = bits == 0 ? 0 : ~std::uint64_t{0} >> (64 - bits);
  std::mt19937_64 random(bits);
  std::vector<std::uint64_t> stored(kCount);
  for (std::uint64_t& value : stored) value = random() & mask;
  stored[1] = mask;
  const auto bytes = packed(stored, bits);
  for (std::size_t first = 0; first < 9; ++first) {
    const auto values = decode(integers(bits), bytes, first, kCount - first);
    for (std::size_t i = 0; i < values.size(); ++i) {
      ASSERT_EQ(values[i], static_cast<double>(static_cast<std::int64_t>(stored[first + i])))
          << first << ' ' << i;
    }
  }
}

TEST(E57FieldTypes, AddTheMinimumAsIntegersOf64BitsDo) {
  EXPECT_THAT(decode(integers(3, -66), packed({0, 5}, 3), 0, 2), ElementsAre(-66, -61));
  EXPECT_THAT(decode(integers(64, INT64_MIN), packed({0, UINT64_MAX}, 64), 0, 2),
              ElementsAre(-0x1p63, 0x1p63));
  EXPECT_THAT(decode(integers(0, 42), packed({0, 0}, 0), 0, 2), ElementsAre(42, 42));
}

TEST(E57FieldTypes, OfScaledIntegersAreScaledThenMoved) {
  PointField field = integers(11, -666);
  field.type = FieldType::ScaledInteger;
  field.scale = 0.1;
  field.offset = 1000;
  EXPECT_THAT(decode(field, packed({0, 1332}, 11), 0, 2), ElementsAre(-666 * 0.1 + 1000, 666 * 0.1 + 1000));
}

TEST(E57FieldTypes, OfFloatingPointAreTakenAsTheyAre) {
  PointField single;
  single.type = FieldType::Single;
  single.bits = 32;
  EXPECT_THAT(decode(single, packed({std::bit_cast<std::uint32_t>(0.1F), 0x7F800000U}, 32), 0, 2),
              ElementsAre(0.1F, std::numeric_limits<double>::infinity()));
  const PointField twice;
  EXPECT_THAT(decode(twice, packed({0, std::bit_cast<std::uint64_t>(0.1)}, 64), 1, 1), ElementsAre(0.1));
}

}  // namespace
