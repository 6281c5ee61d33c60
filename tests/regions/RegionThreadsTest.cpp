// One region asked by many threads, which make further regions of it meanwhile.
#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <thread>

#include "regions/InvertedRegion.h"
#include "regions/ListRegions.h"
#include "regions/RegionJson.h"
#include "regions/VolumetricClippingRegion.h"

namespace {

using Sphere = Math::NSphere<float, 3>;

TEST(RegionThreads, AskAndWrapOneRegionTogether) {
  const auto shared = std::make_shared<Math::UnionRegion>();
  for (const float x : {0.0F, 5.0F}) {
    shared->append(std::make_shared<Math::VolumetricClippingRegion<Sphere>>(Sphere{{{x, 0, 0}}, 1}));
  }
  constexpr int kThreads = 4;
  std::latch begin(kThreads);
  std::atomic<int> wrong = 0;
  {
    std::vector<std::jthread> threads;
    for (int t = 0; t < kThreads; ++t) {
      threads.emplace_back([&] {
        begin.arrive_and_wait();
        for (int i = 0; i < 200; ++i) {
          const auto outside = std::make_shared<Math::InvertedRegion>(shared);
          const Math::InvertedRegion inside(outside);
          if (!inside.pointInside({{5, 0, 0}}) || outside->pointInside({{0, 0, 0}})) ++wrong;
          if (i % 50 == 0 && *Math::parseRegion(Math::regionText(shared.get())) != *shared) ++wrong;
        }
      });
    }
  }
  EXPECT_EQ(wrong, 0);
  shared->append(std::make_shared<Math::UnionRegion>());
  EXPECT_EQ(shared->children().size(), 3U);
}

}  // namespace
