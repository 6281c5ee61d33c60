#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "octree/LruCache.h"

namespace {

using Cache = Octree::LruCache<int, std::shared_ptr<int>>;
using Value = std::shared_ptr<int>;

/// A cache whose loader makes ten times the key, and the keys that it was asked for.
struct CountingCache {
  explicit CountingCache(std::uint64_t capacity) : cache(capacity) {}

  int get(int key) {
    Value value;
    const auto load = [this](int wanted, Value& result, const std::stop_token&) {
      loads.push_back(wanted);
      result = std::make_shared<int>(10 * wanted);
      return true;
    };
    EXPECT_TRUE(cache.get(key, value, load, {}));
    return *value;
  }

  Cache cache;
  std::vector<int> loads;
};

TEST(LruCache, LoadsOnlyWhatItDoesNotHold) {
  CountingCache cached(10);
  EXPECT_EQ(cached.get(1), 10);
  EXPECT_EQ(cached.get(1), 10);
  EXPECT_EQ(cached.get(2), 20);
  EXPECT_EQ(cached.loads, (std::vector{1, 2}));
}

TEST(LruCache, WithCapacityOneHoldsOnlyTheLastKey) {
  CountingCache cached(1);
  cached.get(1);
  cached.get(2);
  cached.get(2);
  cached.get(1);
  EXPECT_EQ(cached.loads, (std::vector{1, 2, 1}));
}

TEST(LruCache, EvictsTheLeastRecentlyUsedAndAHitIsAUse) {
  CountingCache cached(3);
  for (const int key : {1, 2, 3, 1, 4}) cached.get(key);  // 4 evicts 2
  for (const int key : {1, 3, 4}) cached.get(key);        // all held
  EXPECT_EQ(cached.loads, (std::vector{1, 2, 3, 4}));
  cached.get(2);  // evicts 1, then the longest unused
  cached.get(3);
  cached.get(4);
  cached.get(1);
  EXPECT_EQ(cached.loads, (std::vector{1, 2, 3, 4, 2, 1}));
}

TEST(LruCache, LeavesEverythingAsItWasWhenTheLoaderFails) {
  CountingCache cached(1);
  cached.get(1);
  Value value = std::make_shared<int>(7);
  const auto fail = [](int, Value& result, const std::stop_token&) {
    result = std::make_shared<int>(13);
    return false;
  };
  EXPECT_FALSE(cached.cache.get(2, value, fail, {}));
  EXPECT_EQ(*value, 7);
  cached.get(1);
  cached.get(2);  // was not stored
  EXPECT_EQ(cached.loads, (std::vector{1, 2}));
}

TEST(LruCache, DiscardsWhatWasLoadedWhenAStopWasRequestedMeanwhile) {
  CountingCache cached(2);
  std::stop_source stop;
  Value value;
  const auto load = [&](int, Value& result, const std::stop_token& token) {
    stop.request_stop();
    EXPECT_TRUE(token.stop_requested());
    result = std::make_shared<int>(13);
    return true;
  };
  EXPECT_FALSE(cached.cache.get(1, value, load, stop.get_token()));
  EXPECT_EQ(value, nullptr);
  EXPECT_EQ(cached.get(1), 10);
  EXPECT_EQ(cached.loads, (std::vector{1}));
}

TEST(LruCache, GivesAHitInSpiteOfAStop) {
  CountingCache cached(2);
  cached.get(1);
  std::stop_source stop;
  stop.request_stop();
  Value value;
  const auto never = [](int, Value&, const std::stop_token&) { return false; };
  EXPECT_TRUE(cached.cache.get(1, value, never, stop.get_token()));
  EXPECT_EQ(*value, 10);
}

// The loader of the outer call stores the key through an inner one, as another thread would.
TEST(LruCache, KeepsTheValueThatWasStoredFirst) {
  CountingCache cached(2);
  Value value;
  const auto load = [&](int key, Value& result, const std::stop_token&) {
    cached.get(key);
    result = std::make_shared<int>(99);
    return true;
  };
  EXPECT_TRUE(cached.cache.get(1, value, load, {}));
  EXPECT_EQ(*value, 10);
  EXPECT_EQ(cached.get(1), 10);
}

TEST(LruCache, LeavesAnEvictedValueToItsHolders) {
  CountingCache cached(1);
  Value held;
  const auto load = [](int, Value& result, const std::stop_token&) {
    result = std::make_shared<int>(5);
    return true;
  };
  ASSERT_TRUE(cached.cache.get(1, held, load, {}));
  ASSERT_EQ(held.use_count(), 2);
  cached.get(2);
  EXPECT_EQ(held.use_count(), 1);
  EXPECT_EQ(*held, 5);
}

TEST(LruCache, LetsTheLoadersExceptionsThroughAndStoresNothing) {
  CountingCache cached(2);
  Value value;
  const auto load = [](int, Value&, const std::stop_token&) -> bool { throw std::runtime_error("no"); };
  EXPECT_THROW((void)cached.cache.get(1, value, load, {}), std::runtime_error);
  EXPECT_EQ(cached.get(1), 10);
}

}  // namespace
