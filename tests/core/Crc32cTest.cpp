#include <gtest/gtest.h>

#include <random>
#include <string_view>
#include <vector>

#include "core/Crc32c.h"

namespace {

std::span<const std::byte> bytesOf(std::string_view text) { return std::as_bytes(std::span(text)); }

std::vector<std::byte> randomBytes(std::size_t size) {
  std::mt19937 random(static_cast<unsigned>(size));
  std::vector<std::byte> bytes(size);
  for (std::byte& byte : bytes) byte = static_cast<std::byte>(random());
  return bytes;
}

TEST(Crc32c, GivesTheCheckValueOfThePolynomial) {
  EXPECT_EQ(Core::crc32c(bytesOf("123456789")), 0xE3069283U);
  EXPECT_EQ(Core::crc32cByTable(bytesOf("123456789")), 0xE3069283U);
}

TEST(Crc32c, GivesThePublishedValuesOf32Bytes) {
  EXPECT_EQ(Core::crc32c(std::vector(32, std::byte{0})), 0x8A9136AAU);
  EXPECT_EQ(Core::crc32c(std::vector(32, std::byte{0xFF})), 0x62A8AB43U);
}

TEST(Crc32c, OfNothingIsZero) {
  EXPECT_EQ(Core::crc32c({}), 0U);
  EXPECT_EQ(Core::crc32cByTable({}), 0U);
}

TEST(Crc32c, IsTheSameByTableWhateverTheLength) {
  for (std::size_t size = 0; size < 70; ++size) {
    const auto bytes = randomBytes(size);
    EXPECT_EQ(Core::crc32c(bytes), Core::crc32cByTable(bytes)) << size;
  }
}

TEST(Crc32c, OfThreeRunsIsThatOfEach) {
  for (const std::size_t size : {0U, 1U, 7U, 8U, 9U, 1020U}) {
    const auto bytes = randomBytes(3 * size);
    const std::byte* const begin = bytes.data();
    const auto three = Core::crc32cOfThree({begin, begin + size, begin + 2 * size}, size);
    for (std::size_t run = 0; run < 3; ++run) {
      EXPECT_EQ(three[run], Core::crc32cByTable({begin + run * size, size})) << size;
    }
  }
}

}  // namespace
