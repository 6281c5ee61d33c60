// Scans that other programs wrote, against what is known of their points.

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "converter/ConversionError.h"
#include "converter/LasScanReader.h"
#include "support/MemoryFileSystem.h"
#include "support/SampleData.h"

namespace {

using Converter::ScanReader;
using nlohmann::json;

/// A sample file and what was found in it without us.
struct Sample {
  std::string name;
  json truth;
  Testing::MemoryFileSystem files;

  explicit Sample(const std::filesystem::path& path)
      : name(path.filename().string()),
        truth(json::parse(Testing::readFile(std::filesystem::path(path).replace_extension(".truth.json")))) {
    files.put(name, Testing::readFile(path));
  }
  [[nodiscard]] std::unique_ptr<ScanReader> open(bool allowTruncated = false) {
    return Converter::openLas(files, name, {allowTruncated});
  }
};

/// All scans of the LAS family, compressed or not, but for those that must be refused.
std::vector<std::filesystem::path> lasFiles(const std::filesystem::path& samples) {
  std::vector<std::filesystem::path> paths;
  for (const char* const folder : {"las", "laz", "copc"}) {
    for (const auto& entry : std::filesystem::directory_iterator(samples / folder)) {
      const std::filesystem::path& path = entry.path();
      const bool isScan = path.extension() == ".las" || path.extension() == ".laz";
      if (isScan && path.stem().string().find("broken") == std::string::npos) paths.push_back(path);
    }
  }
  std::sort(paths.begin(), paths.end());
  return paths;
}

/// What the truth tells of one point.
struct Point {
  std::array<double, 3> xyz{};
  std::uint16_t intensity = 0;
  std::uint8_t classification = 0;
  std::array<std::uint16_t, 3> rgb{};
};

/// Sums over all points.
struct Totals {
  std::uint64_t count = 0;
  std::array<std::int64_t, 3> raw{};
  std::uint64_t intensity = 0;
  std::array<std::uint64_t, 3> rgb{};
  std::map<std::string, std::uint64_t> classes;
  Math::NBoundingBox<double, 3> box;
  Point first;
  Point last;

  void add(const Point& point, const std::int32_t* stored) {
    if (count++ == 0) first = point;
    last = point;
    intensity += point.intensity;
    ++classes[std::to_string(point.classification)];
    for (std::size_t i = 0; i < 3; ++i) {
      raw[i] += stored[i];
      rgb[i] += point.rgb[i];
    }
    box.expand({{point.xyz[0], point.xyz[1], point.xyz[2]}});
  }
};

Totals totalsOf(const ScanReader& scan) {
  const auto& attributes = scan.info().attributes;
  std::vector<std::size_t> offsets(attributes.size(), Converter::RecordTarget::kUnwanted);
  for (std::size_t i = 0; i < attributes.size(); ++i) {
    if (attributes[i].name == "intensity") offsets[i] = offsetof(Point, intensity);
    if (attributes[i].name == "classification") offsets[i] = offsetof(Point, classification);
    if (attributes[i].name == "rgb") offsets[i] = offsetof(Point, rgb);
  }
  Totals totals;
  std::vector<Point> points;
  Converter::BlockCoordinates coordinates;
  for (std::uint64_t block = 0; block < scan.numBlocks(); ++block) {
    points.assign(scan.mostPointsOf(block), {});
    scan.readBlock(block, {reinterpret_cast<std::byte*>(points.data()), sizeof(Point), offsets}, coordinates);
    for (std::size_t p = 0; p < points.size(); ++p) {
      const std::int32_t* const stored = coordinates.stored.data() + 3 * p;
      for (std::size_t i = 0; i < 3; ++i) {
        points[p].xyz[i] = stored[i] * scan.info().grid->scale[i] + scan.info().grid->offset[i];
      }
      totals.add(points[p], stored);
    }
  }
  return totals;
}

void expectPoint(const Point& point, const json& truth) {
  for (std::size_t i = 0; i < 3; ++i) EXPECT_DOUBLE_EQ(point.xyz[i], truth.at("xyz").at(i).get<double>());
  EXPECT_EQ(point.intensity, truth.at("intensity"));
  EXPECT_EQ(point.classification, truth.at("class"));
  EXPECT_EQ(json(point.rgb), truth.value("rgb", json(point.rgb)));
}

TEST(RealLas, FilesHoldThePointsThatOtherReadersFind) {
  SORVIK_SAMPLE_OR_SKIP(samples, ".");
  for (const std::filesystem::path& path : lasFiles(samples)) {
    SCOPED_TRACE(path.filename().string());
    Sample sample(path);
    const json& truth = sample.truth.at("points");
    const Totals totals = totalsOf(*sample.open(true));
    ASSERT_EQ(totals.count, truth.at("count"));
    if (totals.count == 0) continue;
    EXPECT_EQ(json(totals.raw), truth.at("sum_raw_xyz"));
    EXPECT_EQ(json(totals.intensity), truth.at("sum_intensity"));
    EXPECT_EQ(json(totals.classes), truth.at("class_histogram"));
    EXPECT_EQ(json(totals.rgb), truth.value("sum_rgb", json(totals.rgb)));
    for (std::size_t i = 0; i < 3; ++i) {
      EXPECT_DOUBLE_EQ(totals.box.minimum[static_cast<int>(i)], truth.at("min").at(i).get<double>());
      EXPECT_DOUBLE_EQ(totals.box.maximum[static_cast<int>(i)], truth.at("max").at(i).get<double>());
    }
    expectPoint(totals.first, truth.at("first"));
    expectPoint(totals.last, truth.at("last"));
  }
}

TEST(RealLas, FilesStateTheBoxAndTheGridOfTheirHeader) {
  SORVIK_SAMPLE_OR_SKIP(samples, ".");
  for (const std::filesystem::path& path : lasFiles(samples)) {
    SCOPED_TRACE(path.filename().string());
    Sample sample(path);
    const json& header = sample.truth.at("header");
    const auto scan = sample.open(true);
    EXPECT_EQ(json(scan->info().grid->scale), header.at("scale"));
    EXPECT_EQ(json(scan->info().grid->offset), header.at("offset"));
    EXPECT_EQ(json(scan->info().statedBox.minimum.coordinates), header.at("min"));
    EXPECT_EQ(json(scan->info().statedBox.maximum.coordinates), header.at("max"));
  }
}

TEST(RealLas, ASampleOfAFileIsPartOfIt) {
  SORVIK_SAMPLE_OR_SKIP(file, "las/derived-lastools-fusa.las");
  Sample sample(file);
  const auto scan = sample.open();
  const auto points = scan->sample(5'000);
  EXPECT_EQ(points.size(), 5'120U);
  for (const auto& point : points) ASSERT_TRUE(scan->info().statedBox.inside(point));
}

TEST(RealLas, AFileThatEndsBehindItsHeaderIsTruncated) {
  SORVIK_SAMPLE_OR_SKIP(file, "las/pdal-1.2-no-points.las");
  Sample sample(file);
  try {
    (void)sample.open();
    FAIL() << "was read";
  } catch (const Converter::ConversionError& error) {
    EXPECT_EQ(error.result(), Converter::Result::InputCannotRead);
    EXPECT_STREQ(
        error.what(),
        "pdal-1.2-no-points.las, byte 229: the file is truncated: the header counts 1065 points, the file "
        "holds 0");
  }
}

TEST(RealLas, FilesTellTheirCoordinateSystems) {
  SORVIK_SAMPLE_OR_SKIP(folder, "las");
  const std::map<std::string, std::string> beginnings{
      {"derived-lastools-fusa.las", "EPSG:32754"},
      {"laspy-1_4_w_evlr.las", "PROJCS[\"NAD83(HARN) / New Mexico Central (ftUS)\""},
      {"laspy-simple1_4.las", "EPSG:4326"},
      {"lazperf-autzen_trim.las", "PROJCS[\"NAD_1983_HARN_Lambert_Conformal_Conic\""},
      {"lazperf-point-color.las", "EPSG:26910"},
      {"pdal-autzen-bmx-2010.las", "COMPD_CS[\"NAD83 / Oregon LCC (m) + NAVD88 height (ftUS)\""},
      {"pdal-bad-geotiff-keys.las", "EPSG:32617"},
      {"pdal-bad_vlr_count.las", "EPSG:32617"},
      {"pdal-mvk-thin.las", "EPSG:26995"},
      {"pdal-permutation-1.0_0.las", "EPSG:26915"},
      {"pdal-prec3.las", "NAD_1983_HARN_Lambert_Conformal_Conic"},
      {"rlas-example.las", "EPSG:26917"}};
  for (const auto& [name, beginning] : beginnings) {
    EXPECT_EQ(Sample(folder / name).open()->info().projection.substr(0, beginning.size()), beginning) << name;
  }
}

TEST(RealLas, ExtraBytesKeepTheirNamesTypesAndScales) {
  SORVIK_SAMPLE_OR_SKIP(folder, "las");
  const auto arrays = Sample(folder / "pdal-extrabytes.las").open()->info();
  std::vector<std::string> names;
  for (std::size_t i = 11; i < arrays.attributes.size(); ++i) {
    const Math::Attribute& extra = arrays.attributes[i];
    names.push_back(extra.name + ' ' + std::to_string(extra.numElements) + ' ' +
                    std::string(nameOf(extra.type)));
  }
  EXPECT_THAT(names,
              testing::ElementsAre("Colors 3 uint16", "Flags 2 int8", "Intensity 1 uint32", "Time 1 uint64"));
  const auto scaled = Sample(folder / "laszip-5points_14.las").open()->info();
  const Math::Attribute& height = scaled.attributes.at(scaled.attributes.size() - 2);
  EXPECT_EQ(height.name, "height above ground");
  EXPECT_THAT(height.scale, testing::ElementsAre(0.05));
}

}  // namespace
