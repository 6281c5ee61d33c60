// What an octree holds after a conversion.

#include <gmock/gmock.h>

#include <algorithm>
#include <numeric>

#include "converter/Conversion.h"
#include "converter/ConversionError.h"
#include "converter/ConversionRun.h"
#include "converter/Spread.h"
#include "sample/RandomBits.h"

namespace {

using Converter::ConversionError;
using Converter::Result;
using Testing::clusteredScan;
using testing::Contains;
using Testing::ConversionRun;
using testing::ElementsAre;
using Testing::expectedRecords;
using testing::HasSubstr;
using Testing::holdsOnePointOfEachCell;
using testing::IsEmpty;
using Testing::ScanContent;
using Testing::scanOf;
using Testing::scansOf;
using Testing::smallSettings;
using Testing::spreadOf;
using Testing::WrittenOctree;

Result resultOf(const std::vector<ScanContent>& contents) {
  try {
    ConversionRun().convert(scansOf(contents));
  } catch (const ConversionError& error) {
    return error.result();
  }
  return Result::Success;
}

/// The stored positions of an octree's nodes.
Testing::PlacesByNode placesOf(const WrittenOctree& octree) {
  Testing::PlacesByNode places;
  for (const auto& [name, record] : octree.nodes) {
    auto& ofNode = places[name];
    for (const std::string& point : octree.pointsOf(name)) {
      const auto p = Testing::positionOf(point);
      ofNode.push_back({double(p[0]), double(p[1]), double(p[2])});
    }
  }
  return places;
}

TEST(Conversion, KeepsEveryPointOnceWithAllItsAttributes) {
  const ScanContent content = clusteredScan(20'000, 1);
  ConversionRun run;
  const auto report = run.convert(scansOf({content}));
  const WrittenOctree octree = run.octree();
  EXPECT_EQ(report.numPoints, 20'000);
  EXPECT_EQ(octree.metaData.at("points"), 20'000);
  EXPECT_EQ(octree.allPoints(), expectedRecords(content, octree.metaData));
}

TEST(Conversion, KeepsEveryPointInBrotliNodes) {
  const ScanContent content = clusteredScan(5'000, 2);
  auto settings = smallSettings();
  settings.encoding = PoTree::Encoding::Brotli;
  ConversionRun run;
  const auto report = run.convert(scansOf({content}), settings);
  const WrittenOctree octree = run.octree();
  EXPECT_EQ(octree.metaData.at("encoding"), "BROTLI");
  EXPECT_THAT(report.remarks, IsEmpty());
  EXPECT_EQ(octree.allPoints(), expectedRecords(content, octree.metaData));
}

TEST(Conversion, KeepsNothingButTheThreeFiles) {
  ConversionRun run;
  run.convert(scansOf({clusteredScan(3'000, 3)}));
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(run.output()))
    names.push_back(entry.path().filename());
  EXPECT_THAT(names, testing::UnorderedElementsAre("metadata.json", "hierarchy.bin", "octree.bin"));
  EXPECT_TRUE(std::filesystem::is_empty(run.temporary()));
}

TEST(Conversion, ConvertsASinglePointToARootOfOneUnit) {
  ScanContent content = scanOf({{-700, 20, 5}});
  ConversionRun run;
  run.convert(scansOf({content}));
  const WrittenOctree octree = run.octree();
  EXPECT_EQ(octree.nodes.size(), 1);
  EXPECT_EQ(octree.nodes.at("r").type, 1);
  EXPECT_EQ(octree.metaData.at("boundingBox").at("min"), (std::vector<double>{-7, 0.2, 0.05}));
  EXPECT_EQ(octree.metaData.at("boundingBox").at("max")[0], -6);
  EXPECT_THAT(octree.allPoints(), ElementsAre(std::string(12, '\0')));
}

TEST(Conversion, ConvertsFlatAndLinearClouds) {
  for (const std::size_t flatAxes : {1U, 2U}) {
    ScanContent content = clusteredScan(4'000, 4);
    for (auto& p : content.points) {
      for (std::size_t axis = 0; axis < flatAxes; ++axis) p[axis] = 12345;
    }
    ConversionRun run;
    run.convert(scansOf({content}));
    const WrittenOctree octree = run.octree();
    EXPECT_EQ(octree.allPoints(), expectedRecords(content, octree.metaData)) << flatAxes;
    EXPECT_GT(octree.nodes.size(), 10) << flatAxes;
  }
}

TEST(Conversion, KeepsPointsOfTheFullRangeOfIntegers) {
  ScanContent content = clusteredScan(3'000, 13);
  for (auto& p : content.points) p = {std::fmod(p[0] * 1009, INT32_MAX), p[1], p[2]};
  content.points[0] = {INT32_MIN, INT32_MIN, INT32_MIN};
  content.points[1] = {INT32_MAX, INT32_MAX, INT32_MAX};
  content.grid->scale = {1, 1, 1};
  ConversionRun run;
  const auto report = run.convert(scansOf({content}));
  const WrittenOctree octree = run.octree();
  EXPECT_THAT(report.remarks, Contains(HasSubstr("raised from 1 to 10")));
  EXPECT_EQ(octree.allPoints(), expectedRecords(content, octree.metaData));
}

TEST(Conversion, PutsTwoHundredThousandPointsOfOnePlaceIntoOneLeaf) {
  constexpr std::size_t kPoints = 200'000;
  ScanContent content = scanOf(std::vector<std::array<double, 3>>(kPoints, {5, 6, 7}));
  std::vector<std::uint32_t> numbers(content.points.size());
  std::iota(numbers.begin(), numbers.end(), 0);
  content.columns = {Testing::scanColumn("number", numbers)};
  content.points.push_back({0, 0, 0});
  content.points.push_back({1 << 20, 1 << 20, 1 << 20});
  content.columns[0].bytes.append(8, '\xff');
  ConversionRun run;
  run.convert(scansOf({content}));
  const WrittenOctree octree = run.octree();
  EXPECT_EQ(octree.allPoints(), expectedRecords(content, octree.metaData));
  std::uint32_t largest = 0;
  for (const auto& [name, node] : octree.nodes) {
    if (node.type == 1) largest = std::max(largest, node.numPoints);
  }
  EXPECT_GE(largest, kPoints - 21) << "all but those that coarser nodes took";
}

TEST(Conversion, KeepsTwoPointsFarFromAllTheOthers) {
  ScanContent content = scanOf({{-2e9, -2e9, -2e9}, {2e9, 2e9, 2e9}});
  Sample::RandomBits random(5);
  for (int i = 0; i < 10'000; ++i) {
    content.points.push_back({std::floor(random.unit() * 5000), std::floor(random.unit() * 5000), 17});
  }
  content.grid->scale = {0.001, 0.001, 0.001};
  ConversionRun run;
  const auto report = run.convert(scansOf({content}));
  const WrittenOctree octree = run.octree();
  EXPECT_THAT(report.remarks, Contains(HasSubstr("the scale was raised from 0.001 to 0.01")));
  EXPECT_EQ(octree.allPoints(), expectedRecords(content, octree.metaData));
}

TEST(Conversion, KeepsDuplicatesUnlessToldToDropThem) {
  ScanContent content = clusteredScan(2'000, 6);
  content.columns.resize(3);  // without time and number, so that equal points are equal in every byte
  content.points.insert(content.points.end(), content.points.begin(), content.points.begin() + 500);
  for (auto& column : content.columns) column.bytes += column.bytes.substr(0, 500 * column.attribute.size());
  ConversionRun kept;
  EXPECT_EQ(kept.convert(scansOf({content})).duplicates, 0);
  EXPECT_EQ(kept.octree().allPoints(), expectedRecords(content, kept.octree().metaData));

  auto settings = smallSettings();
  settings.dropDuplicates = true;
  ConversionRun dropped;
  const auto report = dropped.convert(scansOf({content}), settings);
  auto expected = expectedRecords(content, kept.octree().metaData);
  expected.erase(std::unique(expected.begin(), expected.end()), expected.end());
  EXPECT_EQ(report.duplicates, 500);
  EXPECT_EQ(report.numPoints, expected.size());
  EXPECT_EQ(dropped.octree().allPoints(), expected);
}

TEST(Conversion, CountsTheClassesOfTheStoredPoints) {
  for (const bool dropDuplicates : {false, true}) {
    ScanContent content = scanOf({{1, 1, 1}, {1, 1, 1}, {1, 1, 1}, {9, 9, 9}});
    content.columns = {Testing::scanColumn<std::uint8_t>("classification", {2, 2, 6, 255})};
    auto settings = smallSettings();
    settings.dropDuplicates = dropDuplicates;
    ConversionRun run;
    run.convert(scansOf({content}), settings);
    const auto histogram = run.octree().metaData.at("attributes")[1].at("histogram");
    EXPECT_EQ(histogram.size(), 256);
    EXPECT_EQ(histogram[2], dropDuplicates ? 1 : 2);
    EXPECT_EQ(histogram[6], 1);
    EXPECT_EQ(histogram[255], 1);
  }
}

TEST(Conversion, WritesPositionsWhoseCodesWouldBeMisreadUncompressedAndSaysSo) {
  const std::vector<std::array<double, 3>> places{
      {134217728, 0, 0}, {0, 0, 67108864}, {1 << 30, 1 << 30, 1 << 28}, {268436456, 700, 300}, {0, 0, 0}};
  for (const auto& place : places) {
    constexpr double kReadable = (1 << 30) + (1 << 20);
    ScanContent content = scanOf({place, {0, 0, 0}, {kReadable, kReadable, kReadable}});
    auto settings = smallSettings();
    settings.encoding = PoTree::Encoding::Brotli;
    ConversionRun run;
    const auto report = run.convert(scansOf({content}), settings);
    const WrittenOctree octree = run.octree();
    EXPECT_EQ(octree.allPoints(), expectedRecords(content, octree.metaData));
    const bool misread = place[0] + place[1] + place[2] > 0;
    EXPECT_EQ(octree.metaData.at("encoding"), misread ? "DEFAULT" : "BROTLI");
    EXPECT_EQ(std::count_if(report.remarks.begin(), report.remarks.end(),
                            [](const std::string& r) { return r.find("stored uncompressed") != r.npos; }),
              misread ? 1 : 0);
  }
}

TEST(Conversion, MergesScansOfDifferentGridsAndAttributes) {
  ScanContent a = scanOf({{0, 0, 0}, {100, 200, 300}});
  a.columns = {Testing::scanColumn<std::uint16_t>("intensity", {7, 8})};
  ScanContent b = scanOf({{1000, 2000, 3000}, {-5, 6, 7}});
  b.grid = Converter::ScanInfo::Grid{{0.001, 0.001, 0.001}, {0.5, 0.5, 0.5}};
  b.columns = {Testing::scanColumn<std::uint8_t>("user data", {3, 4})};
  ConversionRun run;
  run.convert(scansOf({a, b}));
  const WrittenOctree octree = run.octree();
  EXPECT_EQ(octree.metaData.at("scale"), (std::vector<double>{0.001, 0.001, 0.001}));
  a.columns.push_back(Testing::scanColumn<std::uint8_t>("user data", {0, 0}));
  b.columns.insert(b.columns.begin(), Testing::scanColumn<std::uint16_t>("intensity", {0, 0}));
  auto expected = expectedRecords(a, octree.metaData);
  const auto ofB = expectedRecords(b, octree.metaData);
  expected.insert(expected.end(), ofB.begin(), ofB.end());
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(octree.allPoints(), expected);
}

TEST(Conversion, KeepsTheIntegersOfScansWhoseOffsetsDifferByWholeSteps) {
  ScanContent a = scanOf({{1, 2, 3}, {1'000'000, 1'000'001, 1'000'002}});
  a.grid->offset = {500'000.5, 5'000'000.25, 100};
  ScanContent b = a;
  b.grid->offset = {500'010.5, 4'999'990.25, 100.07};
  ConversionRun run;
  run.convert(scansOf({a, b}));
  std::vector<std::array<std::int32_t, 3>> stored;
  for (const std::string& point : run.octree().allPoints()) stored.push_back(Testing::positionOf(point));
  EXPECT_THAT(stored, testing::UnorderedElementsAre(
                          std::array{0, 1000, 0}, std::array{999'999, 1'000'999, 999'999},
                          std::array{1000, 0, 7}, std::array{1'000'999, 999'999, 1'000'006}));
}

TEST(Conversion, PassesOverScansWithoutPoints) {
  const ScanContent content = clusteredScan(1'000, 7);
  ScanContent empty = scanOf({});
  empty.statedBox = Math::NBoundingBox<double, 3>{{{0, 0, 0}}, {{1e12, 0, 0}}};
  ScanContent given = content;
  given.columns.clear();
  ConversionRun run;
  run.convert(scansOf({empty, given, empty}));
  const WrittenOctree octree = run.octree();
  EXPECT_EQ(octree.allPoints(), expectedRecords(given, octree.metaData));
}

TEST(Conversion, RefusesInputsWithoutPoints) {
  EXPECT_EQ(resultOf({scanOf({}), scanOf({})}), Result::InputEmpty);
  ScanContent nothingMeasured = scanOf({{1, 1, 1}});
  nothingMeasured.kept = [](std::uint64_t, std::size_t) { return std::size_t{0}; };
  EXPECT_EQ(resultOf({nothingMeasured}), Result::InputEmpty);
}

TEST(Conversion, RefusesCoordinatesThatAreNotFinite) {
  ScanContent content = scanOf({{0, 0, 0}, {std::numeric_limits<double>::infinity(), 0, 0}});
  content.grid.reset();
  EXPECT_EQ(resultOf({content}), Result::InputDegeneratedBBox);
}

TEST(Conversion, RefusesInputsThatChangeWhileTheyAreRead) {
  ScanContent content = clusteredScan(500, 8);
  content.changesWhileRead = true;
  EXPECT_EQ(resultOf({content}), Result::InputCannotRead);
}

TEST(Conversion, CountsOnlyThePointsThatBlocksGive) {
  ScanContent content = clusteredScan(3'000, 9);
  content.kept = [](std::uint64_t block, std::size_t points) { return block == 1 ? 0 : points - 100; };
  ConversionRun run;
  EXPECT_EQ(run.convert(scansOf({content})).numPoints, 1'800);
  EXPECT_EQ(run.octree().allPoints().size(), 1'800);
}

TEST(Conversion, KeepsTheSpacingOfInnerNodesAcrossChunks) {
  ConversionRun run;
  run.convert(scansOf({clusteredScan(20'000, 10)}));
  const WrittenOctree octree = run.octree();
  const double edge = octree.metaData.at("spacing").get<double>() * 128 / 0.01;
  const Testing::Spread spread = spreadOf(placesOf(octree), edge);
  EXPECT_GE(spread.closest, 1);
  EXPECT_LE(spread.farthest, 2);
  EXPECT_GT(spread.farthest, 1) << "the cloud is too small to tell";
}

TEST(Conversion, RandomSamplingTakesOnePointOfEachCell) {
  constexpr double kEdge = 1 << 20;
  ScanContent content = clusteredScan(10'000, 11);
  for (auto& p : content.points) {
    for (double& value : p) value = std::fmod(value + 2 * kEdge * 2, kEdge);
  }
  content.points[0] = {0, 0, 0};
  content.points[1] = {kEdge - 1, kEdge - 1, kEdge - 1};
  auto settings = smallSettings();
  settings.sampling = Converter::Sampling::Random;
  ConversionRun run;
  run.convert(scansOf({content}), settings);
  const WrittenOctree octree = run.octree();
  EXPECT_TRUE(holdsOnePointOfEachCell(placesOf(octree), 20));
  EXPECT_EQ(octree.allPoints(), expectedRecords(content, octree.metaData));
}

TEST(Conversion, AdvancesEachStageByWhatItAnnounced) {
  Testing::ProgressLog progress;
  Core::DiskFileSystem disk(Core::DiskFileSystem::Sync::No);
  ConversionRun().convert(scansOf({clusteredScan(5'000, 12)}), smallSettings(), disk, progress);
  std::vector<Converter::Stage> stages;
  for (const auto& begun : progress.stages()) {
    stages.push_back(begun.stage);
    EXPECT_EQ(begun.done, begun.total) << static_cast<int>(begun.stage);
  }
  EXPECT_THAT(stages,
              ElementsAre(Converter::Stage::Distribute, Converter::Stage::Index, Converter::Stage::Write));
}

}  // namespace
