// Constructors that throw leave nothing allocated. The program's operator new, which the library uses too,
// counts.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <stdexcept>

#include "Sorvik/Sorvik.h"
#include "api/Elements.h"

namespace {

std::atomic<long> liveAllocations{0};

void* counted(std::size_t size) {
  void* const memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  ++liveAllocations;
  return memory;
}

void uncounted(void* memory) {
  if (memory == nullptr) return;
  --liveAllocations;
  std::free(memory);
}

}  // namespace

void* operator new(std::size_t size) { return counted(size); }
void operator delete(void* memory) noexcept { uncounted(memory); }
void operator delete(void* memory, std::size_t) noexcept { uncounted(memory); }

namespace {

using Testing::Vector2;
using Testing::Vector3;

/// How many more allocations live after @p construct than before; it must throw std::invalid_argument.
template <class Construct>
long leftBehindBy(Construct construct) {
  const long before = liveAllocations;
  bool refused = false;
  try {
    construct();
  } catch (const std::invalid_argument&) {
    refused = true;
  }
  const long after = liveAllocations;
  EXPECT_TRUE(refused);
  return after - before;
}

TEST(Allocation, OfAShapeIsSeenByTheCounter) {
  const long before = liveAllocations;
  const Sorvik::Sphere sphere;
  EXPECT_EQ(liveAllocations, before + 1);
}

TEST(Allocation, OfAnOrientedBoundingBoxBuiltWithAn8Or12ElementRotationSpanIsNothing) {
  EXPECT_EQ(leftBehindBy([] { Sorvik::OrientedBoundingBox(Vector3{}, Vector3{}, std::array<float, 8>{}); }),
            0);
  EXPECT_EQ(leftBehindBy([] { Sorvik::OrientedBoundingBox(Vector3{}, Vector3{}, std::array<float, 12>{}); }),
            0);
}

TEST(Allocation, OfAnyRefusedShapeIsNothing) {
  const std::array<float, 5> wrong{};
  EXPECT_EQ(leftBehindBy([&] { Sorvik::OrientedBoundingRectangle(Vector2{}, Vector2{}, wrong); }), 0);
  EXPECT_EQ(leftBehindBy([&] { Sorvik::Sphere(wrong, 1); }), 0);
  EXPECT_EQ(leftBehindBy([&] { Sorvik::Circle(wrong, 1); }), 0);
  EXPECT_EQ(leftBehindBy([&] { Sorvik::Plane(Sorvik::Span<const float>(wrong)); }), 0);
  EXPECT_EQ(leftBehindBy([&] { Sorvik::Plane(wrong, wrong); }), 0);
  EXPECT_EQ(leftBehindBy([&] { Sorvik::Polygon(Sorvik::Span<const float>(wrong)); }), 0);
}

}  // namespace
