#include <gmock/gmock.h>

#include <cmath>
#include <stdexcept>
#include <string>

#include "regions/ImageSegmentation.h"
#include "regions/RandomRegions.h"

namespace {

using Math::ImageSegmentation;
using testing::ElementsAre;

/// The rows of a mask, read at the middles of its pixels.
std::vector<std::string> rows(const ImageSegmentation& mask) {
  std::vector<std::string> result;
  for (std::uint64_t y = 0; y < mask.height(); ++y) {
    result.emplace_back();
    for (std::uint64_t x = 0; x < mask.width(); ++x) {
      result.back() +=
          mask.inside({{static_cast<float>(x) + 0.5F, static_cast<float>(y) + 0.5F}}) ? '#' : '.';
    }
  }
  return result;
}

Math::NBoundingBox<float, 3> rectangle(float minX, float minY, float maxX, float maxY) {
  return {{{minX, minY, 0}}, {{maxX, maxY, 0}}};
}

TEST(ImageSegmentation, AlternatesRunsRowByRowFromTheTopLeftBeginningOutside) {
  EXPECT_THAT(rows({4, 3, {1, 2, 3, 4, 2}}), ElementsAre(".##.", "..##", "##.."));
  EXPECT_THAT(rows({3, 2, {0, 3, 1, 2}}), ElementsAre("###", ".##"));
}

TEST(ImageSegmentation, LeavesWhatItsRunsDoNotReachOutside) {
  EXPECT_THAT(rows({3, 2, {1, 1}}), ElementsAre(".#.", "..."));
  EXPECT_THAT(rows({2, 1, {}}), ElementsAre(".."));
}

TEST(ImageSegmentation, JoinsRunsAcrossEmptyOnes) {
  EXPECT_THAT(rows({4, 1, {1, 1, 0, 1, 1}}), ElementsAre(".##."));
}

TEST(ImageSegmentation, EndsBeforeItsRightAndBottomEdges) {
  const ImageSegmentation whole(4, 3, {0, 12});
  EXPECT_TRUE(whole.inside({{0, 0}}));
  EXPECT_TRUE(whole.inside({{3.99F, 2.99F}}));
  EXPECT_FALSE(whole.inside({{4, 1}}));
  EXPECT_FALSE(whole.inside({{1, 3}}));
  EXPECT_FALSE(whole.inside({{-0.001F, 1}}));
  EXPECT_FALSE(whole.inside({{std::nanf(""), 1}}));
  EXPECT_FALSE(whole.inside({{1, INFINITY}}));
}

TEST(ImageSegmentation, RefusesRunsLongerThanTheImageAndImagesOfTooManyPixels) {
  EXPECT_THROW(ImageSegmentation(4, 3, {1, 12}), std::invalid_argument);
  EXPECT_THROW(ImageSegmentation(4, 3, {1, UINT64_MAX}), std::invalid_argument);
  EXPECT_THROW(ImageSegmentation(0, 3, {1}), std::invalid_argument);
  EXPECT_THROW(ImageSegmentation(1U << 31U, std::uint64_t{1} << 32U, {}), std::invalid_argument);
}

TEST(ImageSegmentation, AnswersForRectanglesOfPixels) {
  const ImageSegmentation mask(4, 3, {1, 2, 3, 4, 2});
  EXPECT_TRUE(contains(mask, rectangle(1, 0, 2.9F, 0.9F)));
  EXPECT_FALSE(contains(mask, rectangle(1, 0, 3, 0.9F)));
  EXPECT_FALSE(overlaps(mask, rectangle(0, 0, 0.9F, 1.9F)));
  EXPECT_TRUE(overlaps(mask, rectangle(0, 0, 0.9F, 2)));
  EXPECT_FALSE(overlaps(mask, rectangle(4, 0, 9, 9)));
}

TEST(ImageSegmentation, AnswersForRectanglesAsItsPixelsDo) {
  Testing::RandomRegions random(1, {0, 10, 0});
  for (int n = 0; n < 300; ++n) {
    const ImageSegmentation mask = random.segmentation(9, 7);
    const std::vector<std::string> pixels = rows(mask);
    for (int minY = 0; minY < 7; ++minY) {
      const int minX = n % 9;
      const int maxX = minX + (n / 9) % (9 - minX);
      const int maxY = minY + n % (7 - minY);
      bool any = false;
      bool all = true;
      for (int y = minY; y <= maxY; ++y) {
        for (int x = minX; x <= maxX; ++x) {
          const bool in = pixels[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)] == '#';
          any = any || in;
          all = all && in;
        }
      }
      const auto box = rectangle(static_cast<float>(minX), static_cast<float>(minY),
                                 static_cast<float>(maxX) + 0.5F, static_cast<float>(maxY) + 0.5F);
      ASSERT_EQ(overlaps(mask, box), any) << "mask " << n;
      ASSERT_EQ(contains(mask, box), all) << "mask " << n;
    }
  }
}

}  // namespace
