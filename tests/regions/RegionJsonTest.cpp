#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>

#include "regions/InvertedRegion.h"
#include "regions/ListRegions.h"
#include "regions/RandomRegions.h"
#include "regions/RegionJson.h"
#include "regions/TransformedRegion.h"
#include "regions/VolumetricClippingRegion.h"

namespace {

using Math::parseRegion;
using Math::regionText;
using nlohmann::json;
using Sphere = Math::NSphere<float, 3>;
using Spherical = Math::VolumetricClippingRegion<Sphere>;
using testing::HasSubstr;
using Testing::Region;

constexpr const char* kUnitBall = R"({"type":"Sphere","volume":{"center":[0,0,0],"radius":1}})";

json ball() { return json::parse(kUnitBall); }

json ball(double x, double y, double z, double radius) {
  return {{"type", "Sphere"}, {"volume", {{"center", {x, y, z}}, {"radius", radius}}}};
}

template <class Error>
void expectRefused(const json& document, const char* part) {
  EXPECT_THAT([&] { (void)parseRegion(document.dump()); }, testing::ThrowsMessage<Error>(HasSubstr(part)))
      << document;
}

TEST(RegionJson, WritesTheDocumentOfEachSolidShape) {
  const auto volume = [](const auto& shape) {
    using Shape = std::remove_cvref_t<decltype(shape)>;
    return json::parse(regionText(&static_cast<const Region&>(Math::VolumetricClippingRegion<Shape>(shape))))
        .at("volume");
  };
  EXPECT_EQ(volume(Sphere{{{1, 2, 3}}, 4}), json::parse(R"({"center":[1,2,3],"radius":4})"));
  EXPECT_EQ(volume(Math::NBoundingBox<float, 3>{{{1, 2, 3}}, {{4, 5, 6}}}),
            json::parse(R"({"min":[1,2,3],"max":[4,5,6]})"));
  EXPECT_EQ(volume(Math::HalfSpace<float>{{{0, 0, 1}}, -3}),
            json::parse(R"({"normal":[0,0,1],"constant":-3})"));
  EXPECT_EQ(volume(Math::Cylinder<float>{{{1, 2, 3}}, {{0, 0, 1}}, 4}),
            json::parse(R"({"axis":{"origin":[1,2,3],"direction":[0,0,1]},"radius":4})"));
  EXPECT_EQ(volume(Math::CylinderFinite<float>{{{1, 2, 3}}, {{4, 5, 6}}, 7}),
            json::parse(R"({"axis":{"startPoint":[1,2,3],"endPoint":[4,5,6]},"radius":7})"));
}

TEST(RegionJson, WritesMatricesByRowsAndTheTypeBesideThem) {
  const Spherical region(Sphere{}, {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 10, 20, 30, 1});
  const json document = json::parse(regionText(&region));
  EXPECT_EQ(document.at("type"), "Sphere");
  EXPECT_EQ(document.at("trafo"), json::parse("[[1,0,0,10],[0,1,0,20],[0,0,1,30],[0,0,0,1]]"));
}

TEST(RegionJson, WritesPlaneShapesWithTheirImage) {
  const float triangle[] = {0, 0, 4, 0, 4, 4};
  const Math::ProjectedClippingRegion<Math::Polygon<float>> region(Math::Polygon<float>(triangle),
                                                                   {-1, 2, 30, 40, 0, 5}, Math::kIdentity4);
  const json document = json::parse(regionText(&region));
  EXPECT_EQ(document.at("shape"), json::parse(R"({"vertices":[[0,0],[4,0],[4,4]]})"));
  EXPECT_EQ(document.at("viewport"),
            json::parse(R"({"x":-1,"y":2,"width":30,"height":40,"minDepth":0,"maxDepth":5})"));
  EXPECT_EQ(document.at("viewProjection"), json::parse("[[1,0,0,0],[0,1,0,0],[0,0,1,0],[0,0,0,1]]"));
  const Math::ProjectedClippingRegion<Math::ImageSegmentation> mask({3, 2, {1, 2, 3}}, {}, Math::kIdentity4);
  EXPECT_EQ(json::parse(regionText(&mask)).at("shape"), json::parse(R"({"size":[3,2],"counts":[1,2,3]})"));
}

TEST(RegionJson, WritesNullWithoutARegionAndNoBlanks) {
  EXPECT_EQ(regionText(nullptr), "null");
  const Spherical region;
  EXPECT_EQ(regionText(&region).find_first_of(" \n"), std::string::npos);
}

TEST(RegionJson, WritesTheShortestDecimalsOfFloats) {
  const Spherical region(Sphere{{{0.1F, -2.7182817F, 1e-30F}}, 3});
  EXPECT_THAT(regionText(&region), HasSubstr(R"("center":[0.1,-2.7182817,1e-30])"));
}

TEST(RegionJson, ReadsBackEveryRegionAsItWasWritten) {
  Testing::RandomRegions random(1, {0, 1e4F, 0});
  for (int n = 0; n < 400; ++n) {
    const std::unique_ptr<Region> region = random.tree(n % 5);
    const std::string text = regionText(region.get());
    ASSERT_TRUE(*parseRegion(text) == *region) << text;
  }
}

TEST(RegionJson, ReadsBackInfiniteValuesAndRefusesThoseWithoutNumber) {
  const Math::VolumetricClippingRegion<Math::NBoundingBox<float, 3>> empty;
  EXPECT_TRUE(*parseRegion(regionText(&empty)) == empty);
  const Spherical odd(Sphere{{{0, 0, 0}}, std::nanf("")});
  EXPECT_ANY_THROW((void)parseRegion(regionText(&odd)));
}

TEST(RegionJson, TakesTheIdentityWithoutTrafo) {
  EXPECT_TRUE(*parseRegion(kUnitBall) == Spherical(Sphere{}));
}

TEST(RegionJson, ReadsATrafoThatMovesTheShape) {
  json document = ball();
  document["trafo"] = json::parse("[[1,0,0,10],[0,1,0,20],[0,0,1,30],[0,0,0,1]]");
  EXPECT_TRUE(parseRegion(document.dump())->pointInside({{10, 20, 30}}));
  document["trafo"] = json::parse("[[1,0,0,10],[0,1,0,20],[0,0,1,30]]");
  expectRefused<std::runtime_error>(document, "expected 4 rows, found 3");
  document["trafo"] = json::parse("[[1,0,0],[0,1,0],[0,0,1],[0,0,0]]");
  expectRefused<std::runtime_error>(document, "expected 4 numbers, found 3");
}

TEST(RegionJson, ReadsARectangleAsAnArrayToo) {
  const Math::ProjectedClippingRegion<Math::NBoundingBox<float, 2>> region({{{1, 2}}, {{3, 4}}}, {},
                                                                           Math::kIdentity4);
  json document = json::parse(regionText(&region));
  document["shape"] = {1, 2, 3, 4};
  EXPECT_TRUE(*parseRegion(document.dump()) == region);
  document["shape"] = {1, 2, 3};
  expectRefused<std::runtime_error>(document, "expected 4 numbers, found 3");
}

TEST(RegionJson, ReadsAnEmptyUnion) {
  const auto region = parseRegion(R"({"type":"UnionRegion","regions":[]})");
  EXPECT_FALSE(region->pointInside({{0, 0, 0}}));
}

TEST(RegionJson, RefusesTypesThatAreNotRegistered) {
  expectRefused<std::invalid_argument>({{"type", "Cone"}}, "Unknown typeName");
  expectRefused<std::invalid_argument>({{"type", ""}}, "Unknown typeName");
}

TEST(RegionJson, RefusesADocumentOfAnotherTypeInAReader) {
  Math::UnionRegion region;
  EXPECT_THAT([&] { Math::regionTypes().functionsOf("UnionRegion").read(ball(), {}, region); },
              testing::ThrowsMessage<std::runtime_error>("Invalid region type"));
}

TEST(RegionJson, RefusesMembersOfTheWrongKindInTheWordsOfTheJsonLibrary) {
  json document = ball();
  document["volume"]["radius"] = "1";
  expectRefused<json::type_error>(document, "type must be number, but is string");
  document["volume"]["radius"] = true;
  expectRefused<json::type_error>(document, "type must be number, but is boolean");
  document["volume"] = {{"center", 5}, {"radius", 1}};
  expectRefused<json::type_error>(document, "type must be array, but is number");
  expectRefused<json::type_error>({{"type", 7}}, "type must be string, but is number");
  expectRefused<json::type_error>({{"type", "UnionRegion"}, {"regions", {{"a", 1}}}},
                                  "type must be array, but is object");
  expectRefused<json::type_error>(json::array(), "array");
}

TEST(RegionJson, RefusesMissingMembers) {
  expectRefused<json::out_of_range>(json::object(), "type");
  expectRefused<json::out_of_range>({{"type", "Sphere"}}, "volume");
  expectRefused<json::out_of_range>({{"type", "InvertedRegion"}}, "region");
  expectRefused<json::out_of_range>({{"type", "TransformedRegion"}, {"region", ball()}}, "transformation");
  expectRefused<json::out_of_range>({{"type", "Circle"}}, "viewProjection");
}

TEST(RegionJson, RefusesNumbersThatCannotBeMeant) {
  const Math::ProjectedClippingRegion<Math::ImageSegmentation> region({3, 2, {1, 2, 3}}, {},
                                                                      Math::kIdentity4);
  const json whole = json::parse(regionText(&region));
  json document = whole;
  document["viewport"]["width"] = -1;
  expectRefused<std::runtime_error>(document, "whole number");
  document = whole;
  document["viewport"]["x"] = 1e10;
  expectRefused<std::runtime_error>(document, "whole number");
  document = whole;
  document["shape"]["counts"] = {1, 6};
  expectRefused<std::invalid_argument>(document, "found more");
  document = whole;
  document["viewport"]["maxDepth"] = 1.9;
  EXPECT_TRUE(*parseRegion(document.dump()) == region);
}

TEST(RegionJson, RefusesMembersNamedTwiceAndWhatIsNoJson) {
  for (const char* const text :
       {"", "x", "{", "null", "[]", "NaN", R"({"type":"Sphere","type":"Sphere","volume":{}})",
        R"({"type":"Sphere","volume":{"center":[0,0,0],"radius":1,"radius":2}})",
        R"({"type":"Sphere","volume":{"center":[0,0,NaN],"radius":1}})",
        R"({"type":"Sphere","volume":{"center":[0,0,1e400],"radius":1}})"}) {
    EXPECT_ANY_THROW((void)parseRegion(text)) << text;
  }
}

/// A ball in @p count regions with one text before and one behind.
std::string nested(int count, const char* before, const char* behind) {
  std::string text;
  for (int i = 0; i < count; ++i) text += before;
  text += kUnitBall;
  for (int i = 0; i < count; ++i) text += behind;
  return text;
}

TEST(RegionJson, ReadsAThousandNestedRegionsAndNoMore) {
  const char* const inverted = R"({"type":"InvertedRegion","region":)";
  const char* const united = R"({"type":"UnionRegion","regions":[)";
  EXPECT_FALSE(parseRegion(nested(999, inverted, "}"))->pointInside({{0, 0, 0}}));
  EXPECT_TRUE(parseRegion(nested(999, united, "]}"))->pointInside({{0, 0, 0}}));
  for (const int count : {1000, 1500, 2001, 100'000}) {
    EXPECT_ANY_THROW((void)parseRegion(nested(count, inverted, "}"))) << count;
    EXPECT_ANY_THROW((void)parseRegion(nested(count, united, "]}"))) << count;
  }
  const auto deepest = parseRegion(nested(999, united, "]}"));
  EXPECT_TRUE(*parseRegion(regionText(deepest.get())) == *deepest);
}

TEST(RegionJson, RefusesAMillionNestedArrays) {
  EXPECT_ANY_THROW((void)parseRegion(std::string(1'000'000, '[')));
  EXPECT_ANY_THROW((void)parseRegion(R"({"type":"UnionRegion","regions":)" + std::string(1'000'000, '[')));
}

TEST(RegionJson, RefusesTextsBeyondItsLongest) {
  std::string text = kUnitBall;
  text.resize(Math::kMostRegionBytes, ' ');
  EXPECT_NO_THROW((void)parseRegion(text));
  text += ' ';
  EXPECT_ANY_THROW((void)parseRegion(text));
}

/// Large coordinates, of which floats would lose what matters here.
constexpr Math::RegionOrigin kFar{{4'521'000.125, 5'411'000.25, 300.5}};

TEST(RegionJson, MovesRegionsToAnotherOriginInDoublePrecision) {
  const auto region = parseRegion(ball(kFar[0] + 5.001, kFar[1], kFar[2], 0.002).dump(), kFar);
  EXPECT_TRUE(region->pointInside({{5, 0, 0}}));
  EXPECT_FALSE(region->pointInside({{5.004F, 0, 0}}));
}

TEST(RegionJson, MovesTransformedRegionsByTheInverseOfTheirMatrix) {
  // A quarter turn about z around the far origin, then 10 to the right.
  json document = ball(3, 0, 0, 0.002);
  document["trafo"] = {{0, -1, 0, kFar[0] + 10}, {1, 0, 0, kFar[1]}, {0, 0, 1, kFar[2]}, {0, 0, 0, 1}};
  const auto leaf = parseRegion(document.dump(), kFar);
  const auto wrapped = parseRegion(json{{"type", "TransformedRegion"},
                                        {"region", ball(3, 0, 0, 0.002)},
                                        {"transformation", document["trafo"]}}
                                       .dump(),
                                   kFar);
  for (const Region* region : {leaf.get(), wrapped.get()}) {
    EXPECT_TRUE(region->pointInside({{10, 3, 0}}));
    EXPECT_FALSE(region->pointInside({{10, 3.004F, 0}}));
  }
}

TEST(RegionJson, MovesEveryKindOfRegion) {
  Testing::RandomRegions random(2, {0, 10, 0});
  const Math::RegionOrigin origin{{4, -8, 16}};
  int different = 0;
  for (int n = 0; n < 300; ++n) {
    const std::unique_ptr<Region> region = random.tree(2);
    const auto moved = parseRegion(regionText(region.get()), origin);
    for (int i = 0; i < 30; ++i) {
      const Math::Point<float, 3> p = random.shapes().point<3>();
      different += region->pointInside(p) != moved->pointInside({{p[0] - 4, p[1] + 8, p[2] - 16}}) ? 1 : 0;
    }
  }
  EXPECT_LT(different, 3) << "beside points at borders";
}

}  // namespace
