#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "graphics/Png.h"

namespace Testing {
namespace {

using Graphics::PngError;
using testing::ThrowsMessage;

TEST(Png, IsMadeOfTheLongestSide) {
  const std::vector<Math::Color> pixels(1'000'000);
  EXPECT_GT(Graphics::encodePng(pixels, 1'000'000, 1).size(), 100U);
  EXPECT_GT(Graphics::encodePng(pixels, 1, 1'000'000).size(), 100U);
}

TEST(Png, IsNotMadeOfLongerSides) {
  EXPECT_THAT(
      [] { Graphics::checkPngSize(1'000'001, 1); },
      ThrowsMessage<PngError>("an image of 1000001 x 1 pixels cannot be written as PNG: a side has at "
                              "most 1000000"));
  EXPECT_THROW(Graphics::checkPngSize(1, 1'000'001), PngError);
  EXPECT_THROW(Graphics::checkPngSize(SIZE_MAX, SIZE_MAX), PngError);
}

TEST(Png, IsNotMadeOfMorePixelsThanItsEncoderCanCount) {
  Graphics::checkPngSize(1'000'000, 1073);
  EXPECT_THAT([] { Graphics::checkPngSize(1'000'000, 1074); },
              ThrowsMessage<PngError>("an image of 1000000 x 1074 pixels cannot be written as PNG: at most "
                                      "1073741823 in all"));
}

TEST(Png, IsNotMadeOfNothing) {
  EXPECT_THAT([] { (void)Graphics::encodePng({}, 0, 7); },
              ThrowsMessage<PngError>("an image of 0 x 7 pixels cannot be a PNG file: it is empty"));
  EXPECT_THROW((void)Graphics::encodePng({}, 7, 0), PngError);
}

}  // namespace
}  // namespace Testing
