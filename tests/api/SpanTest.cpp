#include <gmock/gmock.h>

#include <array>
#include <numeric>
#include <span>
#include <string>
#include <type_traits>
#include <vector>

#include "Sorvik/Color.h"
#include "Sorvik/Span.h"

namespace {

using Sorvik::Span;

// What makes a view of elements that are only read.
static_assert(std::is_convertible_v<Span<float>, Span<const float>>);
static_assert(std::is_convertible_v<std::vector<float>&, Span<const float>>);
static_assert(std::is_convertible_v<const std::vector<float>&, Span<const float>>);
static_assert(std::is_convertible_v<std::vector<float>, Span<const float>>);
static_assert(std::is_convertible_v<std::array<float, 3>, Span<const float>>);
static_assert(std::is_convertible_v<std::span<float, 3>, Span<const float>>);
static_assert(std::is_convertible_v<const float (&)[3], Span<const float>>);

// What makes a view of elements that are written.
static_assert(std::is_convertible_v<std::vector<float>&, Span<float>>);
static_assert(std::is_convertible_v<std::array<float, 3>&, Span<float>>);
static_assert(std::is_convertible_v<std::span<float>, Span<float>>);
static_assert(std::is_convertible_v<float (&)[3], Span<float>>);
static_assert(std::is_convertible_v<std::vector<Sorvik::Color>&, Span<Sorvik::Color>>);

// A result written into a temporary would be lost.
static_assert(!std::is_constructible_v<Span<float>, std::vector<float>>);
static_assert(!std::is_constructible_v<Span<float>, std::array<float, 3>>);
// Constants stay constant.
static_assert(!std::is_constructible_v<Span<float>, Span<const float>>);
static_assert(!std::is_constructible_v<Span<float>, const std::vector<float>&>);
static_assert(!std::is_constructible_v<Span<float>, std::span<const float>>);
static_assert(!std::is_constructible_v<Span<float>, const float (&)[3]>);
// Elements are not converted, and a single one is no list.
static_assert(!std::is_constructible_v<Span<const float>, std::vector<double>&>);
static_assert(!std::is_constructible_v<Span<const float>, std::vector<int>&>);
static_assert(!std::is_constructible_v<Span<const float>, float>);
static_assert(!std::is_constructible_v<Span<const float>, const float*>);
static_assert(!std::is_constructible_v<Span<const float>, std::string>);

// Both ways to the standard's view.
static_assert(std::is_convertible_v<Span<float>, std::span<float>>);
static_assert(std::is_convertible_v<Span<float>, std::span<const float>>);
static_assert(!std::is_constructible_v<std::span<float>, Span<const float>>);

static_assert(std::is_trivially_copyable_v<Span<float>>);
static_assert(sizeof(Span<float>) == sizeof(float*) + sizeof(std::uint64_t));

TEST(Span, HoldsItsPointerFirstAndThenItsCount) {
  float values[] = {1, 2, 3};
  const Span<float> span(values, 3);
  struct Fields {
    float* data;
    std::uint64_t size;
  };
  const auto fields = std::bit_cast<Fields>(span);
  EXPECT_EQ(fields.data, values);
  EXPECT_EQ(fields.size, 3U);
}

TEST(Span, IsEmptyByDefault) {
  const Span<const float> span;
  EXPECT_TRUE(span.empty());
  EXPECT_EQ(span.size(), 0U);
  EXPECT_EQ(span.data(), nullptr);
  EXPECT_EQ(span.begin(), span.end());
}

TEST(Span, ViewsContainersWithoutCopying) {
  std::vector<float> vector{1, 2, 3};
  std::array<float, 2> array{4, 5};
  float cArray[] = {6, 7, 8, 9};
  EXPECT_EQ(Span<float>(vector).data(), vector.data());
  EXPECT_EQ(Span<float>(array).data(), array.data());
  EXPECT_EQ(Span<float>(cArray).data(), cArray);
  EXPECT_EQ(Span<const float>(std::span(vector).subspan(1)).data(), &vector[1]);
  EXPECT_EQ(Span<float>(vector).size(), 3U);
  EXPECT_EQ(Span<float>(array).size(), 2U);
  EXPECT_EQ(Span<float>(cArray).size(), 4U);
}

TEST(Span, WritesThroughToTheElements) {
  std::vector<int> values{1, 2, 3};
  const Span<int> span(values);
  span[1] = 20;
  for (int& value : span) ++value;
  EXPECT_THAT(values, testing::ElementsAre(2, 21, 4));
}

TEST(Span, IsIterable) {
  const std::array<double, 3> values{1, 2, 3.5};
  const Span<const double> span(values);
  EXPECT_EQ(std::accumulate(span.begin(), span.end(), 0.0), 6.5);
}

TEST(Span, OfConstantElementsLooksAtTheSameOnes) {
  std::array<float, 3> values{1, 2, 3};
  const Span<float> written(values);
  const Span<const float> read = written;
  EXPECT_EQ(read.data(), written.data());
  EXPECT_EQ(read.size(), written.size());
}

}  // namespace
