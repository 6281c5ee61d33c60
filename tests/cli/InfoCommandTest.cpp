#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "cli/Program.h"
#include "cli/SmallCloud.h"
#include "support/SampleData.h"
#include "support/TempFolder.h"

namespace Testing {
namespace {

using nlohmann::json;
using testing::HasSubstr;

TEST(InfoCommand, TellsTheFactsOfARealCloud) {
  SORVIK_SAMPLE_OR_SKIP(cloud, "potree/autzen-trim-default");
  const json truth = json::parse(readFile(cloud / "truth.json"));
  const json info = json::parse(outputOf({"info", cloud.string(), "--json"}));
  EXPECT_EQ(info["format"], "potree");
  EXPECT_EQ(info["numPoints"], truth["octree"]["numPoints"]);
  EXPECT_EQ(info["referencePosition"], truth["octree"]["storedMin"]);
  EXPECT_NEAR(info["spacing"].get<double>(), 9.198906, 1e-6);
  EXPECT_EQ(info["classHistogram"].size(), 256U);  // as the metadata have it
  EXPECT_EQ(info["classHistogram"][1], 83893);
  EXPECT_EQ(info["classHistogram"][2], 26107);
  for (std::size_t axis = 0; axis < 3; ++axis) {
    EXPECT_NEAR(info["boundingBox"]["min"][axis], truth["las"]["tightBounds"]["min"][axis], 1e-3);
    EXPECT_NEAR(info["boundingBox"]["max"][axis], truth["las"]["tightBounds"]["max"][axis], 1e-3);
  }
}

TEST(InfoCommand, HasTheNamesOfTheJsonResultInOrder) {
  const TempFolder folder;
  SmallCloud().write(folder.path() / "cloud");
  const auto info =
      nlohmann::ordered_json::parse(outputOf({"info", (folder.path() / "cloud").string(), "--json"}));
  std::vector<std::string> names;
  for (const auto& [name, value] : info.items()) names.push_back(name);
  EXPECT_THAT(names, testing::ElementsAre("format", "numPoints", "boundingBox", "referencePosition",
                                          "spacing", "attributes", "classHistogram"));
}

TEST(InfoCommand, SaysWhichAttributesAreStored) {
  const TempFolder folder;
  SmallCloud cloud;
  cloud.colors = false;
  cloud.normals = true;
  cloud.write(folder.path() / "cloud");
  const json info = json::parse(outputOf({"info", (folder.path() / "cloud").string(), "--json"}));
  EXPECT_EQ(info["attributes"],
            json({{"colors", false}, {"intensities", true}, {"classification", true}, {"normals", true}}));
  EXPECT_EQ(info["classHistogram"], json::array());
}

TEST(InfoCommand, GivesTheBoxInTheWorldOrInTheOctreeFrame) {
  const TempFolder folder;
  SmallCloud().write(folder.path() / "cloud");
  const std::string cloud = (folder.path() / "cloud").string();
  const json world = json::parse(outputOf({"info", cloud, "--json"}));
  EXPECT_EQ(world["boundingBox"], json({{"min", {1000, 2000, 30}}, {"max", {1100, 2100, 130}}}));
  const json local = json::parse(outputOf({"info", cloud, "--json", "--local"}));
  EXPECT_EQ(local["boundingBox"], json({{"min", {0, 0, 0}}, {"max", {100, 100, 100}}}));
  EXPECT_EQ(local["referencePosition"], json({1000, 2000, 30}));
}

TEST(InfoCommand, PrintsATableForReaders) {
  const TempFolder folder;
  SmallCloud().write(folder.path() / "cloud");
  const std::string table = outputOf({"info", (folder.path() / "cloud").string()});
  EXPECT_THAT(table, HasSubstr("format              potree\n"));
  EXPECT_THAT(table, HasSubstr("points              1\n"));
  EXPECT_THAT(table, HasSubstr("box maximum         1100.00, 2100.00, 130.00\n"));
  EXPECT_THAT(table, HasSubstr("reference position  1000.00, 2000.00, 30.00\n"));
  EXPECT_THAT(table, HasSubstr("spacing             10\n"));
  EXPECT_THAT(table, HasSubstr("attributes          position, intensity, classification, rgb\n"));
}

TEST(InfoCommand, ShowsNamesThatWouldSteerATerminalHarmlessly) {
  const TempFolder folder;
  SmallCloud().write(folder.path() / "cloud");
  json metaData = json::parse(readFile(folder.path() / "cloud/metadata.json"));
  metaData["attributes"][1]["name"] = "\x1B[2Jred";
  (void)folder.write("cloud/metadata.json", metaData.dump());
  EXPECT_THAT(outputOf({"info", (folder.path() / "cloud").string()}), HasSubstr("position, ?[2Jred, class"));
}

}  // namespace
}  // namespace Testing
