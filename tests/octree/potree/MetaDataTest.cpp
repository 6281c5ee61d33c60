#include <gmock/gmock.h>

#include "core/FormatError.h"
#include "octree/MapLocation.h"
#include "octree/potree/MetaData.h"
#include "support/SampleData.h"

namespace {

using PoTree::MetaData;
using PoTree::MetaDataUse;
using testing::HasSubstr;
using Testing::PotreeFiles;
using testing::StartsWith;

MetaData parse(const std::string& text, MetaDataUse use = MetaDataUse::Main) {
  return PoTree::parseMetaData(text, "m.json", use);
}
MetaData parse(const PotreeFiles& files, MetaDataUse use = MetaDataUse::Main) {
  return parse(files.metaData(), use);
}

/// What parsing says: "parsed", or the text of the FormatError. Any other exception gets out.
std::string saidOf(const std::string& text, MetaDataUse use = MetaDataUse::Main) {
  try {
    (void)parse(text, use);
    return "parsed";
  } catch (const Core::FormatError& error) {
    return error.what();
  }
}
std::string saidOf(const PotreeFiles& files) { return saidOf(files.metaData()); }

/// A JSON text.
std::string jsonText(const std::string& text) {
  std::string json = "\"";
  json.append(text).append("\"");
  return json;
}

std::string replaced(std::string text, const std::string& what, const std::string& with) {
  const std::size_t at = text.find(what);
  EXPECT_NE(at, std::string::npos) << what;
  return text.replace(at, what.size(), with);
}

TEST(MetaData, GivesEveryFactOfADocument) {
  const MetaData metaData = parse(PotreeFiles()
                                      .set("/version", "\"2.1\"")
                                      .set("/points", "4294967297")
                                      .set("/projection", "\"+proj=utm\"")
                                      .set("/hierarchy/firstChunkSize", "2046")
                                      .set("/scale", "[0.25, 0.5, 1]"));
  EXPECT_EQ(metaData.version, "2.1");
  EXPECT_EQ(metaData.name, "small");
  EXPECT_EQ(metaData.projection, "+proj=utm");
  EXPECT_EQ(metaData.points, 4'294'967'297U);
  EXPECT_EQ(metaData.firstChunkSize, 2046U);
  EXPECT_EQ(metaData.offset, (std::array{100.0, 200.0, 300.0}));
  EXPECT_EQ(metaData.scale, (std::array{0.25, 0.5, 1.0}));
  EXPECT_EQ(metaData.spacing, 0.5);
  EXPECT_EQ(metaData.boundingBox, (Math::NBoundingBox<double, 3>{{{100, 200, 300}}, {{164, 264, 364}}}));
  EXPECT_EQ(metaData.encoding, PoTree::Encoding::Uncompressed);
  EXPECT_EQ(metaData.bytesPerPoint, 21U);
}

TEST(MetaData, GivesTheAttributeTable) {
  const MetaData metaData = parse(PotreeFiles()
                                      .set("/attributes/1/min", "[12]")
                                      .set("/attributes/1/max", "[345]")
                                      .set("/attributes/2/description", "\"what it is\"")
                                      .set("/attributes/2/histogram", "[0, 7, 4294967296]"));
  ASSERT_EQ(metaData.attributes.size(), 4U);
  const PoTree::Attribute classes{"classification", "what it is",          1,  1, 1, "uint8", {0},
                                  {1000},           {0, 7, 4'294'967'296}, {}, {}};
  EXPECT_EQ(metaData.attributes[2], classes);
  EXPECT_EQ(metaData.attributes[3].name, "rgb");
  EXPECT_EQ(metaData.attributes[3].numElements, 3);
  EXPECT_EQ(metaData.attributes[3].elementSize, 2);
  EXPECT_EQ(metaData.intensityRange, (std::array<std::uint16_t, 2>{12, 345}));
}

TEST(MetaData, GivesScaleAndOffsetOfAttributes) {
  const MetaData metaData = parse(PotreeFiles()
                                      .set("/description", "\"a quarry\"")
                                      .set("/attributes/1/scale", "[0.25]")
                                      .set("/attributes/1/offset", "[-7]")
                                      .set("/attributes/3/scale", "[1, 2, 3]"));
  EXPECT_EQ(metaData.description, "a quarry");
  EXPECT_EQ(metaData.attributes[1].scale, std::vector{0.25});
  EXPECT_EQ(metaData.attributes[1].offset, std::vector{-7.0});
  EXPECT_EQ(metaData.attributes[3].scale, (std::vector{1.0, 2.0, 3.0}));
  EXPECT_TRUE(metaData.attributes[3].offset.empty());
  EXPECT_TRUE(metaData.attributes[2].scale.empty());
}

TEST(MetaData, TakesScalesThatAreNotOneNumberAnElementForNone) {
  for (const char* scale : {"[1, 2]", "[]", "1", "[\"1\"]", "null", "{}"}) {
    const MetaData metaData =
        parse(PotreeFiles().set("/attributes/1/scale", scale).set("/attributes/1/offset", scale));
    EXPECT_TRUE(metaData.attributes[1].scale.empty()) << scale;
    EXPECT_TRUE(metaData.attributes[1].offset.empty()) << scale;
  }
}

TEST(MetaData, NamesAMissingKey) {
  for (const char* key : {"version", "points", "hierarchy", "offset", "scale", "spacing", "boundingBox",
                          "encoding", "attributes"}) {
    EXPECT_THAT(saidOf(PotreeFiles().remove(std::string("/") + key)),
                StartsWith("m.json: " + std::string(key) + ": expected "));
  }
  EXPECT_THAT(saidOf(PotreeFiles().remove("/hierarchy/firstChunkSize")),
              StartsWith("m.json: hierarchy.firstChunkSize: "));
  EXPECT_THAT(saidOf(PotreeFiles().remove("/boundingBox/min")), StartsWith("m.json: boundingBox.min: "));
  EXPECT_THAT(saidOf(PotreeFiles().remove("/boundingBox/max")), StartsWith("m.json: boundingBox.max: "));
  for (const char* key : {"name", "size", "numElements", "elementSize", "type"}) {
    EXPECT_THAT(saidOf(PotreeFiles().remove(std::string("/attributes/2/") + key)),
                StartsWith("m.json: attributes[2]." + std::string(key) + ": expected "));
  }
}

TEST(MetaData, DoesWithoutTheKeysThatNobodyNeeds) {
  for (const char* key : {"/name", "/description", "/projection", "/hierarchy/stepSize", "/hierarchy/depth",
                          "/attributes/1/description", "/attributes/1/min", "/attributes/1/max"}) {
    EXPECT_EQ(saidOf(PotreeFiles().remove(key)), "parsed") << key;
  }
}

TEST(MetaData, NamesAKeyOfTheWrongType) {
  const std::map<std::string, std::string> names = {
      {"/version", "version"},
      {"/points", "points"},
      {"/hierarchy", "hierarchy"},
      {"/hierarchy/firstChunkSize", "hierarchy.firstChunkSize"},
      {"/offset", "offset"},
      {"/offset/1", "offset"},
      {"/scale", "scale"},
      {"/spacing", "spacing"},
      {"/boundingBox", "boundingBox"},
      {"/boundingBox/min", "boundingBox.min"},
      {"/boundingBox/max/2", "boundingBox.max"},
      {"/encoding", "encoding"},
      {"/attributes", "attributes"},
      {"/attributes/1", "attributes[1]"},
      {"/attributes/1/name", "attributes[1].name"},
      {"/attributes/1/size", "attributes[1].size"},
      {"/attributes/1/numElements", "attributes[1].numElements"},
      {"/attributes/1/elementSize", "attributes[1].elementSize"},
      {"/attributes/1/type", "attributes[1].type"},
      {"/attributes/1/min", "attributes[1].min"},
      {"/attributes/1/max/0", "attributes[1].max"},
      {"/attributes/2/histogram", "attributes[2].histogram"},
  };
  for (const auto& [pointer, name] : names) {
    for (const char* wrong : {"null", "true"}) {
      EXPECT_THAT(saidOf(PotreeFiles().set(pointer, wrong)), StartsWith("m.json: " + name + ": expected "));
    }
  }
}

TEST(MetaData, NamesAValueOutOfRange) {
  const std::vector<std::array<std::string, 3>> cases = {
      {"/points", "-1", "points"},
      {"/points", "1.5", "points"},
      {"/hierarchy/firstChunkSize", "-22", "hierarchy.firstChunkSize"},
      {"/offset", "[1, 2]", "offset"},
      {"/scale", "[1, 1, 1, 1]", "scale"},
      {"/scale", "[1, 0, 1]", "scale"},
      {"/scale", "[1, 1, -0.01]", "scale"},
      {"/spacing", "-0.5", "spacing"},
      {"/boundingBox/min", "[100, 265, 300]", "boundingBox"},
      {"/attributes/1/size", "0", "attributes[1].size"},
      {"/attributes/1/size", "-2", "attributes[1].size"},
      {"/attributes/1/size", "2147483648", "attributes[1].size"},
      {"/attributes/1/size", "18446744073709551615", "attributes[1].size"},
      {"/attributes/1/numElements", "0", "attributes[1].numElements"},
      {"/attributes/1/elementSize", "1e9", "attributes[1].elementSize"},
      {"/attributes/2/histogram", "[1, -1]", "attributes[2].histogram"},
      {"/encoding", "\"ZSTD\"", "encoding"},
      {"/encoding", "\"default\"", "encoding"},
  };
  for (const auto& [pointer, value, name] : cases) {
    EXPECT_THAT(saidOf(PotreeFiles().set(pointer, value)), StartsWith("m.json: " + name + ": expected "))
        << pointer << " " << value;
  }
}

TEST(MetaData, ReadsVersionTwoOnly) {
  for (const char* version : {"2.0", "2.1", "2.17"}) {
    EXPECT_EQ(parse(PotreeFiles().set("/version", jsonText(version))).version, version);
  }
  for (const char* version : {"1.8", "1.2.0", "3.0", "20.1", "", "2"}) {
    EXPECT_THAT(saidOf(PotreeFiles().set("/version", jsonText(version))),
                StartsWith("m.json: version: expected 2.x, found " + std::string(version)));
  }
}

TEST(MetaData, TakesUncompressedForDefault) {
  EXPECT_EQ(parse(PotreeFiles().set("/encoding", R"("UNCOMPRESSED")")).encoding,
            PoTree::Encoding::Uncompressed);
  EXPECT_EQ(parse(PotreeFiles().set("/encoding", R"("BROTLI")")).encoding, PoTree::Encoding::Brotli);
}

TEST(MetaData, IgnoresKeysThatItDoesNotKnow) {
  const MetaData plain = parse(PotreeFiles());
  EXPECT_EQ(parse(PotreeFiles().set("/extra", "{\"a\": [null]}").set("/attributes/0/scale", "\"x\"")), plain);
}

TEST(MetaData, RefusesTextThatIsNotJson) {
  EXPECT_EQ(saidOf(""), "m.json, byte 0: document: expected JSON, found not JSON (starts with '')");
  EXPECT_THAT(saidOf("<!DOCTYPE html><html></html>"), HasSubstr("not JSON (starts with '<!DOCTYPE html"));
  EXPECT_THAT(saidOf("[]"), StartsWith("m.json: document: expected an object"));
  EXPECT_THAT(saidOf("7"), StartsWith("m.json: document: expected an object"));
  EXPECT_THAT(saidOf(PotreeFiles().metaData() + "}"), HasSubstr("not JSON"));
  EXPECT_THAT(saidOf(std::string(3, '\0')), HasSubstr("not JSON"));
}

TEST(MetaData, RefusesBareInfinities) {
  const std::string valid = PotreeFiles().set("/spacing", "77").metaData();
  for (const char* number : {"inf", "-inf", "nan", "NaN", "Infinity", "1e999"}) {
    EXPECT_THAT(saidOf(replaced(valid, "77", number)), StartsWith("m.json, byte ")) << number;
  }
}

TEST(MetaData, RefusesDeepNesting) {
  const std::size_t deep = 1'000'000;
  const std::string nested = std::string(deep, '[') + std::string(deep, ']');
  EXPECT_THAT(saidOf(nested), HasSubstr("nested levels"));
  EXPECT_THAT(saidOf(std::string(deep, '{')), HasSubstr("not JSON"));
  EXPECT_THAT(saidOf(replaced(PotreeFiles().metaData(), "{", "{\"x\": " + nested + ",")),
              HasSubstr("nested levels"));
}

TEST(MetaData, DoesNotTakeBracketsInTextsForNesting) {
  std::string brackets(100, '[');
  brackets.append("\\\"").append(100, '{');
  EXPECT_EQ(saidOf(PotreeFiles().set("/name", jsonText(brackets))), "parsed");
}

TEST(MetaData, RefusesTwoDecodedAttributesOfOneName) {
  EXPECT_THAT(saidOf(PotreeFiles().attributes({"position", "rgb", "position"})),
              HasSubstr("attributes: expected names that differ, found two named position"));
}

TEST(MetaData, LetsAttributesThatAreNotDecodedShareAName) {
  EXPECT_EQ(saidOf(PotreeFiles().attributes({"position", "gps-time", "gps-time"})), "parsed");
}

TEST(MetaData, NeedsPositionsInAMainOctreeOnly) {
  const PotreeFiles files = PotreeFiles().attributes({"visibility"});
  EXPECT_THAT(saidOf(files), HasSubstr("attributes: expected an attribute position, found none"));
  EXPECT_FALSE(parse(files, MetaDataUse::ExternalAttributes).stored.positions);
  EXPECT_TRUE(parse(files, MetaDataUse::ExternalAttributes).stored.visibility);
}

TEST(MetaData, RefusesPositionsThatTheDecoderCannotRead) {
  EXPECT_THAT(saidOf(PotreeFiles().set("/attributes/0/size", "11")),
              HasSubstr("position.size: expected at least 12, found 11"));
  EXPECT_THAT(saidOf(PotreeFiles().set("/attributes/0/type", "\"double\"")),
              HasSubstr("position.type: expected int32, found double"));
}

TEST(MetaData, TakesASizeThatDiffersFromItsElementsAsItStands) {
  const MetaData metaData =
      parse(PotreeFiles().attributes({"position", "gps-time"}).set("/attributes/1/size", "5"));
  EXPECT_EQ(metaData.attributes[1].size, 5);
  EXPECT_EQ(metaData.bytesPerPoint, 17U);
  EXPECT_TRUE(parse(PotreeFiles().set("/attributes/1/numElements", "9")).stored.intensities);
}

TEST(MetaData, SaysWhichAttributesAreStored) {
  const auto stored = [](std::vector<std::string> names) {
    return parse(PotreeFiles().attributes(std::move(names))).stored;
  };
  EXPECT_EQ(stored({"position"}), (PoTree::StoredAttributes{.positions = true}));
  EXPECT_TRUE(stored({"position", "rgb"}).colors);
  EXPECT_TRUE(stored({"position", "intensity"}).intensities);
  EXPECT_TRUE(stored({"position", "classification"}).classification);
  EXPECT_TRUE(stored({"position", "visibility"}).visibility);
  EXPECT_TRUE(stored({"position", "normal_oct16"}).normals);
  EXPECT_TRUE(stored({"NormalZ", "position", "NormalX", "NormalY"}).normals);
  EXPECT_FALSE(stored({"position", "NormalX", "NormalY"}).normals);
}

TEST(MetaData, DoesNotCountAKnownNameOfAnotherSizeOrType) {
  const std::map<std::string, std::pair<int, std::string>> wrong = {
      {"rgb", {3, "uint8"}},         {"intensity", {4, "float"}},    {"classification", {2, "uint16"}},
      {"visibility", {4, "uint32"}}, {"normal_oct16", {4, "int32"}}, {"NormalX", {4, "float"}},
  };
  for (const auto& [name, form] : wrong) {
    PotreeFiles files;
    files.attributes({"position", name});
    files.set("/attributes/1/size", std::to_string(form.first))
        .set("/attributes/1/type", jsonText(form.second));
    const MetaData metaData = parse(files);
    EXPECT_EQ(metaData.stored, (PoTree::StoredAttributes{.positions = true})) << name;
    EXPECT_NE(metaData.find(name), nullptr) << name;
    EXPECT_EQ(metaData.findReadable(name), nullptr) << name;
  }
  EXPECT_FALSE(parse(PotreeFiles().set("/attributes/3/size", "8")).stored.colors);
  EXPECT_FALSE(parse(PotreeFiles().set("/attributes/1/type", "\"int16\"")).stored.intensities);
}

TEST(MetaData, KnowsNamesOnlyAsTheyAreSpelt) {
  EXPECT_FALSE(parse(PotreeFiles().set("/attributes/3/name", "\"RGB\"")).stored.colors);
  EXPECT_FALSE(parse(PotreeFiles().set("/attributes/2/name", "\"classification \"")).stored.classification);
}

TEST(MetaData, KeepsTheIntensityRangeWithinSixteenBits) {
  const auto range = [](const PotreeFiles& files) { return parse(files).intensityRange; };
  using Range = std::array<std::uint16_t, 2>;
  EXPECT_EQ(range(PotreeFiles().set("/attributes/1/min", "[-5]").set("/attributes/1/max", "[1e9]")),
            (Range{0, 65535}));
  EXPECT_EQ(range(PotreeFiles().set("/attributes/1/min", "[]")), (Range{0, 65535}));
  EXPECT_EQ(range(PotreeFiles().remove("/attributes/1/max")), (Range{0, 65535}));
}

TEST(MetaData, RefusesEveryTruncationOfADocument) {
  const std::string whole = PotreeFiles().metaData();
  ASSERT_EQ(whole.back(), '}');
  for (std::size_t n = 0; n < whole.size(); ++n) {
    ASSERT_THAT(saidOf(whole.substr(0, n)), HasSubstr("not JSON")) << n;
  }
}

TEST(MetaData, RefusesEveryTruncationOfARealDocument) {
  SORVIK_SAMPLE_OR_SKIP(folder, "potree/autzen-trim-default");
  const std::string whole = Testing::readFile(folder / "metadata.json");
  EXPECT_EQ(saidOf(whole), "parsed");
  for (std::size_t n = 0; n <= whole.rfind('}'); ++n) {
    ASSERT_THAT(saidOf(whole.substr(0, n)), HasSubstr("not JSON")) << n;
  }
}

TEST(MetaData, ShowsNoMoreThanTheStartOfALongWrongValue) {
  const std::string message = saidOf(PotreeFiles().set("/points", jsonText(std::string(100'000, 'x'))));
  EXPECT_LT(message.size(), 200U);
}

TEST(MetaData, RefusesMoreAttributesThanAnyCloudHas) {
  std::string list = "[";
  for (int i = 0; i < 5000; ++i) list += "{},";
  EXPECT_THAT(saidOf(PotreeFiles().set("/attributes", list + "{}]")),
              HasSubstr("attributes: expected at most 4096, found 5001"));
}

}  // namespace
