#include <gmock/gmock.h>

#include <array>

#include "core/ByteReader.h"

namespace {

TEST(ByteReader, TakesLittleEndianNumbersInTurn) {
  const std::array<unsigned char, 7> bytes{0x01, 0x02, 0x03, 0x00, 0x00, 0x80, 0x3F};
  Core::ByteReader reader(std::as_bytes(std::span(bytes)), {"numbers.bin"});
  EXPECT_EQ(reader.read<std::uint8_t>("first"), 1);
  EXPECT_EQ(reader.read<std::uint16_t>("second"), 0x0302);
  EXPECT_EQ(reader.read<float>("third"), 1.0F);
  EXPECT_EQ(reader.remaining(), 0U);
}

TEST(ByteReader, RefusesAReadBeyondTheEndAndStaysWhereItWas) {
  const std::array<std::byte, 3> bytes{};
  Core::ByteReader reader(bytes, {"short.bin", 100});
  (void)reader.take(1, "type");
  EXPECT_THAT([&] { (void)reader.read<std::uint32_t>("record count"); },
              testing::ThrowsMessage<Core::FormatError>(
                  "short.bin, byte 101: record count: expected 4 bytes, found 2"));
  EXPECT_EQ(reader.position(), 1U);
}

}  // namespace
