#include <gmock/gmock.h>

#include <bit>

#include "formats/laz/RangeDecoder.h"
#include "formats/laz/RangeEncoder.h"

namespace {

using Formats::Laz::BitModel;
using Formats::Laz::DecodingModel;
using Formats::Laz::RangeDecoder;
using Formats::Laz::RangeEncoder;
using Formats::Laz::SymbolModel;

/// The stream's bytes, and behind them what decoders look ahead at.
std::vector<std::byte> streamOf(RangeEncoder& encoder) {
  const std::span<const std::byte> stream = encoder.finish();
  std::vector<std::byte> bytes(stream.begin(), stream.end());
  bytes.resize(stream.size() + Formats::Laz::kLookahead);
  return bytes;
}

RangeDecoder decoderOf(const std::vector<std::byte>& bytes) {
  return RangeDecoder(std::span(bytes).first(bytes.size() - Formats::Laz::kLookahead));
}

/// Mostly small, now and then any, so that models learn.
std::uint32_t skewed(std::mt19937& random, std::uint32_t below) {
  const auto any = static_cast<std::uint32_t>(random());
  return any % 4 == 0 ? any / 4 % below : std::min(any / 4 % 3, below - 1);
}

TEST(RangeEncoder, WritesWhatADecoderReadsBack) {
  for (unsigned seed = 0; seed < 20; ++seed) {
    constexpr int kRounds = 5000;
    std::mt19937 random(seed);
    RangeEncoder encoder;
    SymbolModel<256> bytes;
    SymbolModel<516> codes(515);
    BitModel bits;
    for (int i = 0; i < kRounds; ++i) {
      encoder.makeRoom(5);
      encoder.encode(bytes, skewed(random, 256));
      encoder.encode(codes, skewed(random, 515));
      encoder.encode(bits, skewed(random, 2) != 0);
      encoder.encodeBits(1 + static_cast<unsigned>(i) % 32, 0);
    }
    const std::vector<std::byte> stream = streamOf(encoder);
    RangeDecoder decoder = decoderOf(stream);
    std::mt19937 again(seed);
    DecodingModel<256> decodedBytes;
    DecodingModel<516> decodedCodes(515);
    BitModel decodedBits;
    for (int i = 0; i < kRounds; ++i) {
      ASSERT_EQ(decoder.symbol(decodedBytes), skewed(again, 256)) << seed << ", round " << i;
      ASSERT_EQ(decoder.symbol(decodedCodes), skewed(again, 515));
      ASSERT_EQ(decoder.bit(decodedBits), skewed(again, 2));
      ASSERT_EQ(decoder.bits(1 + static_cast<unsigned>(i) % 32), 0U);
    }
    EXPECT_EQ(decoder.position() + Formats::Laz::kLookahead, stream.size()) << "all bytes are used";
  }
}

TEST(RangeEncoder, WritesNumbersOfEveryLength) {
  const auto numberOf = [](unsigned bits) { return 0xA5C3'96E1U >> (32 - bits); };
  RangeEncoder encoder;
  for (unsigned bits = 1; bits <= 32; ++bits) {
    encoder.makeRoom(2);
    encoder.encodeBits(bits, numberOf(bits));
  }
  const std::vector<std::byte> stream = streamOf(encoder);
  RangeDecoder decoder = decoderOf(stream);
  for (unsigned bits = 1; bits <= 32; ++bits) EXPECT_EQ(decoder.bits(bits), numberOf(bits)) << bits;
}

// The interval's base creeps up to 2^31 without reaching it, so that its bytes are 7F FF FF ..., and passes
// it with the last number.
TEST(RangeEncoder, CarriesOverAnyNumberOfBytes) {
  for (int steps = 1; steps < 30; ++steps) {
    RangeEncoder encoder;
    std::vector<std::uint32_t> numbers;
    std::uint64_t distance = 1U << 31U;  // of the base, in the unit of the length
    std::uint32_t length = UINT32_MAX;
    for (int i = 0; i <= steps; ++i) {
      length >>= 8U;
      const std::uint64_t number = (distance - 1) / length + (i == steps ? 1 : 0);
      if (number > 255) return;  // there is no room left for passing it
      numbers.push_back(static_cast<std::uint32_t>(number));
      encoder.makeRoom(1);
      encoder.encodeBits(8, numbers.back());
      if (i == steps) break;
      distance -= number * length;
      const auto shift = static_cast<unsigned>(std::countl_zero(length)) & 24U;
      distance <<= shift;
      length <<= shift;
    }
    const std::vector<std::byte> stream = streamOf(encoder);
    RangeDecoder decoder = decoderOf(stream);
    for (const std::uint32_t number : numbers) ASSERT_EQ(decoder.bits(8), number) << steps;
    EXPECT_EQ(stream[0], std::byte{0x80}) << steps;
  }
}

TEST(RangeEncoder, EndsAStreamWithoutSymbolsInFourBytes) {
  RangeEncoder encoder;
  EXPECT_EQ(encoder.finish().size(), 4U);
}

}  // namespace
