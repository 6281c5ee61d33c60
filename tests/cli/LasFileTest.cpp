#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <nlohmann/json.hpp>

#include "cli/Program.h"
#include "cli/SmallCloud.h"
#include "support/SampleData.h"
#include "support/TempFolder.h"

namespace Testing {
namespace {

using nlohmann::json;

template <class T>
T at(const std::string& bytes, std::size_t offset) {
  T value;
  std::memcpy(&value, bytes.data() + offset, sizeof(T));
  return value;
}

std::string lasOf(const std::filesystem::path& cloud, const std::vector<std::string>& options = {}) {
  const TempFolder folder;
  std::vector<std::string> arguments{"points", cloud.string(), "-o", (folder.path() / "out.las").string()};
  arguments.insert(arguments.end(), options.begin(), options.end());
  EXPECT_EQ(outputOf(arguments), "");
  return readFile(folder.path() / "out.las");
}

std::string lasOf(const SmallCloud& cloud, const std::vector<std::string>& options = {}) {
  const TempFolder folder;
  cloud.write(folder.path());
  return lasOf(folder.path(), options);
}

TEST(LasFile, HasTheIntegersThatTheCloudStores) {
  SmallCloud cloud;
  cloud.points = {{.position = {123, 4500, 7}, .intensity = 65535, .rgb = {1, 20, 255}, .classIndex = 6}};
  const std::string file = lasOf(cloud);
  EXPECT_EQ(at<double>(file, 131), 0.01);
  EXPECT_EQ(at<double>(file, 155), 1000);
  EXPECT_EQ(at<std::uint8_t>(file, 104), 7) << "point format";
  const std::size_t point = at<std::uint32_t>(file, 96);
  ASSERT_EQ(file.size(), point + 36);
  EXPECT_EQ(at<std::int32_t>(file, point), 123);
  EXPECT_EQ(at<std::int32_t>(file, point + 4), 4500);
  EXPECT_EQ(at<std::int32_t>(file, point + 8), 7);
  EXPECT_EQ(at<std::uint16_t>(file, point + 12), 65535);
  EXPECT_EQ(at<std::uint8_t>(file, point + 16), 6);
  EXPECT_EQ(at<std::uint16_t>(file, point + 32), 20) << "green";
}

TEST(LasFile, HasNormalsAsExtraBytes) {
  SmallCloud cloud;
  cloud.intensities = cloud.colors = cloud.classification = false;
  cloud.normals = true;
  cloud.points = {{.normal = {0.5, 0, -1}}};
  const std::string file = lasOf(cloud);
  EXPECT_EQ(at<std::uint8_t>(file, 104), 6) << "point format";
  const std::size_t entry = 375 + 54;
  EXPECT_STREQ(file.c_str() + entry + 4, "NormalX");
  EXPECT_STREQ(file.c_str() + entry + 2 * 192 + 4, "NormalZ");
  EXPECT_EQ(at<std::uint8_t>(file, entry + 2), 10) << "double, as stored";
  const std::size_t point = at<std::uint32_t>(file, 96);
  EXPECT_EQ(at<double>(file, point + 30), 0.5);
  EXPECT_EQ(at<double>(file, point + 46), -1.0);
}

TEST(LasFile, IsCompressedByItsName) {
  const TempFolder folder;
  SmallCloud cloud = rowOfPoints(1500);
  cloud.normals = true;
  cloud.write(folder.path() / "cloud");
  for (const char* const name : {"out.las", "out.LAZ"}) {
    EXPECT_EQ(outputOf({"points", (folder.path() / "cloud").string(), "-o", (folder.path() / name).string()}),
              "");
  }
  const std::string las = readFile(folder.path() / "out.las");
  const std::string laz = readFile(folder.path() / "out.LAZ");
  EXPECT_EQ(at<std::uint8_t>(laz, 104), at<std::uint8_t>(las, 104) | 0x80) << "point format";
  EXPECT_EQ(at<std::uint16_t>(laz, 105), at<std::uint16_t>(las, 105)) << "the same attributes";
  EXPECT_EQ(at<std::uint64_t>(laz, 247), 1500U);
  EXPECT_LT(laz.size(), las.size() / 4);
}

TEST(LasFile, IsOfAnOlderVersionWhenAskedFor) {
  SmallCloud cloud;
  cloud.points = {{.position = {123, 4500, 7}, .intensity = 9, .rgb = {1, 20, 255}, .classIndex = 31}};
  const std::string file = lasOf(cloud, {"--las-version", "1.2"});
  EXPECT_EQ(at<std::uint8_t>(file, 25), 2) << "minor version";
  EXPECT_EQ(at<std::uint8_t>(file, 104), 2) << "point format";
  EXPECT_EQ(at<std::uint32_t>(file, 107), 1U);
  ASSERT_EQ(file.size(), 227 + 26U);
  EXPECT_EQ(at<std::uint8_t>(file, 227 + 15), 31);
  EXPECT_EQ(at<std::uint16_t>(file, 227 + 22), 20) << "green";
  EXPECT_EQ(lasOf(cloud, {"--las-version", "1.4"}), lasOf(cloud));
}

TEST(LasFile, IsNotWrittenWhereAValueDoesNotFitTheOlderVersion) {
  const TempFolder folder;
  SmallCloud cloud = rowOfPoints(3);
  cloud.points[2].classIndex = 64;
  cloud.write(folder.path() / "cloud");
  const std::filesystem::path out = folder.path() / "out.laz";
  const ProcessResult result =
      runProgram({"points", (folder.path() / "cloud").string(), "-o", out.string(), "--las-version", "1.2"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, testing::HasSubstr("out.laz: point 2: classification = 64: LAS 1.2 holds 0 to 31"));
  EXPECT_FALSE(std::filesystem::exists(out));
}

TEST(LasFile, HasOctreeCoordinatesWhenAskedFor) {
  SmallCloud cloud;
  cloud.points = {{.position = {123, 4500, 7}}};
  const std::string file = lasOf(cloud, {"--local"});
  EXPECT_EQ(at<double>(file, 155), 0);
  EXPECT_EQ(at<double>(file, 187), 1.23) << "the least x";
}

TEST(LasFile, CountsThePointsOfAShape) {
  const std::string file = lasOf(rowOfPoints(1500), {"--circle", "1000,2000,0.1"});
  EXPECT_EQ(at<std::uint64_t>(file, 247), 11U);
  EXPECT_EQ(file.size(), at<std::uint32_t>(file, 96) + 11U * 36);
}

TEST(LasFile, HoldsThePointsOfARealCloud) {
  SORVIK_SAMPLE_OR_SKIP(cloud, "potree/autzen-trim-default");
  const json truth = json::parse(readFile(cloud / "truth.json"))["octree"];
  const std::string file = lasOf(cloud);
  EXPECT_EQ(at<std::uint64_t>(file, 247), truth["numPoints"]);
  const std::array<std::size_t, 3> minimum{187, 203, 219};
  for (std::size_t axis = 0; axis < 3; ++axis) {
    EXPECT_NEAR(at<double>(file, minimum[axis]), truth["storedMin"][axis], 1e-6);
    EXPECT_NEAR(at<double>(file, minimum[axis] - 8), truth["storedMax"][axis], 1e-6);
  }
  const std::size_t first = at<std::uint32_t>(file, 96);
  std::uint64_t intensities = 0;
  for (std::size_t i = 0; i < at<std::uint64_t>(file, 247); ++i) {
    intensities += at<std::uint16_t>(file, first + i * at<std::uint16_t>(file, 105) + 12);
  }
  EXPECT_EQ(intensities, truth["sumIntensity"]);
}

}  // namespace
}  // namespace Testing
