#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

#include "cli/Program.h"
#include "cli/SmallCloud.h"
#include "support/SampleData.h"
#include "support/TempFolder.h"

namespace Testing {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

/// Reads values of a record one after the other.
class Record {
 public:
  explicit Record(std::string_view bytes) : bytes_(bytes) {}

  template <class Value>
  Value next() {
    Value value;
    std::memcpy(&value, bytes_.data(), sizeof(Value));
    bytes_.remove_prefix(sizeof(Value));
    return value;
  }

 private:
  std::string_view bytes_;
};

struct PlyParts {
  std::string header;
  std::string body;
};

PlyParts split(const std::string& bytes) {
  const std::string mark = "end_header\n";
  const std::size_t end = bytes.find(mark) + mark.size();
  return {bytes.substr(0, end), bytes.substr(end)};
}

PlyParts writtenFrom(const SmallCloud& cloud, const std::vector<std::string>& options = {}) {
  const TempFolder folder;
  cloud.write(folder.path() / "cloud");
  std::vector<std::string> arguments{"points", (folder.path() / "cloud").string(), "-o",
                                     (folder.path() / "out.ply").string()};
  arguments.insert(arguments.end(), options.begin(), options.end());
  EXPECT_EQ(outputOf(arguments), "");
  return split(readFile(folder.path() / "out.ply"));
}

TEST(PlyFile, NamesTheStoredColumnsInTheirTypes) {
  SmallCloud cloud;
  cloud.normals = true;
  const PlyParts file = writtenFrom(cloud);
  EXPECT_THAT(file.header, StartsWith("ply\nformat binary_little_endian 1.0\ncomment "));
  EXPECT_THAT(file.header, EndsWith("\nelement vertex 1\n"
                                    "property double x\nproperty double y\nproperty double z\n"
                                    "property uchar red\nproperty uchar green\nproperty uchar blue\n"
                                    "property ushort intensity\nproperty uchar classification\n"
                                    "property float nx\nproperty float ny\nproperty float nz\nend_header\n"));
}

TEST(PlyFile, WritesARecordForEachPoint) {
  SmallCloud cloud;
  cloud.normals = true;
  cloud.points = {
      SmallPoint{},
      {.position = {50, 100, 25}, .intensity = 300, .rgb = {1, 2, 3}, .classIndex = 6, .normal = {0, 0, 1}}};
  const PlyParts file = writtenFrom(cloud);
  constexpr std::size_t kRecordSize = 3 * 8 + 3 + 2 + 1 + 3 * 4;
  ASSERT_EQ(file.body.size(), 2 * kRecordSize);
  Record record(std::string_view(file.body).substr(kRecordSize));
  EXPECT_EQ(record.next<double>(), 1000.5);
  EXPECT_EQ(record.next<double>(), 2001);
  EXPECT_EQ(record.next<double>(), 30.25);
  for (const int channel : {1, 2, 3}) EXPECT_EQ(record.next<std::uint8_t>(), channel);
  EXPECT_EQ(record.next<std::uint16_t>(), 300);
  EXPECT_EQ(record.next<std::uint8_t>(), 6);
  for (const float component : {0.0F, 0.0F, 1.0F}) EXPECT_EQ(record.next<float>(), component);
}

TEST(PlyFile, WritesOctreeCoordinatesWhenAskedFor) {
  SmallCloud cloud;
  cloud.intensities = cloud.colors = cloud.classification = false;
  cloud.points = {{.position = {50, 100, 25}}};
  const PlyParts file = writtenFrom(cloud, {"--local"});
  ASSERT_EQ(file.body.size(), 24U);
  Record record(file.body);
  EXPECT_EQ(record.next<double>(), 0.5);
  EXPECT_EQ(record.next<double>(), 1);
  EXPECT_EQ(record.next<double>(), 0.25);
}

TEST(PlyFile, CountsThePointsOfAShape) {
  const SmallCloud cloud = rowOfPoints(1500);
  EXPECT_THAT(writtenFrom(cloud).header, HasSubstr("\nelement vertex 1500\n"));
  const PlyParts some = writtenFrom(cloud, {"--circle", "1000,2000,0.1"});
  EXPECT_THAT(some.header, HasSubstr("\nelement vertex 11\n"));
  EXPECT_EQ(some.body.size(), 11U * (24 + 3 + 2 + 1));
  EXPECT_THAT(writtenFrom(cloud, {"--circle", "0,0,1"}).header, HasSubstr("\nelement vertex 0\n"));
}

TEST(PlyFile, HoldsThePointsOfARealCloud) {
  SORVIK_SAMPLE_OR_SKIP(cloud, "potree/andelskahora");
  const TempFolder folder;
  const std::string path = (folder.path() / "out.PLY").string();
  (void)outputOf({"points", cloud.string(), "-o", path, "--attributes", "rgb,intensity,classification"});
  const PlyParts file = split(readFile(path));
  const auto positions = allPositions(cloud);
  const std::size_t recordSize = 24 + 3 + 2 + 1;
  ASSERT_EQ(file.body.size(), positions.size() * recordSize);
  for (std::size_t i = 0; i < positions.size(); ++i) {
    Record record(std::string_view(file.body).substr(i * recordSize));
    for (const double coordinate : positions[i]) ASSERT_NEAR(record.next<double>(), coordinate, 2e-5);
  }
}

}  // namespace
}  // namespace Testing
