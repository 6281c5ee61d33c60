#include <gmock/gmock.h>

#include <cmath>

#include "formats/e57/ValueScale.h"

namespace {

using Formats::E57::chooseRange;
using Formats::E57::commonColorRange;
using Formats::E57::ValueRange;
using Formats::E57::ValueScale;

using Range = std::optional<ValueRange>;

double maximumOf(const Range& range) { return range ? range->maximum : -1; }

TEST(E57ValueScale, BringsTheRangeToSixteenBits) {
  const ValueScale scale({-1, 3});
  EXPECT_EQ(scale(-1), 0);
  EXPECT_EQ(scale(1), 32768);
  EXPECT_EQ(scale(3), 65535);
  EXPECT_EQ(scale(-INFINITY), 0);
  EXPECT_EQ(scale(1e300), 65535);
  EXPECT_EQ(scale(NAN), 0);
}

TEST(E57ValueScale, EightBitsBecomeWholeMultiplesAndSixteenStay) {
  for (int value = 0; value < 256; ++value) EXPECT_EQ(ValueScale({0, 255})(value), value * 257);
  for (int value = 0; value < 65536; ++value) ASSERT_EQ(ValueScale({0, 65535})(value), value);
}

TEST(E57ValueScale, ARangeThatTellsNothingApartGivesZero) {
  EXPECT_EQ(ValueScale({5, 5})(5), 0);
  EXPECT_EQ(ValueScale({0, NAN})(5), 0);
  EXPECT_EQ(ValueScale()(5), 0);
}

TEST(E57ValueScale, LimitsThatCoverTheFieldCount) {
  EXPECT_EQ(maximumOf(chooseRange(Range({0, 4095}), Range({0, 255}), std::nullopt)), 4095);
}

TEST(E57ValueScale, LimitsThatDoNotCoverTheFieldCountOnlyWhenTheyCoverTheValues) {
  const Range limits({0, 255});
  const Range field({0, 65535});
  EXPECT_EQ(chooseRange(limits, field, std::nullopt), std::nullopt) << "values have to be looked at";
  EXPECT_EQ(maximumOf(chooseRange(limits, field, Range({3, 250}))), 255);
  EXPECT_EQ(maximumOf(chooseRange(limits, field, Range({3, 256}))), 65535);
}

TEST(E57ValueScale, WithoutLimitsTheFieldCounts) {
  EXPECT_EQ(maximumOf(chooseRange(std::nullopt, Range({0, 1023}), std::nullopt)), 1023);
  EXPECT_EQ(chooseRange(std::nullopt, std::nullopt, std::nullopt), std::nullopt);
}

TEST(E57ValueScale, ColoursThatSayNothingAreOfACommonRange) {
  EXPECT_EQ(commonColorRange({0, 0.7}).maximum, 1);
  EXPECT_EQ(commonColorRange({0, 200}).maximum, 255);
  EXPECT_EQ(commonColorRange({0, 256}).maximum, 65535);
}

}  // namespace
