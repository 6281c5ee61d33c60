#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <functional>
#include <limits>

#include "math/Boundary.h"
#include "math/PublishedRamps.h"
#include "math/Spectrum.h"

namespace Testing {
namespace {

using namespace Math::Spectrum;
using Math::Color;
using Ramp = std::function<Color(double)>;

constexpr Color kBlack(0, 0, 0, 255);
constexpr Color kWhite(255, 255, 255, 255);
constexpr Color kRed(255, 0, 0, 255);
constexpr Color kGreen(0, 255, 0, 255);
constexpr Color kBlue(0, 0, 255, 255);

struct NamedRamp {
  const char* name;
  Ramp ramp;
};

std::vector<NamedRamp> allRamps() {
  return {{"Gray", Gray()},
          {"BlueGreenRed", BlueGreenRed()},
          {"Bone", Bone()},
          {"Jet", Jet()},
          {"Hot", Hot()},
          {"Thermo", Thermo()},
          {"Hsv", Hsv()},
          {"Beer", Beer(0.5)},
          {"Turbo", Turbo()},
          {"Inferno", Inferno()},
          {"Plasma", Plasma()},
          {"Magma", Magma()},
          {"Viridis", Viridis()},
          {"RedWhiteBlue", RedWhiteBlue()},
          {"LevelOfAccuracy", LevelOfAccuracy()},
          {"PassFail", PassFail(-0.5, 0.5, -1, 1)},
          {"TrafficLight", TrafficLight(-2, 2, -1, 1, -3, 3)},
          {"CoolToWarm", CoolToWarm()}};
}

int largestDifference(Color a, Color b) {
  return std::max({std::abs(a.r() - b.r()), std::abs(a.g() - b.g()), std::abs(a.b() - b.b())});
}

Color publishedColor(std::string_view table, std::size_t row) {
  const auto rgb = std::strtoul(std::string(table.substr(6 * row, 6)).c_str(), nullptr, 16);
  return {static_cast<std::uint8_t>(rgb >> 16 & 0xFF), static_cast<std::uint8_t>(rgb >> 8 & 0xFF),
          static_cast<std::uint8_t>(rgb & 0xFF), 255};
}

TEST(Spectrum, IsWithinOneStepOfThePublishedTables) {
  const std::vector<std::pair<NamedRamp, std::string_view>> ramps = {
      {{"Turbo", Turbo()}, Published::kTurbo},       {{"Inferno", Inferno()}, Published::kInferno},
      {{"Plasma", Plasma()}, Published::kPlasma},    {{"Magma", Magma()}, Published::kMagma},
      {{"Viridis", Viridis()}, Published::kViridis}, {{"CoolToWarm", CoolToWarm()}, Published::kCoolToWarm}};
  for (const auto& [named, table] : ramps) {
    ASSERT_EQ(table.size(), 256 * 6U) << named.name;
    for (std::size_t row = 0; row < 256; ++row) {
      const Color color = named.ramp(static_cast<double>(row) / 255);
      EXPECT_LE(largestDifference(color, publishedColor(table, row)), 1) << named.name << ", row " << row;
    }
  }
}

TEST(Spectrum, TakesTheColourOfTheNearerEndOutsideTheUnitIntervalAndThatOfZeroForNaN) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  for (const NamedRamp& named : allRamps()) {
    for (const double below : {-1e-300, -0.1, -1e300, -kInfinity, std::nan("")}) {
      EXPECT_EQ(named.ramp(below), named.ramp(0)) << named.name << " at " << below;
    }
    for (const double above : {1.000001, 2.0, 1e300, kInfinity}) {
      EXPECT_EQ(named.ramp(above), named.ramp(1)) << named.name << " at " << above;
    }
  }
}

TEST(Spectrum, IsOpaque) {
  for (const NamedRamp& named : allRamps()) {
    for (int i = 0; i <= 100; ++i) EXPECT_EQ(named.ramp(i / 100.0).a(), 255) << named.name;
  }
}

TEST(Spectrum, HasNoJumpsBesidesThoseOfItsBands) {
  for (const NamedRamp& named : allRamps()) {
    const std::string name = named.name;
    if (name == "LevelOfAccuracy" || name == "PassFail" || name == "TrafficLight") continue;
    for (int i = 0; i < 1024; ++i) {
      const int step = largestDifference(named.ramp(i / 1024.0), named.ramp((i + 1) / 1024.0));
      EXPECT_LE(step, 4) << name << " at " << i << " of 1024";
    }
  }
}

TEST(Spectrum, OfGrayIsAsLightAsTheParameter) {
  EXPECT_EQ(Gray()(0), kBlack);
  EXPECT_EQ(Gray()(0.25), Color(64, 64, 64, 255));
  EXPECT_EQ(Gray()(1), kWhite);
}

TEST(Spectrum, OfBlueGreenRedHasThemAtItsEndsAndInTheMiddle) {
  EXPECT_EQ(BlueGreenRed()(0), kBlue);
  EXPECT_EQ(BlueGreenRed()(0.25), Color(0, 180, 180, 255));
  EXPECT_EQ(BlueGreenRed()(0.5), kGreen);
  EXPECT_EQ(BlueGreenRed()(0.75), Color(180, 180, 0, 255));
  EXPECT_EQ(BlueGreenRed()(1), kRed);
}

TEST(Spectrum, OfBoneIsSevenPartsOfGrayAndOneOfHotReversed) {
  EXPECT_EQ(Bone()(0), kBlack);
  EXPECT_EQ(Bone()(0.375), Color(84, 84, 116, 255));   // 255 * (7 * 3/8 + {0, 0, 1}) / 8
  EXPECT_EQ(Bone()(0.75), Color(167, 199, 199, 255));  // 255 * (7 * 3/4 + {0, 1, 1}) / 8
  EXPECT_EQ(Bone()(1), kWhite);
}

TEST(Spectrum, OfJetHasItsCornersAtOddEighths) {
  EXPECT_EQ(Jet()(0), Color(0, 0, 128, 255));
  EXPECT_EQ(Jet()(0.125), kBlue);
  EXPECT_EQ(Jet()(0.375), Color(0, 255, 255, 255));
  EXPECT_EQ(Jet()(0.5), Color(128, 255, 128, 255));
  EXPECT_EQ(Jet()(0.625), Color(255, 255, 0, 255));
  EXPECT_EQ(Jet()(0.875), kRed);
  EXPECT_EQ(Jet()(1), Color(128, 0, 0, 255));
}

TEST(Spectrum, OfHotRaisesRedThenGreenThenBlue) {
  EXPECT_EQ(Hot()(0), kBlack);
  EXPECT_EQ(Hot()(0.375), kRed);
  EXPECT_EQ(Hot()(0.75), Color(255, 255, 0, 255));
  EXPECT_EQ(Hot()(1), kWhite);
}

TEST(Spectrum, OfThermoGrowsLighterAllTheWay) {
  const auto lightness = [](double t) {
    const Color color = Thermo()(t);
    return 0.2126 * color.r() + 0.7152 * color.g() + 0.0722 * color.b();
  };
  for (int i = 0; i < 64; ++i) EXPECT_LT(lightness(i / 64.0), lightness((i + 1) / 64.0)) << i;
}

TEST(Spectrum, OfHsvComesBackToRed) {
  const std::vector<Color> corners = {kRed,  Color(255, 255, 0, 255), kGreen, Color(0, 255, 255, 255),
                                      kBlue, Color(255, 0, 255, 255), kRed};
  for (std::size_t i = 0; i <= 6; ++i) EXPECT_EQ(Hsv()(static_cast<double>(i) / 6), corners[i]) << i;
}

TEST(Spectrum, OfBeerEndsAtTheDensityThatItIsGiven) {
  EXPECT_EQ(Beer(0.5)(0), kWhite);
  EXPECT_EQ(Beer(0.5)(1), Color(154, 20, 0, 255));  // 255 * {0.975, 0.88, 0.7}^20
  EXPECT_EQ(Beer(0.5)(1), Beer(1)(0.5));
  EXPECT_EQ(Beer(0)(1), kWhite);
}

TEST(Spectrum, OfRedWhiteBlueIsWhiteInTheMiddle) {
  EXPECT_EQ(RedWhiteBlue()(0), kRed);
  EXPECT_EQ(RedWhiteBlue()(0.25), Color(255, 128, 128, 255));
  EXPECT_EQ(RedWhiteBlue()(0.5), kWhite);
  EXPECT_EQ(RedWhiteBlue()(1), kBlue);
}

TEST(Spectrum, OfLevelOfAccuracyHasFiveBandsOnEitherSideOfTheMiddle) {
  const LevelOfAccuracy spectrum;
  std::vector<Color> bands;
  for (const double deviation : {0.1, 0.3, 0.5, 0.7, 0.9}) {
    bands.push_back(spectrum(0.5 + deviation / 2));
    EXPECT_EQ(spectrum(0.5 + (deviation - 0.09) / 2), bands.back()) << deviation;
    EXPECT_EQ(spectrum(0.5 + (deviation + 0.09) / 2), bands.back()) << deviation;
    EXPECT_EQ(spectrum(0.5 - deviation / 2), bands.back()) << deviation;
  }
  for (std::size_t i = 1; i < bands.size(); ++i) EXPECT_NE(bands[i - 1], bands[i]);
  EXPECT_EQ(bands.front(), PassFail(0, 1, 0, 1)(0)) << "green";
  EXPECT_EQ(bands.back(), PassFail(1, 1, 0, 1)(0)) << "red";
}

TEST(Spectrum, OfPassFailIsGreenWhereAValuePassesBothBoundsIncluded) {
  const PassFail spectrum(-0.5, 0.5, -1, 1);
  const Color green = spectrum(0.5);
  const Color red = spectrum(0);
  EXPECT_GT(green.g(), green.r());
  EXPECT_GT(red.r(), red.g());
  EXPECT_EQ(spectrum(0.2499), red);
  EXPECT_EQ(spectrum(0.25), green);
  EXPECT_EQ(spectrum(0.75), green);
  EXPECT_EQ(spectrum(0.7501), red);
  EXPECT_EQ(spectrum(1), red);
}

TEST(Spectrum, OfTrafficLightIsYellowBetweenTheTwoRanges) {
  const TrafficLight spectrum(-1.5, 3, -0.5, 1, -2, 6);  // parameter t stands for 8 t - 2
  const Color green = spectrum(2 / 8.0);
  const Color yellow = spectrum(1 / 8.0);
  const Color red = spectrum(0);
  EXPECT_EQ(green, PassFail(0, 1, 0, 1)(0));
  EXPECT_EQ(red, PassFail(1, 1, 0, 1)(0));
  EXPECT_NE(yellow, green);
  EXPECT_NE(yellow, red);
  const std::vector<std::pair<double, Color>> expected = {{-1.51, red},  {-1.5, yellow}, {-0.51, yellow},
                                                          {-0.5, green}, {1, green},     {1.01, yellow},
                                                          {3, yellow},   {3.01, red}};
  for (const auto& [value, color] : expected) EXPECT_EQ(spectrum((value + 2) / 8), color) << value;
}

TEST(Boundary, LeavesParametersAsTheyAre) {
  constexpr Math::Boundary::None kNone;
  for (const double t : {-2.0, 0.0, 0.3, 1.0, 7.0}) EXPECT_EQ(kNone(t), t);
}

}  // namespace
}  // namespace Testing
