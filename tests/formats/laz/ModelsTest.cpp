#include <gmock/gmock.h>

#include <random>

#include "formats/laz/IntegerDecoder.h"
#include "formats/laz/RangeDecoder.h"
#include "formats/laz/ReturnMaps.h"
#include "formats/laz/StreamingMedian.h"
#include "support/LazEncoder.h"

namespace {

using Formats::Laz::RangeDecoder;

/// A decoder over an allocation that ends with what it may look at.
class Stream {
 public:
  explicit Stream(const std::string& bytes) : padded_(bytes.size() + Formats::Laz::kLookahead) {
    std::memcpy(padded_.data(), bytes.data(), bytes.size());
    decoder = RangeDecoder(std::span(padded_).first(bytes.size()));
  }
  RangeDecoder decoder;

 private:
  std::vector<std::byte> padded_;
};

template <std::size_t Symbols>
void expectSymbolsToComeBack(unsigned mostLikely) {
  std::mt19937 random(Symbols);
  std::vector<std::size_t> symbols;
  for (int i = 0; i < 20'000; ++i) symbols.push_back(random() % (random() % 4U == 0 ? Symbols : mostLikely));
  Testing::RangeEncoder encoder;
  const auto model = std::make_unique<Formats::Laz::SymbolModel<Symbols>>();
  for (const std::size_t symbol : symbols) encoder.symbol(*model, symbol);
  const std::string bytes = encoder.finish();
  Stream stream(bytes);
  const auto decoding = std::make_unique<Formats::Laz::DecodingModel<Symbols>>();
  for (const std::size_t symbol : symbols) ASSERT_EQ(stream.decoder.symbol(*decoding), symbol);
  EXPECT_EQ(stream.decoder.position(), bytes.size());
  EXPECT_FALSE(stream.decoder.overran());
}

TEST(RangeDecoder, ReadsSymbolsOfAnyNumberAndLikelihood) {
  expectSymbolsToComeBack<2>(1);
  expectSymbolsToComeBack<3>(1);
  expectSymbolsToComeBack<33>(5);
  expectSymbolsToComeBack<64>(1);
  expectSymbolsToComeBack<256>(256);
  expectSymbolsToComeBack<256>(1);
  expectSymbolsToComeBack<516>(20);
  expectSymbolsToComeBack<2048>(2048);
}

TEST(RangeDecoder, ReadsBitsWithAndWithoutAModel) {
  std::mt19937 random(3);
  Testing::RangeEncoder encoder;
  Formats::Laz::BitModel model;
  std::vector<std::uint32_t> numbers;
  for (unsigned i = 0; i < 10'000; ++i) {
    numbers.push_back(static_cast<std::uint32_t>(random()) >> (31U - i % 32U));
    encoder.bits(i % 32U + 1, numbers.back());
    encoder.bit(model, random() % 50U == 0);
  }
  Stream stream(encoder.finish());
  std::mt19937 again(3);
  Formats::Laz::BitModel decoding;
  for (unsigned i = 0; i < 10'000; ++i) {
    (void)again();
    ASSERT_EQ(stream.decoder.bits(i % 32U + 1), numbers[i]);
    ASSERT_EQ(stream.decoder.bit(decoding), again() % 50U == 0 ? 1U : 0U);
  }
}

TEST(RangeDecoder, TellsWhenItNeedsMoreBytesThanThereAre) {
  Stream stream("12345678");
  for (int i = 0; i < 4; ++i) (void)stream.decoder.bits(8);
  EXPECT_FALSE(stream.decoder.overran());
  for (int i = 0; i < 1000; ++i) (void)stream.decoder.bits(19);
  EXPECT_TRUE(stream.decoder.overran());
}

TEST(RangeDecoder, GoesOnInOtherBytes) {
  Testing::RangeEncoder encoder;
  for (std::uint32_t i = 0; i < 100; ++i) encoder.bits(16, i * 600);
  const std::string bytes = encoder.finish();
  Stream stream(bytes);
  for (std::uint32_t i = 0; i < 50; ++i) ASSERT_EQ(stream.decoder.bits(16), i * 600);
  const std::string rest =
      bytes.substr(stream.decoder.position()) + std::string(Formats::Laz::kLookahead, 'x');
  stream.decoder.continueIn(std::as_bytes(std::span(rest)).first(rest.size() - Formats::Laz::kLookahead));
  for (std::uint32_t i = 50; i < 100; ++i) ASSERT_EQ(stream.decoder.bits(16), i * 600);
  EXPECT_FALSE(stream.decoder.overran());
}

template <unsigned Bits>
void expectIntegersToComeBack() {
  std::mt19937 random(Bits);
  constexpr std::uint32_t kMost = Bits == 32 ? UINT32_MAX : (1U << Bits % 32U) - 1;
  std::vector<std::uint32_t> values{0, kMost, 0, kMost / 2 + 1, 0, 1, kMost};
  for (int i = 0; i < 5000; ++i)
    values.push_back(static_cast<std::uint32_t>(random()) >> random() % 32U & kMost);
  Testing::RangeEncoder encoder;
  const auto encoding = std::make_unique<Testing::IntegerEncoder<Bits, 2>>();
  for (std::size_t i = 1; i < values.size(); ++i) encoding->encode(encoder, values[i - 1], values[i], i % 2);
  Stream stream(encoder.finish());
  const auto decoding = std::make_unique<Formats::Laz::IntegerDecoder<Bits, 2>>();
  for (std::size_t i = 1; i < values.size(); ++i) {
    ASSERT_EQ(decoding->decode(stream.decoder, values[i - 1], i % 2), values[i]) << i;
  }
}

TEST(IntegerDecoder, ReadsDifferencesOfAllSizes) {
  expectIntegersToComeBack<8>();
  expectIntegersToComeBack<16>();
  expectIntegersToComeBack<32>();
}

TEST(StreamingMedian, DropsTheLargestAndTheSmallestInTurns) {
  Formats::Laz::StreamingMedian median;
  std::vector<std::int32_t> medians;
  for (const std::int32_t value : {5, 7, 6, -3, 100, 8}) {
    median.add(value);
    medians.push_back(median.get());
  }
  // 00005; 00057; 00567 without a 0 of either side each time; ...
  EXPECT_THAT(medians, testing::ElementsAre(0, 0, 5, 5, 5, 6));
}

TEST(ReturnMaps, CountReturnsToTheLastOne) {
  EXPECT_EQ(Formats::Laz::returnLevel(5, 1), 4U);
  EXPECT_EQ(Formats::Laz::returnLevel(1, 5), 4U);
  EXPECT_EQ(Formats::Laz::returnLevel(15, 1), 7U);
}

}  // namespace
