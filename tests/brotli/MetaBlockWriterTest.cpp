#include <gmock/gmock.h>

#include "brotli/MetaBlockWriter.h"
#include "brotli/TestColumns.h"
#include "sample/RandomBits.h"

namespace {

using Brotli::MetaBlock;
using Testing::Bytes;

/// Builds data and the commands that stand for them, and has them written and decoded.
class Written {
 public:
  explicit Written(unsigned postfixBits = 0) { block_.postfixBits = postfixBits; }

  /// Bytes of @p values values, then a copy.
  Written& command(std::uint32_t insert, std::uint32_t copy, std::uint32_t distance,
                   std::uint64_t values = 256) {
    for (std::uint32_t i = 0; i < insert; ++i)
      data_.push_back(static_cast<std::byte>((random_.next() >> 20U) % values));
    for (std::uint32_t i = 0; i < copy; ++i) data_.push_back(data_.at(data_.size() - distance));
    block_.commands.push_back({insert, copy, distance});
    return *this;
  }
  Written& endSegment() {
    const std::size_t begin = block_.segments.empty() ? begin_ : block_.segments.back().end;
    const std::size_t first = block_.segments.empty() ? 0 : block_.segments.back().endCommand;
    block_.segments.push_back({begin, data_.size(), first, block_.commands.size(), 0});
    return *this;
  }
  /// The bits that the block took.
  std::uint64_t endBlock() {
    if (block_.segments.empty() || block_.segments.back().end < data_.size()) endSegment();
    if (begin_ == 0) {
      out_.reserve(8);
      out_.write(0b1011, 4);
    }
    const std::uint64_t before = out_.numBits();
    writer_.write(data_, block_, distances_, out_);
    begin_ = data_.size();
    block_.clear();
    return out_.numBits() - before;
  }
  void expectDecoded() {
    out_.reserve(16);
    out_.write(0b11, 2);
    out_.alignToByte();
    EXPECT_TRUE(Testing::decoded(out_.bytes(), data_.size()) == data_);
  }

  [[nodiscard]] const Brotli::LastDistances& distances() const { return distances_; }
  [[nodiscard]] std::size_t size() const { return data_.size(); }

 private:
  Sample::RandomBits random_{9};
  Bytes data_;
  MetaBlock block_;
  Brotli::MetaBlockWriter writer_;
  Brotli::LastDistances distances_ = Brotli::kFirstLastDistances;
  Brotli::BitWriter out_;
  std::size_t begin_ = 0;
};

TEST(MetaBlockWriter, LengthsAtEveryBorderOfTheirCodesComeBack) {
  Written written;
  written.command(200, 200, 100, 4);
  for (const std::uint32_t border :
       {2U,   5U,   6U,   8U,   10U,  14U,  18U,  26U,  34U,  38U,   50U,   54U,   66U,   70U,   98U,
        102U, 130U, 134U, 194U, 198U, 322U, 326U, 578U, 582U, 1090U, 1094U, 2114U, 2118U, 6210U, 22'594U}) {
    for (std::uint32_t length = border - 1; length <= border + 1; ++length) {
      written.command(length, 7, 50, 4).command(3, length + 1, 60, 4).command(length, length + 1, 70, 4);
    }
  }
  written.endBlock();
  written.expectDecoded();
}

TEST(MetaBlockWriter, DistancesComeBackForEveryPostfix) {
  for (unsigned postfixBits = 0; postfixBits <= Brotli::DistanceCodes::kMostPostfixBits; ++postfixBits) {
    Written written(postfixBits);
    written.command(1000, 100'000, 500, 4);
    for (std::uint32_t distance = 1; distance < 100'000; distance += 1 + distance / 50) {
      written.command(1, 4, distance, 4);
    }
    written.endBlock();
    written.expectDecoded();
  }
}

TEST(MetaBlockWriter, LastDistancesAreKnownAcrossBlocks) {
  Written written;
  written.command(100, 20, 16, 4).command(3, 20, 11, 4).command(3, 20, 77, 4).command(3, 30, 77, 4);
  written.endBlock();
  EXPECT_THAT(written.distances(), testing::ElementsAre(77, 11, 16, 4));
  written.command(9, 20, 11, 4).command(0, 20, 4, 4).command(20, 8, 77, 4).command(0, 9, 60, 4);
  written.endBlock();
  written.expectDecoded();
}

TEST(MetaBlockWriter, BlocksThatDoNotShrinkStandAsTheyAre) {
  Written written;
  EXPECT_LE(written.command(5000, 0, 0).endBlock(), 5000U * 8U + 32U);
  EXPECT_THAT(written.distances(), testing::ElementsAreArray(Brotli::kFirstLastDistances));
  written.command(100, 300, 33, 4).endBlock();
  EXPECT_LE(written.command(70'000, 0, 0).endBlock(), 70'000U * 8U + 40U);
  written.command(1, 0, 0).endBlock();
  written.expectDecoded();
}

TEST(MetaBlockWriter, BlocksOfASizeAtABorderComeBack) {
  Written written;
  for (const std::uint32_t size : {1U, 2U, 65'535U, 65'536U, 65'537U, 1U << 20U, (1U << 20U) + 1}) {
    written.command(size, 0, 0).endBlock();
    if (size < 3) continue;
    written.command(size, 0, 0, 3).endBlock();
  }
  written.expectDecoded();
}

TEST(MetaBlockWriter, ManySegmentsOfTheirOwnKindsComeBack) {
  Written written(2);
  for (std::size_t segment = 0; segment < Brotli::MetaBlockWriter::kMostSegments; ++segment) {
    const auto kind = static_cast<std::uint32_t>(segment % 9);
    for (int i = 0; i < 200; ++i) written.command(2 + kind, 3 + 4 * kind, 2 + kind * 5, 3 + segment);
    written.endSegment();
  }
  written.endBlock();
  written.expectDecoded();
}

TEST(MetaBlockWriter, SegmentsOfDifferentBytesTakeLessThanOneOfAll) {
  const auto bitsOf = [](bool apart) {
    Written written;
    for (std::uint64_t values = 4; values <= 256; values *= 8) {
      written.command(5000, 9, 100, values);
      if (apart) written.endSegment();
    }
    return written.endBlock();
  };
  EXPECT_LT(bitsOf(true), bitsOf(false));
}

TEST(MetaBlockWriter, LiteralsThatTheNextSegmentsCommandInsertsComeBack) {
  Bytes data = Testing::columnOf(
      4000, [](std::size_t i) { return static_cast<std::uint8_t>(Sample::mixBits(i) % 5); });
  data.resize(6000, std::byte{9});
  MetaBlock block;
  block.commands = {{4001, 1999, 1}};
  block.segments = {{0, 1500, 0, 0, 0}, {1500, 4000, 0, 0, 1500}, {4000, 6000, 0, 1, 4000}};
  Brotli::MetaBlockWriter writer;
  Brotli::LastDistances distances = Brotli::kFirstLastDistances;
  Brotli::BitWriter out;
  out.reserve(8);
  out.write(0b1011, 4);
  writer.write(data, block, distances, out);
  out.reserve(8);
  out.write(0b11, 2);
  out.alignToByte();
  EXPECT_LT(out.bytes().size(), 2000U);
  EXPECT_TRUE(Testing::decoded(out.bytes(), data.size()) == data);
}

}  // namespace
