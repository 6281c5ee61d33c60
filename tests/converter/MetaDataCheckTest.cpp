#include <gmock/gmock.h>

#include <functional>
#include <limits>

#include "converter/MetaDataCheck.h"
#include "converter/WrittenOctree.h"

namespace {

using PoTree::MetaDataUse;
using testing::HasSubstr;
using Testing::makeAttribute;
using Testing::plainMetaData;
using testing::ThrowsMessage;

/// Expects that metadata are refused once @p spoil has changed them, with a message that holds @p text.
void expectRefused(const std::string& text, const std::function<void(PoTree::MetaData&)>& spoil) {
  PoTree::MetaData metaData = plainMetaData();
  spoil(metaData);
  EXPECT_THAT([&] { Converter::checkWritable(metaData, MetaDataUse::Main); },
              ThrowsMessage<std::invalid_argument>(HasSubstr(text)));
}

TEST(MetaDataCheck, AcceptsPlainMetaData) {
  EXPECT_NO_THROW(Converter::checkWritable(plainMetaData(), MetaDataUse::Main));
}

TEST(MetaDataCheck, RefusesScalesSpacingsAndOffsetsThatAreNoUsableNumbers) {
  expectRefused("scale", [](auto& metaData) { metaData.scale[1] = 0; });
  expectRefused("scale", [](auto& metaData) { metaData.scale[2] = -0.01; });
  expectRefused("spacing",
                [](auto& metaData) { metaData.spacing = std::numeric_limits<double>::quiet_NaN(); });
  expectRefused("offset",
                [](auto& metaData) { metaData.offset[0] = std::numeric_limits<double>::infinity(); });
}

TEST(MetaDataCheck, RefusesABoxThatIsNoCube) {
  expectRefused("boundingBox", [](auto& metaData) { metaData.boundingBox.maximum[2] = 1000; });
  expectRefused("boundingBox", [](auto& metaData) { metaData.boundingBox = {}; });
}

TEST(MetaDataCheck, AcceptsACubeWhoseCornersAreRounded) {
  PoTree::MetaData metaData = plainMetaData();
  metaData.boundingBox.maximum[2] += 1e-6;
  EXPECT_NO_THROW(Converter::checkWritable(metaData, MetaDataUse::Main));
  for (int axis = 0; axis < 3; ++axis) {
    metaData.boundingBox.minimum[axis] = axis == 0 ? 0 : 5'432'100.7;
    metaData.boundingBox.maximum[axis] = metaData.boundingBox.minimum[axis] + 2e-6;
  }
  EXPECT_NO_THROW(Converter::checkWritable(metaData, MetaDataUse::Main)) << "small and far from the origin";
}

TEST(MetaDataCheck, RefusesTypesThatViewersCannotRead) {
  for (const char* type : {"int64", "uint64", "undefined", ""}) {
    expectRefused("intensity", [&](auto& metaData) {
      metaData.attributes[1].type = type;
      metaData.attributes[1].size = metaData.attributes[1].elementSize = 8;
    });
  }
}

TEST(MetaDataCheck, RefusesSizesThatDisagree) {
  expectRefused("elementSize of uint16 expected 2, found 4",
                [](auto& metaData) { metaData.attributes[1].elementSize = metaData.attributes[1].size = 4; });
  expectRefused("intensity: size 3 is not 1 elements of 2 bytes",
                [](auto& metaData) { metaData.attributes[1].size = 3; });
  expectRefused("intensity", [](auto& metaData) { metaData.attributes[1].numElements = 2; });
  expectRefused("intensity",
                [](auto& metaData) { metaData.attributes[1].numElements = metaData.attributes[1].size = 0; });
}

TEST(MetaDataCheck, RefusesOtherPositionsAndColours) {
  expectRefused("position",
                [](auto& metaData) { metaData.attributes[0] = makeAttribute("position", "float", 3); });
  expectRefused("position",
                [](auto& metaData) { metaData.attributes[0] = makeAttribute("position", "int32", 2); });
  expectRefused("rgb", [](auto& metaData) { metaData.attributes[3] = makeAttribute("rgb", "uint8", 3); });
}

TEST(MetaDataCheck, RefusesBoundsAndHistogramsOfAnotherLength) {
  expectRefused("position: min and max", [](auto& metaData) { metaData.attributes[0].min = {1, 2}; });
  expectRefused("position: min and max", [](auto& metaData) { metaData.attributes[0].max = {1, 2, 3, 4}; });
  expectRefused("histogram", [](auto& metaData) { metaData.attributes[2].histogram.assign(255, 1); });
  expectRefused("histogram", [](auto& metaData) { metaData.attributes[1].histogram.assign(256, 1); });
}

TEST(MetaDataCheck, RefusesScalesAndOffsetsOfAttributesThatAreNoUsableNumbers) {
  const double infinity = std::numeric_limits<double>::infinity();
  expectRefused("intensity: scale and", [](auto& metaData) { metaData.attributes[1].scale = {1, 1}; });
  expectRefused("rgb: scale and", [](auto& metaData) { metaData.attributes[3].offset = {0}; });
  expectRefused("intensity: scale and", [&](auto& metaData) { metaData.attributes[1].offset = {infinity}; });
  expectRefused("intensity: a scale must", [](auto& metaData) { metaData.attributes[1].scale = {0}; });
  PoTree::MetaData metaData = plainMetaData();
  metaData.attributes[1].scale = {-0.5};
  metaData.attributes[1].offset = {3};
  EXPECT_NO_THROW(Converter::checkWritable(metaData, MetaDataUse::Main));
}

TEST(MetaDataCheck, RefusesAttributeListsThatAreEmptyOrNameAnAttributeTwice) {
  expectRefused("attributes", [](auto& metaData) { metaData.attributes.clear(); });
  expectRefused("rgb: is there twice",
                [](auto& metaData) { metaData.attributes.push_back(metaData.attributes.back()); });
}

TEST(MetaDataCheck, NeedsPositionsUnlessTheOctreeOnlyAddsAttributes) {
  expectRefused("position", [](auto& metaData) { metaData.attributes[0].name = "elsewhere"; });
  PoTree::MetaData metaData = plainMetaData();
  metaData.attributes = {makeAttribute("visibility", "uint8")};
  EXPECT_NO_THROW(Converter::checkWritable(metaData, MetaDataUse::ExternalAttributes));
}

}  // namespace
