#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>

#include "render/ColorMapLegend.h"

namespace Testing {
namespace {

using Render::ColorMap;
using Render::LegendDirection;

constexpr auto kNoMap = static_cast<ColorMap>(18);

TEST(ColorMapLegend, HasOneColourAColumnToTheRight) {
  const Graphics::ColorImage image = drawLegend(ColorMap::Jet, 4, 3, LegendDirection::Right);
  const Math::Spectrum::Jet jet;
  for (std::size_t y = 0; y < 3; ++y) {
    EXPECT_EQ(image(0, y), jet(0));
    EXPECT_EQ(image(1, y), jet(0.25));
    EXPECT_EQ(image(2, y), jet(0.5));
    EXPECT_EQ(image(3, y), jet(0.75));
  }
}

TEST(ColorMapLegend, EndsInItsTopRowUpwards) {
  const Graphics::ColorImage image = drawLegend(ColorMap::Viridis, 2, 4, LegendDirection::Up);
  const Math::Spectrum::Viridis viridis;
  for (std::size_t x = 0; x < 2; ++x) {
    EXPECT_EQ(image(x, 0), viridis(0.75));
    EXPECT_EQ(image(x, 1), viridis(0.5));
    EXPECT_EQ(image(x, 2), viridis(0.25));
    EXPECT_EQ(image(x, 3), viridis(0));
  }
}

TEST(ColorMapLegend, HasTheFirstColourAloneWhenItIsOnePixelLong) {
  EXPECT_EQ(drawLegend(ColorMap::Jet, 1, 1, LegendDirection::Right)(0, 0), Math::Spectrum::Jet()(0));
  EXPECT_EQ(drawLegend(ColorMap::Jet, 1, 1, LegendDirection::Up)(0, 0), Math::Spectrum::Jet()(0));
}

TEST(ColorMapLegend, DividesInDoubleAnIndexOfSinglePrecision) {
  EXPECT_EQ(Render::legendParameter(1, 3), 1.0 / 3.0);
  EXPECT_NE(Render::legendParameter(1, 3), static_cast<double>(1.0F / 3.0F));
  EXPECT_EQ(Render::legendParameter((1 << 24) + 1, 1 << 25), 0.5) << "2^24 + 1 is no float";
}

TEST(ColorMapLegend, CannotBeDrawnOfANumberThatIsNoMap) {
  EXPECT_THROW((void)drawLegend(kNoMap, 1, 1, LegendDirection::Right), std::bad_function_call);
  EXPECT_THROW((void)drawLegend(kNoMap, 1, 0, LegendDirection::Right), std::bad_function_call);
  EXPECT_THROW((void)drawLegend(kNoMap, 0, 1, LegendDirection::Up), std::bad_function_call);
  EXPECT_THROW((void)drawLegend(static_cast<ColorMap>(-1), 1, 1, LegendDirection::Up),
               std::bad_function_call);
}

TEST(ColorMapLegend, OfNoSampleNeedsNoMap) {
  EXPECT_EQ(drawLegend(kNoMap, 0, 7, LegendDirection::Right).height(), 7U);
  EXPECT_EQ(drawLegend(kNoMap, 7, 0, LegendDirection::Up).width(), 7U);
}

TEST(ColorMapLegend, OfNoPixelTakesNoTimeForItsLength) {
  EXPECT_EQ(drawLegend(ColorMap::Jet, SIZE_MAX, 0, LegendDirection::Right).width(), SIZE_MAX);
  EXPECT_EQ(drawLegend(ColorMap::Jet, 0, SIZE_MAX, LegendDirection::Up).height(), SIZE_MAX);
}

TEST(ColorMapLegend, TooLargeForMemoryIsRefusedBeforeItIsSampled) {
  EXPECT_THROW((void)drawLegend(ColorMap::Jet, SIZE_MAX, 2, LegendDirection::Right), std::length_error);
}

}  // namespace
}  // namespace Testing
