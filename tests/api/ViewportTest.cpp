#include <gtest/gtest.h>

#include <cstdint>

#include "Sorvik/Viewport.h"

namespace {

using Sorvik::Viewport;

TEST(Viewport, OfTheDefaultIs640By480At00) {
  const Viewport viewport;
  EXPECT_EQ(viewport.x(), 0);
  EXPECT_EQ(viewport.y(), 0);
  EXPECT_EQ(viewport.width(), 640U);
  EXPECT_EQ(viewport.height(), 480U);
}

TEST(Viewport, KeepsTheLow32BitsOfItsOriginWithSign) {
  Viewport viewport;
  viewport.setX(-5);
  viewport.setY((std::int64_t{7} << 32U) + 9);
  EXPECT_EQ(viewport.x(), -5);
  EXPECT_EQ(viewport.y(), 9);
  viewport.setX(0x80000000);
  viewport.setY(0x7FFFFFFF);
  EXPECT_EQ(viewport.x(), -0x80000000LL);
  EXPECT_EQ(viewport.y(), 0x7FFFFFFF);
}

TEST(Viewport, KeepsAll64BitsOfItsSize) {
  Viewport viewport;
  viewport.setWidth(UINT64_MAX);
  viewport.setHeight(std::uint64_t{1} << 40U);
  EXPECT_EQ(viewport.width(), UINT64_MAX);
  EXPECT_EQ(viewport.height(), std::uint64_t{1} << 40U);
}

}  // namespace
