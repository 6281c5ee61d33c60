#include <gtest/gtest.h>

#include <limits>

#include "render/ColorMap.h"

namespace Testing {
namespace {

namespace Spectrum = Math::Spectrum;
using Render::ColorMap;
using Render::SpectrumFunction;
using Spectrum::SpectrumNames;

/// The spectra by their numbers, made here once more.
std::vector<SpectrumFunction> expectedSpectra() {
  return {Spectrum::Gray(),
          Spectrum::BlueGreenRed(),
          Spectrum::Bone(),
          Spectrum::Jet(),
          Spectrum::Hot(),
          Spectrum::Thermo(),
          Spectrum::Hsv(),
          Spectrum::Beer(0.5),
          Spectrum::Turbo(),
          Spectrum::Inferno(),
          Spectrum::Plasma(),
          Spectrum::Magma(),
          Spectrum::Viridis(),
          Spectrum::RedWhiteBlue(),
          Spectrum::LevelOfAccuracy(),
          Spectrum::PassFail(-0.5, 0.5, -1.0, 1.0),
          Spectrum::TrafficLight(-0.6666666666666666, 0.6666666666666666, -0.3333333333333333,
                                 0.3333333333333333, -1.0, 1.0),
          Spectrum::CoolToWarm()};
}

TEST(ColorMap, HasTheNumberOfItsSpectrum) {
  for (const int number : {0, 1, 16, 17, 18, -1, std::numeric_limits<int>::max()}) {
    EXPECT_EQ(Render::spectrumName(static_cast<ColorMap>(number)), static_cast<SpectrumNames>(number));
  }
  EXPECT_EQ(Render::spectrumName(ColorMap::CoolToWarm), SpectrumNames::CoolToWarm);
}

TEST(ColorMap, IsDrawnWithTheSpectrumOfItsNumber) {
  const std::vector<SpectrumFunction> expected = expectedSpectra();
  ASSERT_EQ(expected.size(), 18U);
  for (std::size_t number = 0; number < expected.size(); ++number) {
    const SpectrumFunction spectrum = Render::legendSpectrum(static_cast<SpectrumNames>(number));
    ASSERT_TRUE(spectrum) << number;
    for (int i = 0; i <= 600; ++i) EXPECT_EQ(spectrum(i / 600.0), expected[number](i / 600.0)) << number;
  }
}

TEST(ColorMap, HasNoSpectrumForOtherNumbers) {
  for (const int number : {18, 19, -1, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
    EXPECT_FALSE(Render::legendSpectrum(static_cast<SpectrumNames>(number))) << number;
  }
}

}  // namespace
}  // namespace Testing
