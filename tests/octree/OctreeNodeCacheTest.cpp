#include <gtest/gtest.h>

#include "octree/MapLocation.h"
#include "octree/OctreeNodeCache.h"

namespace {

using Octree::OctreeNodeCache;
using Entry = std::shared_ptr<OctreeNodeCache::CacheEntry>;
using Testing::nodeAt;

constexpr std::uint64_t kNoByteLimit = UINT64_MAX;

Entry entryOf(std::size_t points) {
  Math::NodePoints columns;
  columns.resize(points);
  columns.complete();
  return std::make_shared<OctreeNodeCache::CacheEntry>(std::move(columns));
}

std::shared_ptr<Octree::Octree> anyOctree() {
  return Testing::openOctree(Testing::PotreeFiles().node(0, Testing::somePoints(1)));
}

/// A cache of one octree's nodes, which are named by their paths.
struct NamedCache {
  NamedCache(std::uint64_t capacity, std::uint64_t byteBudget) : cache(capacity, byteBudget) {}

  Entry put(std::string_view path, std::size_t points = 1) {
    Entry entry = entryOf(points);
    cache.put(*octree, nodeAt(path), entry);
    return entry;
  }
  Entry get(std::string_view path) {
    Entry entry;
    cache.get(*octree, nodeAt(path), entry);
    return entry;
  }
  /// The paths held, of those of the root's children.
  std::string held() const {
    std::string paths;
    for (const char* path : {"0", "1", "2", "3", "4", "5", "6", "7"}) {
      if (cache.holds(*octree, nodeAt(path))) paths += path;
    }
    return paths;
  }

  std::shared_ptr<Octree::Octree> octree = anyOctree();
  OctreeNodeCache cache;
};

TEST(OctreeNodeCache, GivesWhatWasPut) {
  NamedCache named(10, kNoByteLimit);
  const Entry entry = named.put("3");
  EXPECT_EQ(named.get("3"), entry);
}

TEST(OctreeNodeCache, LeavesTheHandleAloneOnAMiss) {
  NamedCache named(10, kNoByteLimit);
  const Entry before = entryOf(1);
  Entry entry = before;
  EXPECT_FALSE(named.cache.get(*named.octree, nodeAt("1"), entry));
  EXPECT_EQ(entry, before);
}

TEST(OctreeNodeCache, EvictsTheLeastRecentlyUsedWhenFull) {
  NamedCache named(3, kNoByteLimit);
  for (const char* path : {"0", "1", "2"}) named.put(path);
  named.get("0");
  named.put("3");
  EXPECT_EQ(named.held(), "023");
  named.put("4");
  EXPECT_EQ(named.held(), "034");
}

TEST(OctreeNodeCache, AsksWhatIsHeldWithoutTouchingTheOrder) {
  NamedCache named(2, kNoByteLimit);
  named.put("0");
  named.put("1");
  EXPECT_TRUE(named.cache.holds(*named.octree, nodeAt("0")));
  named.put("2");
  EXPECT_EQ(named.held(), "12");
}

TEST(OctreeNodeCache, KeepsTheEntryThatWasStoredFirst) {
  NamedCache named(2, kNoByteLimit);
  const Entry first = named.put("0");
  const Entry second = named.put("0");
  EXPECT_EQ(second, first);
  EXPECT_EQ(named.get("0"), first);
}

TEST(OctreeNodeCache, TakesASecondPutAsAUse) {
  NamedCache named(2, kNoByteLimit);
  named.put("0");
  named.put("1");
  named.put("0");
  named.put("2");
  EXPECT_EQ(named.held(), "02");
}

TEST(OctreeNodeCache, HoldsNoMoreBytesThanItsBudget) {
  const std::size_t bytes = entryOf(100)->byteSize();
  NamedCache named(1000, 3 * bytes);
  for (const char* path : {"0", "1", "2"}) named.put(path, 100);
  EXPECT_EQ(named.held(), "012");
  named.put("3", 100);
  EXPECT_EQ(named.held(), "123");
  named.put("4", 200);
  EXPECT_EQ(named.held(), "34");
}

TEST(OctreeNodeCache, ChargesTheBytesOfEvictedEntriesNoMore) {
  const std::size_t bytes = entryOf(100)->byteSize();
  NamedCache named(2, 2 * bytes);
  for (const char* path : {"0", "1", "2", "3", "4", "5"}) named.put(path, 100);
  EXPECT_EQ(named.held(), "45");
}

TEST(OctreeNodeCache, HoldsOneEntryLargerThanTheBudgetAlone) {
  const std::size_t bytes = entryOf(100)->byteSize();
  NamedCache named(1000, 2 * bytes);
  named.put("0", 100);
  named.put("1", 1000);
  EXPECT_EQ(named.held(), "1");
  named.put("2", 100);
  EXPECT_EQ(named.held(), "2");
}

TEST(OctreeNodeCache, WithCapacityZeroHoldsNothing) {
  NamedCache named(0, kNoByteLimit);
  const Entry entry = named.put("0");
  EXPECT_EQ(named.held(), "");
  EXPECT_EQ(entry->points().size(), 1U);
}

TEST(OctreeNodeCache, LeavesEvictedEntriesToTheirHolders) {
  NamedCache named(1, kNoByteLimit);
  const Entry held = named.put("0", 5);
  named.put("1");
  EXPECT_EQ(held.use_count(), 1);
  EXPECT_EQ(held->points().positions().size(), 15U);
}

TEST(OctreeNodeCache, TellsOctreesApart) {
  NamedCache named(10, kNoByteLimit);
  named.put("0");
  const auto other = anyOctree();
  EXPECT_FALSE(named.cache.holds(*other, nodeAt("0")));
  Entry entry;
  EXPECT_FALSE(named.cache.get(*other, nodeAt("0"), entry));
}

TEST(OctreeNodeCache, NeverTakesALaterOctreeForOneThatIsGone) {
  OctreeNodeCache cache(10);
  auto octree = anyOctree();
  Entry entry = entryOf(1);
  cache.put(*octree, {}, entry);
  for (int i = 0; i < 20; ++i) {  // soon at the address of the first
    octree.reset();
    octree = anyOctree();
    EXPECT_FALSE(cache.holds(*octree, {}));
  }
}

TEST(OctreeNodeCache, ChargesAnUnchangedOrUnknownEntryWithoutEffect) {
  const std::size_t bytes = entryOf(100)->byteSize();
  NamedCache named(10, 2 * bytes);
  named.put("0", 100);
  named.put("1", 100);
  named.cache.charge(*named.octree, nodeAt("0"));
  named.cache.charge(*named.octree, nodeAt("7"));
  EXPECT_EQ(named.held(), "01");
  named.put("2", 100);  // charging is no use of an entry
  EXPECT_EQ(named.held(), "12");
}

TEST(OctreeNodeCache, CountsTheBytesOfAllColumns) {
  // position 12, normal 12, class 1, colour 4, intensity 2, visibility 1
  EXPECT_GE(entryOf(1000)->byteSize(), 32'000U);
  EXPECT_LT(entryOf(1000)->byteSize(), 40'000U);
  EXPECT_EQ(OctreeNodeCache::CacheEntry().byteSize(), 0U);
}

}  // namespace
