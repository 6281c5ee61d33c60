#include <gtest/gtest.h>

#include <cmath>
#include <nlohmann/json.hpp>

#include "cli/Program.h"
#include "cli/SmallCloud.h"
#include "support/SampleData.h"
#include "support/TempFolder.h"

namespace Testing {
namespace {

using nlohmann::json;
/// Half a step of the floats in which a cloud of this extent is stored.
constexpr double kHalfFloatStep = 1200.0 / (1U << 24U);

class PointsCommand : public testing::Test {
 protected:
  std::string write(const SmallCloud& cloud) const {
    cloud.write(folder_.path() / "cloud");
    return (folder_.path() / "cloud").string();
  }

 private:
  TempFolder folder_;
};

SmallCloud twoPoints() {
  SmallCloud cloud;
  cloud.points = {{.position = {123, 4500, 7}, .intensity = 65535, .rgb = {1, 20, 255}, .classIndex = 2},
                  {.position = {0, 1, 9999}, .intensity = 0, .rgb = {0, 9, 99}, .classIndex = 255}};
  return cloud;
}

TEST_F(PointsCommand, PrintsCommaSeparatedValuesInWorldCoordinates) {
  EXPECT_EQ(outputOf({"points", write(twoPoints())}),
            "x,y,z,intensity,r,g,b,classification\n"
            "1001.23,2045.00,30.07,65535,1,20,255,2\n"
            "1000.00,2000.01,129.99,0,0,9,99,255\n");
}

TEST_F(PointsCommand, PrintsOctreeCoordinatesWhenAskedFor) {
  EXPECT_EQ(outputOf({"points", write(twoPoints()), "--local"}),
            "x,y,z,intensity,r,g,b,classification\n"
            "1.23,45.00,0.07,65535,1,20,255,2\n"
            "0.00,0.01,99.99,0,0,9,99,255\n");
}

TEST_F(PointsCommand, PrintsOnlyStoredColumns) {
  SmallCloud cloud = twoPoints();
  cloud.intensities = cloud.colors = cloud.classification = false;
  EXPECT_EQ(outputOf({"points", write(cloud)}),
            "x,y,z\n"
            "1001.23,2045.00,30.07\n"
            "1000.00,2000.01,129.99\n");
}

TEST_F(PointsCommand, PrintsNormalsInTheirShortestForm) {
  SmallCloud cloud;
  cloud.intensities = cloud.colors = cloud.classification = false;
  cloud.normals = true;
  cloud.points = {{.normal = {0.6, 0, -0.8}}};
  EXPECT_EQ(outputOf({"points", write(cloud)}), "x,y,z,nx,ny,nz\n1000.00,2000.00,30.00,0.6,0,-0.8\n");
}

TEST_F(PointsCommand, PrintsAHeaderAloneForACloudWithoutPoints) {
  SmallCloud cloud;
  cloud.points.clear();
  EXPECT_EQ(outputOf({"points", write(cloud)}), "x,y,z,intensity,r,g,b,classification\n");
}

TEST_F(PointsCommand, HasTheDecimalsOfEachAxis) {
  SmallCloud cloud = twoPoints();
  cloud.intensities = cloud.colors = cloud.classification = false;
  cloud.scale = {0.001, 0.25, 1.0 / 3};
  cloud.points = {{.position = {1, 3, 6}}};
  EXPECT_EQ(outputOf({"points", write(cloud)}), "x,y,z\n1000.001,2000.75,32\n");
}

TEST_F(PointsCommand, CountsPoints) {
  const std::string cloud = write(rowOfPoints(1000));
  EXPECT_EQ(outputOf({"points", cloud, "--count"}), "1000\n");
  // Both faces of the box lie on points.
  EXPECT_EQ(outputOf({"points", cloud, "--count", "--box", "1001,2000,30,1002,2000,30"}), "101\n");
  EXPECT_EQ(outputOf({"points", cloud, "--count", "--local", "--box", "1,0,0,2,0,0"}), "101\n");
}

TEST_F(PointsCommand, SumsPointsUpAsJson) {
  const json result = json::parse(outputOf({"points", write(twoPoints()), "--json", "--count"}));
  EXPECT_EQ(result["numPoints"], 2);
  EXPECT_EQ(result["numChunks"], 1);
  EXPECT_NEAR(result["sum"]["x"], 2001.23, 1e-5);
  EXPECT_NEAR(result["sum"]["y"], 4045.01, 1e-5);
  EXPECT_NEAR(result["sum"]["z"], 160.06, 1e-5);
  EXPECT_EQ(result["sum"]["intensity"], 65535);
  EXPECT_EQ(json({result["sum"]["r"], result["sum"]["g"], result["sum"]["b"]}), json({1, 29, 354}));
  EXPECT_NEAR(result["min"][1], 2000.01, 1e-5);
  EXPECT_NEAR(result["max"][2], 129.99, 1e-5);
  EXPECT_EQ(result["classHistogram"].size(), 256U);
  EXPECT_EQ(result["classHistogram"][2], 1);
}

TEST_F(PointsCommand, SumsOctreeCoordinatesWhenAskedFor) {
  const json result = json::parse(outputOf({"points", write(rowOfPoints(3)), "--json", "--local"}));
  EXPECT_NEAR(result["sum"]["x"], 0.03, 1e-7);
  EXPECT_EQ(result["min"], json({0, 0, 0}));
  EXPECT_EQ(result["classHistogram"], json::array({3}));
}

TEST_F(PointsCommand, HasNoExtremesWithoutPoints) {
  const json result = json::parse(outputOf({"points", write(twoPoints()), "--json", "--sphere", "0,0,0,1"}));
  EXPECT_EQ(result["numPoints"], 0);
  EXPECT_EQ(result["min"], nullptr);
  EXPECT_EQ(result["max"], nullptr);
  EXPECT_EQ(result["classHistogram"], json::array());
}

TEST_F(PointsCommand, SumsUpARealCloudAsItsTruthSays) {
  SORVIK_SAMPLE_OR_SKIP(cloud, "potree/autzen-trim-default");
  const json truth = json::parse(readFile(cloud / "truth.json"))["octree"];
  const json result = json::parse(outputOf({"points", cloud.string(), "--json"}));
  const double numPoints = truth["numPoints"];
  EXPECT_EQ(result["numPoints"], truth["numPoints"]);
  EXPECT_EQ(result["numChunks"], truth["nodes"]);
  EXPECT_EQ(result["sum"]["intensity"], truth["sumIntensity"]);
  EXPECT_EQ(result["classHistogram"], json({0, 83893, 26107}));
  const std::array<const char*, 3> axes{"x", "y", "z"};
  for (std::size_t axis = 0; axis < 3; ++axis) {
    EXPECT_NEAR(result["sum"][axes[axis]], truth["sumXYZ"][axis], numPoints * kHalfFloatStep);
    EXPECT_NEAR(result["min"][axis], truth["storedMin"][axis], kHalfFloatStep);
    EXPECT_NEAR(result["max"][axis], truth["storedMax"][axis], kHalfFloatStep);
  }
}

TEST_F(PointsCommand, LeavesFineLevelsOut) {
  SORVIK_SAMPLE_OR_SKIP(cloud, "potree/autzen-trim-default");
  const json levels = json::parse(readFile(cloud / "truth.json"))["octree"]["levels"];
  // The walk goes below a node while half its spacing, 9.2 at the root, is not less.
  std::uint64_t expected = levels["0"]["points"];
  EXPECT_EQ(outputOf({"points", cloud.string(), "--count", "--min-spacing", "5"}),
            std::to_string(expected) + "\n");
  expected += levels["1"]["points"].get<std::uint64_t>();
  EXPECT_EQ(outputOf({"points", cloud.string(), "--count", "--min-spacing", "4"}),
            std::to_string(expected) + "\n");
  EXPECT_EQ(outputOf({"points", cloud.string(), "--count", "--min-spacing", "0"}), "110000\n");
}

TEST_F(PointsCommand, PrintsEveryPointOfARealCloudOnItsGrid) {
  SORVIK_SAMPLE_OR_SKIP(cloud, "potree/andelskahora");
  const json truth = json::parse(readFile(*cloudRoot / "potree/andelskahora.truth.json"));
  const auto rows = csvRows(outputOf({"points", cloud.string()}));
  ASSERT_EQ(rows.size(), 26845U);
  const std::size_t columns = truth["attributes"].size() + 2 + 2;  // positions and colours take three
  double sum = 0;
  double intensity = 0;
  for (const std::vector<double>& row : rows) {
    ASSERT_EQ(row.size(), columns);
    sum += row[0];
    intensity += row[3];
  }
  // Rounded to the stored decimals, nothing is left of the floats in between.
  EXPECT_NEAR(sum / 26845, truth["mean"][0], 1e-7);
  EXPECT_EQ(intensity, truth["sum_intensity"]);
}

}  // namespace
}  // namespace Testing
