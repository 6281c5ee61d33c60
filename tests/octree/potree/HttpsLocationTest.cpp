#include <gtest/gtest.h>

#include "octree/MapLocation.h"
#include "octree/potree/HttpsLocation.h"

namespace {

using Testing::messageOf;

constexpr const char* kNotYet = "https is not available yet";

TEST(HttpsLocation, KeepsItsAddressUnchanged) {
  const PoTree::HttpsLocation location("https://example.invalid/a b?token=1", nullptr);
  EXPECT_EQ(location.toString(), "https://example.invalid/a b?token=1");
  EXPECT_TRUE(location.externalAttributeLocations().empty());
}

TEST(HttpsLocation, FailsEveryFetch) {
  PoTree::HttpsLocation location("https://example.invalid/cloud", nullptr);
  Octree::Location& base = location;
  EXPECT_EQ(messageOf([&] { (void)base.fetchMetaData({}).get(); }), kNotYet);
  EXPECT_EQ(messageOf([&] { (void)base.fetchOctreeChunk(0, 1, {}).get(); }), kNotYet);
  EXPECT_EQ(messageOf([&] { (void)base.fetchHierarchyChunk(0, 1, {}).get(); }), kNotYet);
  EXPECT_EQ(messageOf([&] { (void)base.fetchHierarchyFileSize({}).get(); }), kNotYet);
  EXPECT_EQ(messageOf([&] { (void)base.fetchFile("ept.json", 0, 1, {}).get(); }), kNotYet);
  EXPECT_EQ(messageOf([&] { (void)base.fetchFileSize("ept.json", {}).get(); }), kNotYet);
}

TEST(HttpsLocation, TellsTheCallbackThatItFailed) {
  PoTree::HttpsLocation location("https://example.invalid/cloud", nullptr);
  std::string told;
  location.fetchMetaData(
      [&](const Core::RequestResult& result, const std::string& document) {
        told = (result.succeeded ? "succeeded " : "") + result.message + document;
      },
      {});
  EXPECT_EQ(told, kNotYet);
}

TEST(HttpsLocation, DoesNotExist) {
  EXPECT_FALSE(PoTree::HttpsLocation("https://example.invalid/cloud", nullptr).exists());
}

TEST(HttpsLocation, CannotBeOpenedAndSaysWhy) {
  const auto location = std::make_shared<PoTree::HttpsLocation>("https://example.invalid/cloud", nullptr);
  EXPECT_EQ(messageOf([&] { (void)Testing::openOctree(location); }),
            "cannot open https://example.invalid/cloud: https is not available yet");
}

}  // namespace
