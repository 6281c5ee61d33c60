#include <gtest/gtest.h>

#include <charconv>
#include <cmath>
#include <limits>
#include <random>

#include "formats/CoordinateFormat.h"

namespace Formats {
namespace {

TEST(CoordinateFormat, HasTheDecimalsOfTheScale) {
  EXPECT_EQ(CoordinateFormat(0.001).text(636001.76), "636001.760");
  EXPECT_EQ(CoordinateFormat(0.01).text(-0.046), "-0.05");
  EXPECT_EQ(CoordinateFormat(0.25).text(1.5), "1.50");
  EXPECT_EQ(CoordinateFormat(1e-7).text(12.00000004), "12.0000000");
}

TEST(CoordinateFormat, HasNoPointForStepsOfWholeUnits) {
  EXPECT_EQ(CoordinateFormat(1).text(41.6), "42");
  EXPECT_EQ(CoordinateFormat(10).text(-420), "-420");
}

TEST(CoordinateFormat, HasSeventeenDigitsForStepsThatAreNoShortDecimalNumber) {
  EXPECT_EQ(CoordinateFormat(1.0 / 3).text(1.0 / 3), "0.33333333333333331");
  EXPECT_EQ(CoordinateFormat(static_cast<double>(0.001F)).text(0.5), "0.5");
  EXPECT_EQ(CoordinateFormat(1e-20).text(2), "2");
}

TEST(CoordinateFormat, WritesStepsThatArePowersOfTwoInFull) {
  EXPECT_EQ(CoordinateFormat(0.0009765625).text(3.0009765625), "3.0009765625");
}

TEST(CoordinateFormat, WritesNoNegativeZero) {
  EXPECT_EQ(CoordinateFormat(0.01).text(-0.001), "0.00");
  EXPECT_EQ(CoordinateFormat(1).text(-0.0), "0");
}

TEST(CoordinateFormat, WritesWhatIsTooLargeForWholeSteps) {
  EXPECT_EQ(CoordinateFormat(0.001).text(9007199254741.5), "9007199254741.500");
  EXPECT_EQ(CoordinateFormat(0.01).text(1e300).size(), 304U);
  EXPECT_EQ(CoordinateFormat(1e-15).text(-std::numeric_limits<double>::max()).size(), 326U);
  EXPECT_EQ(CoordinateFormat(0.01).text(std::nan("")), "nan");
}

TEST(CoordinateFormat, AgreesWithTheLibraryOnEveryMultipleOfTheStep) {
  std::mt19937_64 random(7);
  std::uniform_int_distribution<std::int64_t> steps(-70'000'000'000, 70'000'000'000);
  const CoordinateFormat format(0.001);
  for (int i = 0; i < 20'000; ++i) {
    const double value = static_cast<double>(steps(random)) * 0.001;
    std::array<char, 64> expected{};
    const auto end = std::to_chars(expected.data(), expected.data() + 64, value, std::chars_format::fixed, 3);
    ASSERT_EQ(format.text(value), std::string(expected.data(), end.ptr));
  }
}

}  // namespace
}  // namespace Formats
