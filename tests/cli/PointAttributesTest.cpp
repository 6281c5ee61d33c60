// --attributes: how names are given, and what of a cloud they choose.
#include <gmock/gmock.h>

#include "Sorvik/PointIterators.h"
#include "cli/Program.h"
#include "cli/SmallCloud.h"
#include "sorvik/CallError.h"
#include "sorvik/PointAttributes.h"
#include "support/PotreeFiles.h"

namespace Testing {
namespace {

using Program::AttributeNames;
using Program::parseAttributeNames;
using testing::ElementsAre;
using testing::HasSubstr;

/// A cloud of two points with these attributes, in a folder of its own.
class AttributeCloud {
 public:
  explicit AttributeCloud(std::vector<std::string> names) {
    const std::vector<StoredPoint> points{{.rgb = {300, 2, 1}, .intensity = 7}, {.intensity = 8}};
    PotreeFiles().attributes(std::move(names)).node(0, points).write(folder_);
  }
  [[nodiscard]] std::string path() const { return folder_.path().string(); }
  [[nodiscard]] Sorvik::PointCloud open() const {
    return {Sorvik::FileSystemLocation(folder_.path().wstring()), {{}, true}};
  }
  /// The standard columns by a letter each, then the further ones.
  [[nodiscard]] std::string layout(const AttributeNames& names) const {
    const Program::PointLayout layout = Program::layoutOf(open(), Program::Frame::World, names);
    std::string text;
    if (layout.intensities) text += "I";
    if (layout.colors) text += "C";
    if (layout.classification) text += "K";
    if (layout.normals) text += "N";
    for (const Sorvik::Attribute& attribute : layout.further) text += " " + attribute.name;
    return text;
  }

 private:
  TempFolder folder_;
};

TEST(AttributeNames, StandBetweenCommas) {
  EXPECT_THAT(parseAttributeNames("intensity"), ElementsAre("intensity"));
  EXPECT_THAT(parseAttributeNames("gps-time,return number,rgb"),
              ElementsAre("gps-time", "return number", "rgb"));
}

TEST(AttributeNames, WithCommasAndQuotationMarksStandInQuotationMarks) {
  EXPECT_THAT(parseAttributeNames(R"("a,b",c)"), ElementsAre("a,b", "c"));
  EXPECT_THAT(parseAttributeNames(R"(c,"the ""best""")"), ElementsAre("c", R"(the "best")"));
}

TEST(AttributeNames, ThatAreEmptyOrBadlyQuotedAreRefused) {
  for (const char* text : {"", ",", "a,", ",a", "a,,b", R"("a)", R"("a"b)", R"(a"b)", R"("")", R"("a"")"}) {
    EXPECT_THROW((void)parseAttributeNames(text), Program::CallError) << text;
  }
}

TEST(PointAttributes, AreAllThatTheCloudStoresUnlessNamesNarrowThem) {
  const AttributeCloud cloud({"position", "gps-time", "rgb", "intensity", "visibility", "normal_oct16"});
  EXPECT_EQ(cloud.layout(std::nullopt), "ICN gps-time visibility");
  EXPECT_EQ(cloud.layout({{"rgb"}}), "C");
  EXPECT_EQ(cloud.layout({{"visibility", "normal_oct16", "gps-time"}}), "N gps-time visibility");
  EXPECT_EQ(cloud.layout({{"position"}}), "");
}

TEST(PointAttributes, OfTwoNormalComponentsAreNoNormals) {
  EXPECT_EQ(AttributeCloud({"position", "NormalX", "NormalY"}).layout(std::nullopt), " NormalX NormalY");
  EXPECT_EQ(AttributeCloud({"position", "NormalX", "NormalY", "NormalZ"}).layout(std::nullopt), "N");
}

TEST(PointsCommandAttributes, FollowTheStandardColumnsUnderTheirNames) {
  const AttributeCloud cloud({"position", "intensity", "return number", "gps-time"});
  const std::string text = outputOf({"points", cloud.path()});
  EXPECT_THAT(text, testing::StartsWith("x,y,z,intensity,return number,gps-time\n"));
}

TEST(PointsCommandAttributes, NarrowTheColumns) {
  const TempFolder folder;
  rowOfPoints(1).write(folder.path() / "cloud");
  const std::string cloud = (folder.path() / "cloud").string();
  EXPECT_EQ(outputOf({"points", cloud, "--attributes", "classification,intensity"}),
            "x,y,z,intensity,classification\n1000.00,2000.00,30.00,0,0\n");
  EXPECT_EQ(outputOf({"points", cloud, "--attributes", "position"}), "x,y,z\n1000.00,2000.00,30.00\n");
}

TEST(PointsCommandAttributes, ThatTheCloudLacksAreAWrongCall) {
  const AttributeCloud cloud({"position", "intensity"});
  for (const char* names : {"rgb", "intensity,Intensity", ""}) {
    const ProcessResult result = runProgram({"points", cloud.path(), "--attributes", names});
    EXPECT_EQ(result.status, 2) << names;
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err, HasSubstr("--attributes: ")) << names;
  }
}

}  // namespace
}  // namespace Testing
