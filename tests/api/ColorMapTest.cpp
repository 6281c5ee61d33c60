#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "Sorvik/ColorMap.h"
#include "support/PngFile.h"
#include "support/SampleData.h"
#include "support/TempFolder.h"

namespace Testing {
namespace {

using Sorvik::Color;
using Sorvik::ColorMap;
using Sorvik::ColorMapOrientation;
using Sorvik::renderColorMap;
using Sorvik::renderColorMapToPng;
using testing::AllOf;
using testing::HasSubstr;
using testing::ThrowsMessage;

constexpr auto kHorizontal = ColorMapOrientation::Horizontal;
constexpr auto kVertical = ColorMapOrientation::Vertical;
constexpr Color kUntouched{9, 8, 7, 6};

std::vector<Color> rendered(ColorMap map, std::size_t width, std::size_t height,
                            ColorMapOrientation orientation) {
  std::vector<Color> image(width * height, kUntouched);
  renderColorMap(map, width, height, image, orientation);
  return image;
}

/// What renderColorMap() stores of a colour: red first, in the place of b.
Color asStored(std::uint8_t red, std::uint8_t green, std::uint8_t blue) { return {red, green, blue, 255}; }

TEST(RenderColorMap, DrawsHorizontallyFromTheLeftOneColourAColumn) {
  const std::vector<Color> row = {asStored(0, 0, 0), asStored(64, 64, 64), asStored(128, 128, 128),
                                  asStored(191, 191, 191)};
  std::vector<Color> expected = row;
  expected.insert(expected.end(), row.begin(), row.end());
  EXPECT_EQ(rendered(ColorMap::Gray, 4, 2, kHorizontal), expected);
}

TEST(RenderColorMap, DrawsVerticallyFromTheBottom) {
  const std::vector<Color> column = rendered(ColorMap::Gray, 1, 4, kVertical);
  EXPECT_EQ(column.front(), asStored(191, 191, 191));
  EXPECT_EQ(column.back(), asStored(0, 0, 0));
}

TEST(RenderColorMap, TakesEveryOrientationButZeroForVertical) {
  for (const int orientation : {2, -1, 1'000'000}) {
    EXPECT_EQ(rendered(ColorMap::Jet, 3, 5, static_cast<ColorMapOrientation>(orientation)),
              rendered(ColorMap::Jet, 3, 5, kVertical));
  }
}

TEST(RenderColorMap, StoresRedWhereColorHasItsBlue) {
  EXPECT_EQ(rendered(ColorMap::RedWhiteBlue, 1, 1, kHorizontal).front(), (Color{255, 0, 0, 255}));
}

TEST(RenderColorMap, DrawsEveryMapDifferently) {
  std::vector<std::vector<Color>> bars;
  for (int map = 0; map <= static_cast<int>(ColorMap::CoolToWarm); ++map) {
    std::vector<Color> bar = rendered(static_cast<ColorMap>(map), 64, 1, kHorizontal);
    EXPECT_THAT(bars, testing::Not(testing::Contains(bar))) << map;
    bars.push_back(std::move(bar));
  }
  EXPECT_EQ(bars.size(), 18U);
}

TEST(RenderColorMap, LeavesTheRestOfMemoryAlone) {
  std::vector<Color> image(8, kUntouched);
  renderColorMap(ColorMap::Hot, 3, 2, Sorvik::Span<Color>(image.data() + 1, 6), kHorizontal);
  EXPECT_EQ(image.front(), kUntouched);
  EXPECT_EQ(image.back(), kUntouched);
}

TEST(RenderColorMap, TakesAnEmptyImage) {
  EXPECT_NO_THROW(renderColorMap(ColorMap::Hot, 0, 0, {}, kHorizontal));
  EXPECT_NO_THROW(renderColorMap(ColorMap::Hot, 5, 0, {}, kVertical));
  EXPECT_NO_THROW(renderColorMap(static_cast<ColorMap>(18), 0, 0, {}, kHorizontal));
}

TEST(RenderColorMap, RefusesAnImageOfAnotherSize) {
  const auto refuses = [](std::size_t width, std::size_t height, std::size_t size) {
    std::vector<Color> image(size, kUntouched);
    EXPECT_THAT([&] { renderColorMap(ColorMap::Jet, width, height, image, kVertical); },
                ThrowsMessage<std::invalid_argument>("Error: width * height != colorImage.size()"));
    EXPECT_EQ(image, std::vector<Color>(size, kUntouched));
  };
  refuses(4, 3, 13);
  refuses(4, 3, 11);
  refuses(4, 3, 0);
  refuses(0, 3, 1);
  refuses(std::size_t{1} << 32, std::size_t{1} << 32, 0);  // a product that 64 bits take for 0
  refuses((std::size_t{1} << 63) + 1, 2, 2);
}

TEST(RenderColorMap, ThrowsTheErrorOfAnEmptyFunctionForANumberThatIsNoMap) {
  for (const int number : {18, 1000, -1}) {
    EXPECT_THROW(rendered(static_cast<ColorMap>(number), 2, 2, kHorizontal), std::bad_function_call);
    EXPECT_THROW(renderColorMapToPng(static_cast<ColorMap>(number), 2, 2, L"/none/a.png", kHorizontal),
                 std::bad_function_call);
  }
}

class RenderColorMapToPng : public testing::Test {
 protected:
  [[nodiscard]] std::filesystem::path path(const std::string& name) const { return folder_.path() / name; }

 private:
  TempFolder folder_;
};

TEST_F(RenderColorMapToPng, WritesThePixelsThatRenderColorMapGives) {
  for (const ColorMapOrientation orientation : {kHorizontal, kVertical}) {
    renderColorMapToPng(ColorMap::Turbo, 31, 17, path("a.png").wstring(), orientation);
    const PngFile file = readPng(path("a.png"));
    EXPECT_EQ(file.width, 31U);
    EXPECT_EQ(file.height, 17U);
    std::vector<Rgba> expected;
    for (const Color& color : rendered(ColorMap::Turbo, 31, 17, orientation)) {
      expected.push_back({color.b, color.g, color.r, color.a});
    }
    EXPECT_EQ(file.pixels, expected);
  }
}

TEST_F(RenderColorMapToPng, RefusesAnEmptyPicture) {
  for (const auto& [width, height] : {std::pair{0U, 0U}, std::pair{5U, 0U}, std::pair{0U, 5U}}) {
    const auto call = [w = width, h = height, file = path("a.png").wstring()] {
      renderColorMapToPng(ColorMap::Turbo, w, h, file, kHorizontal);
    };
    EXPECT_THAT(call, ThrowsMessage<std::invalid_argument>("Error: width * height == 0"));
  }
  EXPECT_FALSE(std::filesystem::exists(path("a.png")));
}

TEST_F(RenderColorMapToPng, TakesPathsBeyondAscii) {
  renderColorMapToPng(ColorMap::Bone, 2, 2, path("").wstring() + L"L\u00E4nge \u6E2C.png", kVertical);
  EXPECT_EQ(readPng(path("L\xC3\xA4nge \xE6\xB8\xAC.png")).width, 2U);
}

TEST_F(RenderColorMapToPng, NamesThePathAndTheReasonWhenItCannotWrite) {
  EXPECT_THAT([&] { renderColorMapToPng(ColorMap::Bone, 2, 2, path("none/a.png").wstring(), kVertical); },
              ThrowsMessage<std::system_error>(AllOf(HasSubstr("none/a.png"), HasSubstr("No such file"))));
  EXPECT_THAT(
      [&] { renderColorMapToPng(ColorMap::Bone, 1'000'001, 1, path("a.png").wstring(), kVertical); },
      ThrowsMessage<std::runtime_error>(HasSubstr("a.png: an image of 1000001 x 1 pixels cannot be")));
  EXPECT_THROW(renderColorMapToPng(ColorMap::Bone, SIZE_MAX, 2, path("a.png").wstring(), kVertical),
               std::length_error);
}

}  // namespace
}  // namespace Testing
