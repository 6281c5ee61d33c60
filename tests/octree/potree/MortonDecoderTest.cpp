#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <random>

#include "octree/potree/MortonDecoder.h"
#include "support/PotreePoints.h"

namespace {

using PoTree::kColorCodeSize;
using PoTree::kPositionCodeSize;
using Position = std::array<std::uint32_t, 3>;
using Rgb = std::array<std::uint16_t, 3>;

std::span<const std::byte> bytesOf(const std::string& text) { return std::as_bytes(std::span(text)); }

Position decoded(std::uint32_t w0, std::uint32_t w1, std::uint32_t w2, std::uint32_t w3) {
  const std::string code = Testing::littleEndian(w0, w1, w2, w3);
  return PoTree::decodeMortonPosition(bytesOf(code).data());
}

/// Runs @p test with each instruction set of this processor in use, and goes back to the best one.
template <class Test>
void onEveryTarget(const Test& test) {
  int targets = 0;
  for (std::int64_t rest = hwy::SupportedTargets(); rest != 0; rest &= rest - 1) {
    const std::int64_t target = rest & -rest;
    hwy::SetSupportedTargetsForTest(target);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
    test(hwy::TargetName(target));
    ++targets;
    hwy::SetSupportedTargetsForTest(0);
  }
  hwy::GetChosenTarget().Update(hwy::SupportedTargets());
  EXPECT_GT(targets, 0);
}

/// Codes that hold any bits, the unused top ones and the words that decide on the high half among them.
std::string randomCodes(std::size_t bytes, std::uint32_t seed) {
  std::mt19937 random(seed);
  std::string codes;
  while (codes.size() < bytes) {
    const std::uint32_t word = random() % 4 == 0 ? 0 : static_cast<std::uint32_t>(random());
    codes += Testing::littleEndian(word);
  }
  codes.resize(bytes);
  return codes;
}

TEST(DecodeMortonPosition, GivesBackEveryBitOfEveryCoordinate) {
  for (std::size_t axis = 0; axis < 3; ++axis) {
    for (unsigned bit = 0; bit < 32; ++bit) {
      Position position{1U << 22U, 0, 0};  // its code makes the first word count
      position[axis] |= 1U << bit;
      const std::string code = Testing::mortonCode(position);
      ASSERT_EQ(PoTree::decodeMortonPosition(bytesOf(code).data()), position) << axis << ", bit " << bit;
    }
  }
}

TEST(DecodeMortonPosition, GivesOnlyTheLowPartsWhenFirstAndLastWordAreZero) {
  EXPECT_EQ(decoded(0, 1, 0b111, 0), (Position{1, 1, 1}));
  EXPECT_EQ(decoded(0, 0xFFFF'FFFFU, 0, 0), (Position{0, 0, 0}));
}

TEST(DecodeMortonPosition, CountsTheHighHalfWhenTheFirstOrTheLastWordIsNotZero) {
  // Bit 32 of a half is bit 10 of the third coordinate.
  EXPECT_EQ(decoded(1, 1, 0, 0), (Position{1U << 16U, 0, 1U << 26U}));
  EXPECT_EQ(decoded(0, 1, 0, 1), (Position{0, 0, 1U << 26U | 1U << 10U}));
  EXPECT_EQ(decoded(2, 0, 0, 0), (Position{0, 1U << 16U, 0}));
}

TEST(DecodeMortonPosition, IgnoresTheTopBitsOfAHalf) {
  EXPECT_EQ(decoded(1, 0xFFFF'0000U, 0, 0xFFFF'0000U), (Position{1U << 16U, 0, 0}));
}

TEST(DecodeMortonPositions, EqualsThePlainFormOnEveryTarget) {
  for (const std::size_t count : {0U, 1U, 2U, 3U, 4U, 5U, 7U, 8U, 9U, 15U, 16U, 17U, 31U, 1000U}) {
    const std::string codes = randomCodes(count * kPositionCodeSize, static_cast<std::uint32_t>(count));
    std::vector<std::uint32_t> plain;
    for (std::size_t i = 0; i < count; ++i) {
      const Position position = PoTree::decodeMortonPosition(bytesOf(codes).data() + i * kPositionCodeSize);
      plain.insert(plain.end(), position.begin(), position.end());
    }
    onEveryTarget([&](const char* target) {
      std::vector<std::uint32_t> fast(3 * count);
      PoTree::decodeMortonPositions(bytesOf(codes), fast);
      EXPECT_EQ(fast, plain) << target << ", " << count << " points";
    });
  }
}

TEST(DecodeMortonPositions, ReadsCodesAtAnyAddress) {
  const std::string codes = randomCodes(20 * kPositionCodeSize, 7);
  std::vector<std::uint32_t> aligned(60);
  PoTree::decodeMortonPositions(bytesOf(codes), aligned);
  for (std::size_t shift = 1; shift < 8; ++shift) {
    const std::string moved = std::string(shift, 'x') + codes;
    onEveryTarget([&](const char* target) {
      std::vector<std::uint32_t> shifted(60);
      PoTree::decodeMortonPositions(bytesOf(moved).subspan(shift), shifted);
      EXPECT_EQ(shifted, aligned) << target << ", " << shift;
    });
  }
}

TEST(DecodeMortonColors, GivesBackEveryColourOnEveryTarget) {
  std::mt19937 random(3);
  for (const std::size_t count : {0U, 1U, 3U, 5U, 8U, 17U, 1000U}) {
    std::string codes;
    std::vector<std::uint16_t> expected;
    for (std::size_t i = 0; i < count; ++i) {
      Rgb rgb;
      for (auto& component : rgb) component = static_cast<std::uint16_t>(random());
      codes += Testing::mortonCode(rgb);
      expected.insert(expected.end(), rgb.begin(), rgb.end());
    }
    onEveryTarget([&](const char* target) {
      std::vector<std::uint16_t> fast(3 * count);
      PoTree::decodeMortonColors(bytesOf(codes), fast);
      EXPECT_EQ(fast, expected) << target << ", " << count << " points";
    });
  }
}

TEST(DecodeMortonColors, WritesNoFurtherThanThereAreCodes) {
  const std::string codes(5 * kColorCodeSize, '\xFF');
  onEveryTarget([&](const char* target) {
    std::vector<std::uint16_t> out(16, 7);
    PoTree::decodeMortonColors(bytesOf(codes), out);
    EXPECT_EQ(out[14], 0xFFFF) << target;
    EXPECT_EQ(out[15], 7) << target;
  });
}

}  // namespace
