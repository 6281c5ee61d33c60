#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>

#include "converter/MetaDataWriter.h"
#include "converter/WrittenOctree.h"

namespace {

using Converter::metaDataText;
using testing::HasSubstr;
using Testing::makeAttribute;
using testing::Not;
using Testing::plainMetaData;

nlohmann::json written(const PoTree::MetaData& metaData, std::uint64_t depth = 0) {
  return nlohmann::json::parse(metaDataText(metaData, depth));
}

TEST(MetaDataWriter, WritesTheKeysOfVersionTwo) {
  PoTree::MetaData metaData = plainMetaData();
  metaData.points = 123'456'789'012;
  metaData.firstChunkSize = 2046;
  metaData.projection = "+proj=utm +zone=33";
  metaData.offset = {1, -2, 3};
  const nlohmann::json json = written(metaData, 7);
  EXPECT_EQ(json["version"], "2.0");
  EXPECT_EQ(json["name"], "plain");
  EXPECT_EQ(json["description"], "");
  EXPECT_EQ(json["points"], 123'456'789'012);
  EXPECT_EQ(json["projection"], "+proj=utm +zone=33");
  EXPECT_EQ(json["hierarchy"],
            nlohmann::json::parse(R"({"firstChunkSize": 2046, "stepSize": 4, "depth": 7})"));
  EXPECT_EQ(json["offset"], nlohmann::json::parse("[1, -2, 3]"));
  EXPECT_EQ(json["scale"], nlohmann::json::parse("[0.01, 0.01, 0.01]"));
  EXPECT_EQ(json["spacing"], 8);
  EXPECT_EQ(json["boundingBox"], nlohmann::json::parse(R"({"min": [0, 0, 0], "max": [1024, 1024, 1024]})"));
  EXPECT_EQ(json["encoding"], "DEFAULT");
  EXPECT_EQ(json["attributes"].size(), 4U);
  EXPECT_EQ(written(plainMetaData(PoTree::Encoding::Brotli))["encoding"], "BROTLI");
}

TEST(MetaDataWriter, DescribesAnAttribute) {
  PoTree::MetaData metaData = plainMetaData();
  metaData.attributes = {makeAttribute("position", "int32", 3)};
  metaData.attributes[0].description = "where";
  metaData.attributes[0].min = {1, 2, 3};
  metaData.attributes[0].max = {4, 5, 6};
  EXPECT_EQ(written(metaData)["attributes"][0], nlohmann::json::parse(R"({
    "name": "position", "description": "where", "size": 12, "numElements": 3, "elementSize": 4,
    "type": "int32", "min": [1, 2, 3], "max": [4, 5, 6], "scale": [1, 1, 1], "offset": [0, 0, 0]})"));
}

TEST(MetaDataWriter, WritesScaleAndOffsetOfAttributesAndADescription) {
  PoTree::MetaData metaData = plainMetaData();
  metaData.description = "a quarry";
  metaData.attributes[1].scale = {0.25};
  metaData.attributes[1].offset = {-7};
  const nlohmann::json json = written(metaData);
  EXPECT_EQ(json["description"], "a quarry");
  EXPECT_EQ(json["attributes"][1]["scale"], nlohmann::json::parse("[0.25]"));
  EXPECT_EQ(json["attributes"][1]["offset"], nlohmann::json::parse("[-7]"));
  EXPECT_EQ(json["attributes"][2]["scale"], nlohmann::json::parse("[1]"));
}

TEST(MetaDataWriter, WritesNumbersWithSeventeenSignificantDigits) {
  PoTree::MetaData metaData = plainMetaData();
  metaData.offset = {636001.76, 1.0 / 3, 1e300};
  const std::string text = metaDataText(metaData, 0);
  EXPECT_THAT(text, HasSubstr("[636001.76000000001, 0.33333333333333331, 1.0000000000000001e+300]"));
  EXPECT_EQ(nlohmann::json::parse(text)["offset"].get<std::vector<double>>(),
            (std::vector<double>{636001.76, 1.0 / 3, 1e300}));
}

TEST(MetaDataWriter, EscapesTextsAndReplacesBytesThatAreNotUtf8) {
  PoTree::MetaData metaData = plainMetaData();
  metaData.name = "a \"b\" \\ \n\x01 \xC3\xA4 \xFF";
  metaData.attributes[1].name = "wei\xDFt";
  const nlohmann::json json = written(metaData);
  EXPECT_EQ(json["name"], "a \"b\" \\ \n\x01 \xC3\xA4 \xEF\xBF\xBD");
  EXPECT_EQ(json["attributes"][1]["name"], "wei\xEF\xBF\xBDt");
}

TEST(MetaDataWriter, WritesNeverInfinityOrNan) {
  PoTree::MetaData metaData = plainMetaData();
  const double infinity = std::numeric_limits<double>::infinity();
  metaData.attributes[0].min = {infinity, infinity, 5};
  metaData.attributes[0].max = {-infinity, std::nan(""), 6};
  const nlohmann::json position = written(metaData)["attributes"][0];
  EXPECT_EQ(position["min"], nlohmann::json::parse("[0, 0, 5]"));
  EXPECT_EQ(position["max"], nlohmann::json::parse("[0, 0, 6]"));
}

TEST(MetaDataWriter, WritesAHistogramOnlyWhenItCountsSomething) {
  PoTree::MetaData metaData = plainMetaData();
  metaData.attributes[2].histogram.assign(256, 0);
  EXPECT_THAT(metaDataText(metaData, 0), Not(HasSubstr("histogram")));
  metaData.attributes[2].histogram[2] = 70;
  const nlohmann::json histogram = written(metaData)["attributes"][2]["histogram"];
  EXPECT_EQ(histogram.size(), 256U);
  EXPECT_EQ(histogram[2], 70);
}

TEST(MetaDataWriter, GivesDoubleAttributesButTheTimeARangeToDivideBy) {
  PoTree::MetaData metaData = plainMetaData();
  metaData.attributes = {makeAttribute("gps-time", "double"), makeAttribute("Distance", "double"),
                         makeAttribute("Huge", "double"), makeAttribute("Small", "float")};
  metaData.attributes[0].min = metaData.attributes[0].max = {5};
  metaData.attributes[1].min = metaData.attributes[1].max = {5};
  metaData.attributes[2].min = metaData.attributes[2].max = {1e300};
  metaData.attributes[3].min = metaData.attributes[3].max = {5};
  const nlohmann::json attributes = written(metaData)["attributes"];
  EXPECT_EQ(attributes[0]["max"][0], 5);
  EXPECT_EQ(attributes[1]["max"][0], 6);
  EXPECT_GT(attributes[2]["max"][0], attributes[2]["min"][0]);
  EXPECT_EQ(attributes[3]["max"][0], 5);
}

TEST(MetaDataWriter, GivesNormalsTheRangeThatLeavesThemAsTheyAre) {
  PoTree::MetaData metaData = plainMetaData();
  metaData.attributes = {makeAttribute("NormalX", "double"), makeAttribute("NormalX", "float")};
  for (PoTree::Attribute& attribute : metaData.attributes) {
    attribute.min = {-0.5};
    attribute.max = {0.25};
  }
  const nlohmann::json attributes = written(metaData)["attributes"];
  EXPECT_EQ(attributes[0]["min"][0], 0);
  EXPECT_EQ(attributes[0]["max"][0], 1);
  EXPECT_EQ(attributes[1]["min"][0], -0.5);
  EXPECT_EQ(attributes[1]["max"][0], 0.25);
}

}  // namespace
