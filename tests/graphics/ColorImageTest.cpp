#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <system_error>

#include "graphics/ColorImage.h"
#include "support/FileSizeLimit.h"
#include "support/PngFile.h"
#include "support/SampleData.h"
#include "support/TempFolder.h"

namespace Testing {
namespace {

using Graphics::ColorImage;
using testing::HasSubstr;
using testing::StartsWith;
using testing::ThrowsMessage;

/// Every pixel another colour, some of them transparent.
ColorImage chequered(std::size_t width, std::size_t height) {
  ColorImage image(width, height);
  for (std::size_t y = 0; y < height; ++y) {
    for (std::size_t x = 0; x < width; ++x) {
      image(x, y).set(static_cast<std::uint8_t>(3 * x), static_cast<std::uint8_t>(5 * y), 77,
                      static_cast<std::uint8_t>(x + y));
    }
  }
  return image;
}

TEST(ColorImage, BeginsBlackAndOpaque) {
  const ColorImage image(2, 3);
  EXPECT_EQ(image.width(), 2U);
  EXPECT_EQ(image.height(), 3U);
  for (std::size_t i = 0; i < 6; ++i) EXPECT_EQ(image.data()[i], Math::Color(0, 0, 0, 255));
}

TEST(ColorImage, HasItsRowsOneAfterTheOther) {
  ColorImage image(3, 2);
  image(2, 1).set(1, 2, 3, 4);
  EXPECT_EQ(image.data()[5], Math::Color(1, 2, 3, 4));
  EXPECT_EQ(image(2, 1), Math::Color(1, 2, 3, 4));
}

TEST(ColorImage, MayBeEmpty) {
  EXPECT_EQ(ColorImage(0, 5).height(), 5U);
  EXPECT_EQ(ColorImage(SIZE_MAX, 0).width(), SIZE_MAX);
}

TEST(ColorImage, SaysItsSizeWhenNoMemoryCouldHoldIt) {
  EXPECT_THAT(
      [] { ColorImage(std::size_t{1} << 32, std::size_t{1} << 32); },  // 2^64 pixels are 0 in 64 bits
      ThrowsMessage<std::length_error>("an image of 4294967296 x 4294967296 pixels is too large for memory"));
  EXPECT_THROW(ColorImage(SIZE_MAX, 1), std::length_error);
}

TEST(ColorImage, IsWrittenAsPngWithEveryPixelAsItIs) {
  const TempFolder folder;
  const ColorImage image = chequered(37, 23);
  image.writePng(folder.path() / "a.png");
  const PngFile file = readPng(folder.path() / "a.png");
  ASSERT_EQ(file.width, 37U);
  ASSERT_EQ(file.height, 23U);
  for (std::size_t y = 0; y < 23; ++y) {
    for (std::size_t x = 0; x < 37; ++x) {
      const Math::Color& pixel = image(x, y);
      EXPECT_EQ(file.at(x, y), (Rgba{pixel.r(), pixel.g(), pixel.b(), pixel.a()})) << x << ", " << y;
    }
  }
}

TEST(ColorImage, ReplacesAFileThatIsThere) {
  const TempFolder folder;
  const auto path = folder.write("a.png", std::string(100'000, 'x'));
  chequered(2, 2).writePng(path);
  EXPECT_EQ(readPng(path).width, 2U);
}

TEST(ColorImage, LeavesWhatWasThereWhenItCannotBeWritten) {
  const TempFolder folder;
  const auto path = folder.write("a.png", "old");
  const FileSizeLimit limit(64);
  EXPECT_THAT([&] { chequered(40, 40).writePng(path); },
              ThrowsMessage<std::system_error>(StartsWith(path.string() + ": File too large")));
  EXPECT_EQ(readFile(path), "old");
  EXPECT_FALSE(std::filesystem::exists(path.string() + ".partial"));
}

TEST(ColorImage, NamesThePathThatItCannotBeWrittenTo) {
  const TempFolder folder;
  EXPECT_THAT([&] { chequered(2, 2).writePng(folder.path() / "none/a.png"); },
              ThrowsMessage<std::system_error>(HasSubstr("none/a.png")));
  EXPECT_THAT([&] { chequered(2, 2).writePng(folder.path()); },
              ThrowsMessage<std::runtime_error>(HasSubstr("not a plain file")));
  EXPECT_THAT(
      [&] { ColorImage(0, 2).writePng(folder.path() / "a.png"); },
      ThrowsMessage<std::runtime_error>((folder.path() / "a.png").string() +
                                        ": an image of 0 x 2 pixels cannot be a PNG file: it is empty"));
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

}  // namespace
}  // namespace Testing
