#include <gmock/gmock.h>

#include "octree/MapLocation.h"
#include "octree/potree/FileSystemLocation.h"
#include "octree/potree/HttpsLocation.h"

namespace {

using PoTree::FileSystemLocation;
using Testing::messageOf;
using Testing::PotreeFiles;
using Testing::TempFolder;

PotreeFiles oneNode() { return PotreeFiles().node(0, Testing::somePoints(2)); }

TEST(FileSystemLocation, DoesNotTouchTheDiskUntilItIsAsked) {
  const TempFolder folder;
  FileSystemLocation location(folder.path() / "later");
  EXPECT_FALSE(location.exists());
  oneNode().write(folder, "later");
  EXPECT_TRUE(location.exists());
}

TEST(FileSystemLocation, ExistsOnlyWhereAMetadataDocumentIs) {
  const TempFolder folder;
  EXPECT_FALSE(FileSystemLocation(folder.path()).exists());
  EXPECT_FALSE(FileSystemLocation("/no/such/folder").exists());
  EXPECT_FALSE(FileSystemLocation(folder.write("file", "x")).exists());
  folder.write("entwine/ept.json", "{}");
  EXPECT_TRUE(FileSystemLocation(folder.path() / "entwine").exists());
}

TEST(FileSystemLocation, ReadsRangesOfItsFiles) {
  const TempFolder folder;
  oneNode().write(folder);
  FileSystemLocation location(folder.path());
  EXPECT_EQ(location.fetchMetaData({}).get(), oneNode().metaData());
  EXPECT_EQ(location.fetchOctreeChunk(3, 7, {}).get(), oneNode().octree().substr(3, 7));
  EXPECT_EQ(static_cast<Octree::Location&>(location).fetchHierarchyChunk(0, 22, {}).get(),
            oneNode().hierarchy());
  EXPECT_EQ(location.fetchHierarchyFileSize({}).get(), 22U);
}

TEST(FileSystemLocation, RefusesRangesThatLeaveTheFile) {
  const TempFolder folder;
  folder.write("a.bin", "0123456789");
  const FileSystemLocation location(folder.path());
  EXPECT_EQ(location.fetchFile("a.bin", 10, 0, {}).get(), "");
  for (const auto& [offset, size] : std::map<std::uint64_t, std::uint64_t>{{5, 6},
                                                                           {10, 1},
                                                                           {11, 1},
                                                                           {UINT64_MAX, 2},
                                                                           {UINT64_MAX - 1, UINT64_MAX - 1},
                                                                           {1, UINT64_MAX - 1}}) {
    EXPECT_THAT(messageOf([&, from = offset, count = size] {
                  (void)location.fetchFile("a.bin", from, count, {}).get();
                }),
                testing::HasSubstr("a.bin, byte " + std::to_string(offset) + ": bytes to read: expected"));
  }
}

TEST(FileSystemLocation, TakesAnEmptyNameForItself) {
  const TempFolder folder;
  const FileSystemLocation location(folder.write("a.bin", "0123456789"));
  EXPECT_EQ(location.fetchFile("", 2, 3, {}).get(), "234");
  EXPECT_EQ(location.fetchFile("", 0, FileSystemLocation::kWholeFile, {}).get(), "0123456789");
  EXPECT_EQ(location.fetchFileSize("", {}).get(), 10U);
}

TEST(FileSystemLocation, ReadsNoWholeFileBeyondTheCap) {
  const TempFolder folder;
  const auto path = folder.write("metadata.json", "{}");
  std::filesystem::resize_file(path, FileSystemLocation::kLargestWholeFile);
  const FileSystemLocation location(folder.path());
  EXPECT_EQ(location.fetchFile("metadata.json", 0, FileSystemLocation::kWholeFile, {}).get().size(),
            FileSystemLocation::kLargestWholeFile);
  std::filesystem::resize_file(path, FileSystemLocation::kLargestWholeFile + 1);
  EXPECT_THAT(
      messageOf(
          [&] { (void)location.fetchFile("metadata.json", 0, FileSystemLocation::kWholeFile, {}).get(); }),
      testing::HasSubstr("metadata.json, byte 0: file size: expected at most 67108864, found 67108865"));
  EXPECT_FALSE(location.exists());
}

TEST(FileSystemLocation, KeepsFilesOpen) {
  const TempFolder folder;
  oneNode().write(folder);
  FileSystemLocation location(folder.path());
  EXPECT_EQ(location.fetchOctreeChunk(0, 4, {}).get().size(), 4U);
  std::filesystem::remove(folder.path() / "octree.bin");
  EXPECT_EQ(location.fetchOctreeChunk(4, 4, {}).get(), oneNode().octree().substr(4, 4));
}

TEST(FileSystemLocation, FindsAFileThatWasMissingBefore) {
  const TempFolder folder;
  FileSystemLocation location(folder.path());
  EXPECT_THROW(location.fetchOctreeChunk(0, 4, {}).get(), std::system_error);
  folder.write("octree.bin", "0123");
  EXPECT_EQ(location.fetchOctreeChunk(0, 4, {}).get(), "0123");
}

TEST(FileSystemLocation, PrefersMetadataToEpt) {
  const TempFolder folder;
  folder.write("ept.json", "ept");
  EXPECT_EQ(FileSystemLocation(folder.path()).fetchMetaData({}).get(), "ept");
  folder.write("metadata.json", "potree");
  EXPECT_EQ(FileSystemLocation(folder.path()).fetchMetaData({}).get(), "potree");
}

TEST(FileSystemLocation, TellsTheCallbackWhatTheFutureHolds) {
  const TempFolder folder;
  const std::filesystem::path path = folder.path() / "cloud";
  std::vector<std::string> told;
  const auto tell = [&](const Core::RequestResult& result, const std::string& document) {
    told.push_back((result.succeeded ? "yes " : "no ") + result.message + document);
  };
  FileSystemLocation(path).fetchMetaData(tell, {});
  folder.write("cloud/metadata.json", "{}");
  FileSystemLocation(path).fetchMetaData(tell, {});
  EXPECT_THAT(told,
              testing::ElementsAre(
                  testing::AllOf(testing::StartsWith("no "), testing::HasSubstr(path.string())), "yes {}"));
}

TEST(FileSystemLocation, FindsExternalAttributesByNameWhereTheirMetadataAre) {
  const TempFolder folder;
  folder.write("attributes/b/metadata.json", "{}");
  folder.write("attributes/a/metadata.json", "{}");
  folder.write("attributes/c/hierarchy.bin", "");
  folder.write("attributes/metadata.json", "{}");
  std::vector<std::string> names;
  for (const auto& location : FileSystemLocation(folder.path()).externalAttributeLocations()) {
    names.push_back(std::filesystem::path(location->toString()).filename());
  }
  EXPECT_THAT(names, testing::ElementsAre("a", "b"));
  EXPECT_TRUE(FileSystemLocation(folder.path() / "attributes").externalAttributeLocations().empty());
}

TEST(Location, ComparesByKindAndAddress) {
  const FileSystemLocation folder("/a");
  const FileSystemLocation same("/a");
  const FileSystemLocation later("/b");
  const PoTree::HttpsLocation web("/a", nullptr);
  const auto equal = [](const Octree::Location& a, const Octree::Location& b) { return a == b; };
  const auto less = [](const Octree::Location& a, const Octree::Location& b) { return a < b; };
  EXPECT_TRUE(equal(folder, same));
  EXPECT_EQ(std::hash<Octree::Location>{}(folder), std::hash<Octree::Location>{}(same));
  EXPECT_FALSE(less(folder, same));
  EXPECT_FALSE(equal(folder, later));
  EXPECT_TRUE(less(folder, later));
  EXPECT_FALSE(less(later, folder));
  EXPECT_FALSE(equal(folder, web));
  EXPECT_NE(less(folder, web), less(web, folder));
}

}  // namespace
