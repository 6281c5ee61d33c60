// Many threads on what they share. Small, since the thread sanitizer runs it too.
#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <random>
#include <thread>

#include "octree/LruCache.h"
#include "octree/MapLocation.h"
#include "octree/QueryPoints.h"
#include "octree/potree/FileSystemLocation.h"

namespace {

using Octree::OctreeNodeCache;
using Octree::Algorithm::QueryPointsIterator;
using Testing::MapLocation;
using Testing::nodeAt;
using Testing::PotreeFiles;
using Testing::somePoints;
using Value = std::shared_ptr<int>;

/// Runs @p work(thread) on so many threads that begin together.
template <class Work>
void onThreads(std::size_t count, const Work& work) {
  std::latch begin(static_cast<std::ptrdiff_t>(count));
  std::vector<std::jthread> threads;
  for (std::size_t t = 0; t < count; ++t) {
    threads.emplace_back([&work, &begin, t] {
      begin.arrive_and_wait();
      work(t);
    });
  }
}

/// Root with eight children in chunks of their own, each with a leaf; 17 nodes.
PotreeFiles manyChunks() {
  PotreeFiles files;
  files.node(0xFF, somePoints(20));
  for (std::uint64_t i = 0; i < 8; ++i) files.proxy(9 + 2 * i, 2);
  files.endFirstChunk();
  for (std::uint32_t i = 0; i < 8; ++i) {
    files.node(static_cast<std::uint8_t>(1U << i), somePoints(10 + i, 100 * i));
    files.node(0, somePoints(5 + i, 50 + 100 * i));
  }
  return files;
}

/// Every position of a walk, added up per node.
std::vector<double> sumsOf(QueryPointsIterator walk) {
  std::vector<double> sums;
  for (; walk != QueryPointsIterator(); ++walk) {
    double sum = 0;
    for (const float coordinate : (*walk)->points().positions()) sum += coordinate;
    sums.push_back(sum);
  }
  return sums;
}

TEST(LruCacheThreads, GetTheRightValuesFromASmallCache) {
  Octree::LruCache<int, Value> cache(5);
  const auto load = [](int key, Value& result, const std::stop_token&) {
    result = std::make_shared<int>(10 * key);
    return true;
  };
  std::atomic<int> wrong{0};
  onThreads(8, [&](std::size_t thread) {
    for (std::size_t i = 0; i < 500; ++i) {
      const int key = static_cast<int>((i * 7 + thread) % 11);
      Value value;
      if (!cache.get(key, value, load, {}) || *value != 10 * key) ++wrong;
    }
  });
  EXPECT_EQ(wrong, 0);
}

TEST(LruCacheThreads, ThatMissOneKeyAtOnceAllLoadItAndGetWhatWasStoredFirst) {
  Octree::LruCache<int, Value> cache(5);
  std::latch allLoading(4);
  std::atomic<int> loads{0};
  const auto load = [&](int, Value& result, const std::stop_token&) {
    result = std::make_shared<int>(++loads);
    allLoading.arrive_and_wait();  // nobody stores before everybody loads
    return true;
  };
  std::vector<Value> got(4);
  onThreads(4, [&](std::size_t thread) { EXPECT_TRUE(cache.get(1, got[thread], load, {})); });
  EXPECT_EQ(loads, 4);
  for (const Value& value : got) EXPECT_EQ(value, got[0]);
}

TEST(LruCacheThreads, GetHitsWhileALoadOfAnotherKeyIsBlocked) {
  Octree::LruCache<int, Value> cache(5);
  const auto quick = [](int key, Value& result, const std::stop_token&) {
    result = std::make_shared<int>(key);
    return true;
  };
  Value value;
  ASSERT_TRUE(cache.get(1, value, quick, {}));
  std::latch loading(1);
  std::latch mayEnd(1);
  const auto blocked = [&](int, Value& result, const std::stop_token&) {
    loading.count_down();
    mayEnd.wait();
    result = std::make_shared<int>(2);
    return true;
  };
  std::jthread slow([&] {
    Value other;
    EXPECT_TRUE(cache.get(2, other, blocked, {}));
  });
  loading.wait();
  EXPECT_TRUE(cache.get(1, value, quick, {}));  // would wait for ever behind a lock held while loading
  EXPECT_TRUE(cache.get(3, value, quick, {}));
  mayEnd.count_down();
}

TEST(OctreeNodeCacheThreads, KeepLimitsAndEntriesRight) {
  const auto octree = Testing::openOctree(manyChunks());
  OctreeNodeCache cache(6, 4000);
  std::atomic<int> wrong{0};
  onThreads(8, [&](std::size_t thread) {
    for (std::size_t i = 0; i < 300; ++i) {
      const auto key = static_cast<std::uint8_t>((i * 5 + thread) % 8);
      const auto id = Octree::OctreeNodeId().child(key);
      std::shared_ptr<OctreeNodeCache::CacheEntry> entry;
      if (!cache.get(*octree, id, entry)) {
        Math::NodePoints points;
        points.resize(key + std::size_t{1});
        points.complete();
        entry = std::make_shared<OctreeNodeCache::CacheEntry>(std::move(points));
        cache.put(*octree, id, entry);
      }
      if (entry->points().size() != key + std::size_t{1}) ++wrong;
      cache.charge(*octree, id);
    }
  });
  EXPECT_EQ(wrong, 0);
  int held = 0;
  for (std::uint8_t i = 0; i < 8; ++i) held += cache.holds(*octree, Octree::OctreeNodeId().child(i));
  EXPECT_LE(held, 6);
  EXPECT_GE(held, 1);
}

TEST(WalkThreads, FindTheSameAsOneThreadWithCachesOfAnySize) {
  const std::vector<double> expected =
      sumsOf(Octree::allPoints(Testing::openOctree(manyChunks()), nullptr, 0, {}));
  ASSERT_EQ(expected.size(), 17U);
  for (const std::uint64_t capacity : {1U, 10'000U}) {
    const auto octree = Testing::openOctree(manyChunks());
    const auto cache = std::make_shared<OctreeNodeCache>(capacity);
    onThreads(8, [&](std::size_t) {
      for (int i = 0; i < 10; ++i) EXPECT_EQ(sumsOf(Octree::allPoints(octree, cache, 0, {})), expected);
    });
  }
}

/// The sum of all coordinates inside a shape, and one for every point.
template <class Shape>
double sumInside(const std::shared_ptr<Octree::Octree>& octree, const std::shared_ptr<OctreeNodeCache>& cache,
                 const Shape& shape) {
  using Walk = Octree::Algorithm::QueryPointsInsideIterator<Shape>;
  double sum = 0;
  for (Walk walk = Octree::allPointsInside(octree, cache, shape, 0, {}); !(walk == Walk()); ++walk) {
    sum += static_cast<double>((*walk)->points().size());
    for (const float coordinate : (*walk)->points().positions()) sum += static_cast<double>(coordinate);
  }
  return sum;
}

/// The answers to a random ball and a random box of each of a few seeds.
std::vector<double> answersOf(const std::shared_ptr<Octree::Octree>& octree,
                              const std::shared_ptr<OctreeNodeCache>& cache, unsigned firstSeed) {
  std::vector<double> answers;
  for (unsigned seed = firstSeed; seed < firstSeed + 4; ++seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> coordinate(0, 500);
    const Math::Point<float, 3> center{{coordinate(random), coordinate(random), coordinate(random)}};
    Math::NBoundingBox<float, 3> box;
    box.expand(center);
    box.expand({{coordinate(random), coordinate(random), coordinate(random)}});
    answers.push_back(sumInside(octree, cache, Math::NSphere<float, 3>{center, coordinate(random)}));
    answers.push_back(sumInside(octree, cache, box));
  }
  return answers;
}

TEST(WalkThreads, SixtyFourWithRandomShapesAnswerAsOneWithCachesOfAnySize) {
  constexpr std::size_t kThreads = 64;
  const auto alone = Testing::openOctree(std::make_shared<MapLocation>(manyChunks()));
  std::vector<std::vector<double>> expected;
  for (unsigned t = 0; t < kThreads; ++t) expected.push_back(answersOf(alone, nullptr, 10 * t));
  for (const std::uint64_t capacity : {1U, 10'000U}) {
    const auto octree = Testing::openOctree(std::make_shared<MapLocation>(manyChunks()));
    const auto cache = std::make_shared<OctreeNodeCache>(capacity);
    std::vector<std::vector<double>> found(kThreads);
    onThreads(kThreads,
              [&](std::size_t t) { found[t] = answersOf(octree, cache, static_cast<unsigned>(10 * t)); });
    EXPECT_EQ(found, expected) << "capacity " << capacity;
  }
}

TEST(WalkThreads, ShareOneFolder) {
  const Testing::TempFolder folder;
  manyChunks().write(folder);
  const auto octree = Testing::openOctree(std::make_shared<PoTree::FileSystemLocation>(folder.path()));
  const std::vector<double> expected = sumsOf(Octree::allPoints(octree, nullptr, 0, {}));
  onThreads(8, [&](std::size_t) {
    for (int i = 0; i < 5; ++i) EXPECT_EQ(sumsOf(Octree::allPoints(octree, nullptr, 0, {})), expected);
  });
}

TEST(WalkThreads, ListDamageTogether) {
  std::map<std::string, std::string> files = manyChunks().files();
  files.erase("octree.bin");
  const auto octree = Testing::openOctree(std::make_shared<MapLocation>(files));
  onThreads(8, [&](std::size_t) {
    EXPECT_EQ(sumsOf(Octree::allPoints(octree, nullptr, 0, {})), std::vector<double>(17, 0.0));
    EXPECT_LE(octree->unreadableNodes().size(), 17U);
  });
  EXPECT_EQ(octree->unreadableNodes().size(), 17U);
}

TEST(WalkThreads, LoseTheCloudsOtherOwnersWithoutHarm) {
  auto octree = Testing::openOctree(manyChunks());
  auto cache = std::make_shared<OctreeNodeCache>(3);
  std::vector<QueryPointsIterator> walks(8, Octree::allPoints(octree, cache, 0, {}));
  octree.reset();
  cache.reset();
  onThreads(8, [&](std::size_t thread) { EXPECT_EQ(sumsOf(std::exchange(walks[thread], {})).size(), 17U); });
}

/// Holds up the first request for a file from now on until it is released.
class Blockade {
 public:
  Blockade(MapLocation& location, const std::string& name) {
    location.watch([this, name](const MapLocation::Request& request) {
      if (request.name != name || taken_.exchange(true)) return;
      reached_.count_down();
      released_.wait();
    });
  }
  void waitUntilReached() { reached_.wait(); }
  void release() { released_.count_down(); }

 private:
  std::atomic<bool> taken_{false};
  std::latch reached_{1};
  std::latch released_{1};
};

TEST(WalkThreads, GetCachedNodesWhileAnotherFetchIsBlocked) {
  const auto location = std::make_shared<MapLocation>(manyChunks());
  const auto octree = Testing::openOctree(location);
  const auto cache = std::make_shared<OctreeNodeCache>(100);
  EXPECT_EQ((*Octree::allPoints(octree, cache, 0, {}))->points().size(), 20U);
  Blockade blockade(*location, "octree.bin");
  std::jthread slow([&] {
    Math::NodePoints points;
    EXPECT_TRUE(octree->loadNodePoints(nodeAt("3"), points, {}));
  });
  blockade.waitUntilReached();
  EXPECT_EQ((*Octree::allPoints(octree, cache, 0, {}))->points().size(), 20U);
  EXPECT_EQ(sumsOf(Octree::allPoints(octree, cache, 0, {})).size(), 17U);
  blockade.release();
}

TEST(WalkThreads, FindNodesWhileAHierarchyFetchIsBlocked) {
  const auto location = std::make_shared<MapLocation>(manyChunks());
  const auto octree = Testing::openOctree(location);
  EXPECT_EQ(octree->children(nodeAt("1"), {}).count, 1U);
  Blockade blockade(*location, "hierarchy.bin");
  std::jthread slow([&] { EXPECT_EQ(octree->children(nodeAt("3"), {}).count, 1U); });
  blockade.waitUntilReached();
  EXPECT_EQ(octree->children({}, {}).count, 8U);
  EXPECT_EQ(octree->children(nodeAt("1"), {}).count, 1U);
  EXPECT_EQ(octree->children(nodeAt("5"), {}).count, 1U);
  EXPECT_EQ(octree->children(nodeAt("3"), {}).count, 1U);  // loads it a second time
  blockade.release();
}

}  // namespace
