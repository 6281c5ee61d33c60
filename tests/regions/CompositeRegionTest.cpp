#include <gmock/gmock.h>

#include <stdexcept>

#include "regions/InvertedRegion.h"
#include "regions/ListRegions.h"
#include "regions/TransformedRegion.h"
#include "regions/VolumetricClippingRegion.h"

namespace {

using Math::IntersectionRegion;
using Math::InvertedRegion;
using Math::TransformedRegion;
using Math::UnionRegion;
using Sphere = Math::NSphere<float, 3>;
using Child = Math::CompositeRegion::Child;
using Box = Math::NBoundingBox<float, 3>;

constexpr Math::Matrix4<float> kTenToTheRight{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 10, 0, 0, 1};
constexpr Box kSmallBox{{{-0.1F, -0.1F, -0.1F}}, {{0.1F, 0.1F, 0.1F}}};

/// The unit ball around a place on the x axis.
Child ball(float x) {
  return std::make_shared<Math::VolumetricClippingRegion<Sphere>>(Sphere{{{x, 0, 0}}, 1});
}

template <class List>
std::shared_ptr<List> listOf(const std::vector<Child>& children) {
  auto list = std::make_shared<List>();
  for (const Child& child : children) list->append(child);
  return list;
}

template <class Call>
void expectRefused(const Call& call, const char* message) {
  EXPECT_THAT(call, testing::ThrowsMessage<std::invalid_argument>(message));
}

TEST(IntersectionRegion, OfNoRegionsHoldsEverything) {
  const IntersectionRegion region;
  EXPECT_TRUE(region.pointInside({{1e30F, 0, 0}}));
  EXPECT_TRUE(region.boxIntersects(kSmallBox));
  EXPECT_TRUE(region.boxInside(kSmallBox));
}

TEST(UnionRegion, OfNoRegionsHoldsNothingAndItsInversionEverything) {
  const auto nothing = std::make_shared<UnionRegion>();
  EXPECT_FALSE(nothing->pointInside({{0, 0, 0}}));
  EXPECT_FALSE(nothing->boxIntersects(kSmallBox));
  EXPECT_FALSE(nothing->boxInside(kSmallBox));
  EXPECT_TRUE(InvertedRegion(nothing).pointInside({{0, 0, 0}}));
  EXPECT_TRUE(InvertedRegion(nothing).boxInside(kSmallBox));
}

TEST(CompositeRegions, CombineTheirRegions) {
  const auto both = listOf<IntersectionRegion>({ball(0), ball(1)});
  const auto either = listOf<UnionRegion>({ball(0), ball(1)});
  EXPECT_TRUE(both->pointInside({{0.5F, 0, 0}}));
  EXPECT_FALSE(both->pointInside({{-0.5F, 0, 0}}));
  EXPECT_TRUE(either->pointInside({{-0.5F, 0, 0}}));
  EXPECT_FALSE(either->pointInside({{2.5F, 0, 0}}));
  EXPECT_FALSE(both->boxInside(kSmallBox));
  EXPECT_TRUE(both->boxIntersects(kSmallBox));
  EXPECT_TRUE(either->boxInside(kSmallBox));
}

TEST(InvertedRegion, TurnsAllThreeAnswers) {
  const InvertedRegion outside(ball(0));
  EXPECT_FALSE(outside.pointInside({{1, 0, 0}}));
  EXPECT_TRUE(outside.pointInside({{1.001F, 0, 0}}));
  EXPECT_FALSE(outside.boxIntersects(kSmallBox));
  EXPECT_TRUE(outside.boxInside({{{5, 5, 5}}, {{6, 6, 6}}}));
}

TEST(TransformedRegion, TakesPointsAndBoxesThroughTheInverse) {
  TransformedRegion region(ball(0), kTenToTheRight);
  EXPECT_TRUE(region.pointInside({{10, 0, 0}}));
  EXPECT_FALSE(region.pointInside({{0, 0, 0}}));
  EXPECT_TRUE(region.boxInside({{{9.9F, 0, 0}}, {{10.1F, 0, 0}}}));
  EXPECT_FALSE(region.boxIntersects(kSmallBox));
  region.setTransformation({});
  EXPECT_FALSE(region.pointInside({{10, 0, 0}}));
  EXPECT_FALSE(region.boxIntersects(kSmallBox));
}

TEST(CompositeRegions, PassATransformationToAllTheyHold) {
  const auto either = listOf<UnionRegion>({ball(0), ball(100)});
  either->setTransformation(kTenToTheRight);
  EXPECT_TRUE(either->pointInside({{10, 0, 0}}));
  EXPECT_TRUE(either->pointInside({{110, 0, 0}}));
  EXPECT_FALSE(either->pointInside({{0, 0, 0}}));
}

TEST(CompositeRegions, ShareRegionsWithEachOther) {
  const Child shared = ball(0);
  const auto first = listOf<UnionRegion>({shared});
  const auto second = listOf<IntersectionRegion>({shared});
  shared->setTransformation(kTenToTheRight);
  EXPECT_TRUE(first->pointInside({{10, 0, 0}}));
  EXPECT_TRUE(second->pointInside({{10, 0, 0}}));
}

TEST(CompositeRegions, CloneWhatTheyHold) {
  const auto list = listOf<UnionRegion>({ball(0), std::make_shared<InvertedRegion>(ball(3))});
  const auto copy = TransformedRegion(list, kTenToTheRight).clone();
  list->clear();
  EXPECT_TRUE(copy->pointInside({{10, 0, 0}}));
  EXPECT_FALSE(copy->pointInside({{13, 0, 0}}));
}

TEST(CompositeRegions, CompareWhatTheyHoldPlaceByPlace) {
  const auto list = listOf<UnionRegion>({ball(0), ball(1)});
  EXPECT_TRUE(*list == *listOf<UnionRegion>({ball(0), ball(1)}));
  EXPECT_FALSE(*list == *listOf<UnionRegion>({ball(1), ball(0)}));
  EXPECT_FALSE(*list == *listOf<UnionRegion>({ball(0)}));
  EXPECT_FALSE(*list == *listOf<IntersectionRegion>({ball(0), ball(1)}));
  EXPECT_TRUE(InvertedRegion(list) == InvertedRegion(list->clone()));
  EXPECT_FALSE(InvertedRegion(ball(0)) == InvertedRegion(ball(1)));
  EXPECT_FALSE(TransformedRegion(list, Math::kIdentity4) == TransformedRegion(list, kTenToTheRight));
}

TEST(CompositeRegions, AreTheSameAsThemselvesWhateverTheyHold) {
  const Child odd =
      std::make_shared<Math::VolumetricClippingRegion<Sphere>>(Sphere{{{0, 0, 0}}, std::nanf("")});
  EXPECT_TRUE(InvertedRegion(odd) == InvertedRegion(odd));
  EXPECT_FALSE(InvertedRegion(odd) == InvertedRegion(odd->clone()));
}

TEST(CompositeRegions, RefuseToContainThemselves) {
  const auto inner = std::make_shared<UnionRegion>();
  const auto middle = std::make_shared<InvertedRegion>(inner);
  const auto outer = listOf<UnionRegion>({middle, ball(0)});
  for (const Child& child : {Child(inner), Child(middle), Child(outer)}) {
    expectRefused([&] { inner->append(child); }, "Error: region contains itself");
  }
  EXPECT_TRUE(inner->children().empty());
  outer->append(inner);
  outer->clear();
  inner->append(outer);
}

TEST(CompositeRegions, RefuseNoRegion) {
  UnionRegion list;
  expectRefused([&] { list.append(nullptr); }, "Error: region is null");
}

TEST(CompositeRegions, AreNestedAThousandDeepAtMost) {
  Child chain = ball(0);
  for (int i = 1; i < 1000; ++i) chain = std::make_shared<InvertedRegion>(chain);
  EXPECT_FALSE(chain->pointInside({{0, 0, 0}}));
  EXPECT_TRUE(chain->pointInside({{5, 0, 0}}));
  EXPECT_FALSE(chain->boxIntersects(kSmallBox));
  EXPECT_TRUE(*chain == *chain->clone());
  expectRefused([&] { chain = std::make_shared<InvertedRegion>(chain); },
                "Error: regions are nested deeper than 1000");
}

TEST(CompositeRegions, AreNotNestedDeeperWhenTheInnermostGrows) {
  const auto outermost = std::make_shared<UnionRegion>();
  auto innermost = outermost;
  int depth = 1;
  const auto grow = [&] {
    const auto next = std::make_shared<UnionRegion>();
    innermost->append(next);
    innermost = next;
    ++depth;
  };
  expectRefused(
      [&] {
        for (;;) grow();
      },
      "Error: regions are nested deeper than 1000");
  EXPECT_EQ(depth, 1000);
  EXPECT_FALSE(outermost->pointInside({{0, 0, 0}}));
}

TEST(CompositeRegions, MayGrowAgainWhereDeepOnesHaveGone) {
  const auto list = std::make_shared<UnionRegion>();
  Child top = list;
  for (int i = 0; i < 500; ++i) top = std::make_shared<InvertedRegion>(top);
  Child deep = ball(0);
  for (int i = 1; i < 499; ++i) deep = std::make_shared<InvertedRegion>(deep);
  list->append(deep);
  expectRefused(
      [&] { list->append(std::make_shared<InvertedRegion>(std::make_shared<InvertedRegion>(deep))); },
      "Error: regions are nested deeper than 1000");
  list->clear();
  top = nullptr;
  list->append(std::make_shared<InvertedRegion>(std::make_shared<InvertedRegion>(deep)));
  EXPECT_EQ(list->children().size(), 1U);
}

}  // namespace
