// Scans that other programs wrote, converted, read again in the plainest way, and held against what is known
// of their points.

#include <gmock/gmock.h>

#include <cctype>
#include <cmath>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <string_view>

#include "converter/Conversion.h"
#include "converter/ConversionError.h"
#include "converter/LasScanReader.h"
#include "converter/WrittenOctree.h"
#include "support/SampleData.h"
#include "support/TempFolder.h"

namespace {

using nlohmann::json;
using PoTree::Encoding;
using Testing::WrittenOctree;

/// Every scan of the LAS family in the sample data that holds points.
constexpr std::array kScans{"las/copclib-first_20_pts.las",
                            "las/derived-lastools-fusa.las",
                            "las/laspy-1_4_w_evlr.las",
                            "las/laspy-simple1_1.las",
                            "las/laspy-simple1_4.las",
                            "las/lasrs-one-point.las",
                            "las/laszip-5points_14.las",
                            "las/lazperf-autzen_trim.las",
                            "las/lazperf-extrabytes.las",
                            "las/lazperf-point-color.las",
                            "las/lazperf-point-color-time.las",
                            "las/lazperf-point10.las",
                            "las/lazperf-point10-1.1.las",
                            "las/liblas-bad_points_1.1.las",
                            "las/loadersgl-pdrf10-1.4.las",
                            "las/loadersgl-pdrf4-1.3.las",
                            "las/loadersgl-pdrf6-1.4.las",
                            "las/loadersgl-pdrf8-1.4.las",
                            "las/loadersgl-points-1.4.las",
                            "las/pdal-1.2-with-color.las",
                            "las/pdal-100-points.las",
                            "las/pdal-autzen-bmx-2010.las",
                            "las/pdal-autzen-thin-srs.las",
                            "las/pdal-autzen_trim_7.las",
                            "las/pdal-bad-geotiff-keys.las",
                            "las/pdal-bad_vlr_count.las",
                            "las/pdal-crop-on-edge.las",
                            "las/pdal-extrabytes.las",
                            "las/pdal-gps-time-nan.las",
                            "las/pdal-mvk-thin.las",
                            "las/pdal-permutation-1.0_0.las",
                            "las/pdal-permutation-1.1_1.las",
                            "las/pdal-permutation-1.2_0.las",
                            "las/pdal-permutation-1.2_2.las",
                            "las/pdal-prec3.las",
                            "las/pdal-sample_c_thin.las",
                            "las/pdal-test1_4.las",
                            "las/pdal-test_epsg_4326.las",
                            "las/potreeconverter-PD0003.las",
                            "las/rlas-example.las",
                            "laz/copclib-first_20_pts.laz",
                            "laz/entwine-ellipsoid-nwu.laz",
                            "laz/entwine-ellipsoid-sed.laz",
                            "laz/laspy-1_4_w_evlr.laz",
                            "laz/laspy-extra.laz",
                            "laz/laspy-fullwave.laz",
                            "laz/laspy-plane.laz",
                            "laz/lasrs-autzen.laz",
                            "laz/lastools-fusa.laz",
                            "laz/lastools-lake.laz",
                            "laz/lazperf-autzen_trim.laz",
                            "laz/lazperf-extrabytes.laz",
                            "laz/lazperf-point-color-time.laz",
                            "laz/lazperf-point-color.laz",
                            "laz/lazperf-point10-1.1.laz",
                            "laz/lazperf-point10.laz",
                            "laz/lidr-MixedConifer.laz",
                            "laz/lidr-Topography.laz",
                            "laz/loadersgl-ellipsoid-1.4.laz",
                            "laz/loadersgl-pdrf10-1.4.laz",
                            "laz/loadersgl-pdrf4-1.3.laz",
                            "laz/loadersgl-pdrf6-1.4.laz",
                            "laz/loadersgl-pdrf8-1.4.laz",
                            "laz/pdal-faceraster.laz",
                            "laz/pdal-laszip-generated.laz",
                            "laz/pdal-liblas-generated.laz",
                            "laz/pdal-lone-star-split-1.laz",
                            "laz/rlas-las14_prf6.laz",
                            "laz/untwine-eb.laz",
                            "copc/copcjs-ellipsoid.copc.laz",
                            "copc/pdal-1.2-with-color.copc.laz",
                            "copc/pdal-tindex-autzen_clip_4326.copc.laz",
                            "copc/potree-lion_takanawa.copc.laz",
                            "copc/silvimetric-test_data_2.copc.laz"};
constexpr std::array kWithoutPoints{"las/lazperf-no-points-1.3.las", "laz/lazperf-no-points-1.3.laz"};
constexpr const char* kWithoutItsPoints = "las/pdal-1.2-no-points.las";
constexpr std::array kBroken{"laz/laszip-broken_coder.laz", "laz/laszip-broken_size.laz"};
/// LAS files and the same records in a LAZ file.
constexpr std::array<std::pair<const char*, const char*>, 12> kTwins{
    {{"copclib-first_20_pts.las", "copclib-first_20_pts.laz"},
     {"derived-lastools-fusa.las", "lastools-fusa.laz"},
     {"laspy-1_4_w_evlr.las", "laspy-1_4_w_evlr.laz"},
     {"lazperf-autzen_trim.las", "lazperf-autzen_trim.laz"},
     {"lazperf-extrabytes.las", "lazperf-extrabytes.laz"},
     {"lazperf-point-color-time.las", "lazperf-point-color-time.laz"},
     {"lazperf-point-color.las", "lazperf-point-color.laz"},
     {"lazperf-point10.las", "lazperf-point10.laz"},
     {"loadersgl-pdrf10-1.4.las", "loadersgl-pdrf10-1.4.laz"},
     {"loadersgl-pdrf4-1.3.las", "loadersgl-pdrf4-1.3.laz"},
     {"loadersgl-pdrf6-1.4.las", "loadersgl-pdrf6-1.4.laz"},
     {"loadersgl-pdrf8-1.4.las", "loadersgl-pdrf8-1.4.laz"}}};

class Unwatched final : public Converter::Progress {
 public:
  void begin(Converter::Stage /*stage*/, std::uint64_t /*total*/) override {}
  void advance(std::uint64_t /*units*/) override {}
};

Converter::ConversionReport convert(const std::filesystem::path& scan, Encoding encoding,
                                    const std::filesystem::path& folder,
                                    const Converter::LasReadOptions& options = {}) {
  Core::DiskFileSystem files(Core::DiskFileSystem::Sync::No);
  std::vector<std::unique_ptr<Converter::ScanReader>> scans;
  scans.push_back(Converter::openLas(files, scan, options));
  Converter::ConversionSettings settings;
  settings.name = scan.stem();
  settings.encoding = encoding;
  Unwatched progress;
  files.createDirectories(folder / "cloud");
  files.createDirectories(folder / "temporary");
  return convertScans(scans, settings, {folder / "cloud", folder / "temporary"}, files, progress, {});
}

Converter::Result resultOf(const std::filesystem::path& scan, const Converter::LasReadOptions& options,
                           std::string& message) {
  const Testing::TempFolder folder;
  try {
    convert(scan, Encoding::Uncompressed, folder.path(), options);
  } catch (const Converter::ConversionError& error) {
    message = error.what();
    return error.result();
  }
  return Converter::Result::Success;
}

/// Where an attribute stands in the records of an octree.
struct Place {
  std::size_t offset = 0;
  std::size_t elementSize = 0;

  /// An unsigned number of at most eight bytes.
  [[nodiscard]] std::uint64_t value(const std::string& record, std::size_t element = 0) const {
    std::uint64_t number = 0;
    for (std::size_t i = 0; i < elementSize; ++i) {
      const auto byte = static_cast<unsigned char>(record.at(offset + element * elementSize + i));
      number |= std::uint64_t{byte} << 8 * i;
    }
    return number;
  }
};

std::optional<Place> findPlace(const json& metaData, std::string_view name) {
  Place place;
  for (const json& attribute : metaData.at("attributes")) {
    place.elementSize = attribute.at("elementSize");
    if (attribute.at("name") == name) return place;
    place.offset += attribute.at("size").get<std::size_t>();
  }
  return std::nullopt;
}

struct Totals {
  std::uint64_t points = 0;
  std::array<std::int64_t, 3> stored{};
  std::array<std::int64_t, 3> lowest{INT64_MAX, INT64_MAX, INT64_MAX};
  std::array<std::int64_t, 3> highest{INT64_MIN, INT64_MIN, INT64_MIN};
  std::uint64_t intensities = 0;
  std::array<std::uint64_t, 3> colors{};
  std::map<std::string, std::uint64_t> classes;
};

/// One scan of the sample data in one encoding, converted.
class RealScans : public testing::TestWithParam<std::tuple<const char*, Encoding>> {
 protected:
  void SetUp() override {
    const auto samples = Testing::sampleData();
    if (!samples) GTEST_SKIP() << "no sample data: needs las, laz and copc in ../shared/data";
    const std::filesystem::path scan = *samples / std::get<0>(GetParam());
    truth_ = json::parse(Testing::readFile(std::filesystem::path(scan).replace_extension(".truth.json")));
    report_ = convert(scan, std::get<1>(GetParam()), folder_.path());
    octree_.emplace(folder_.path() / "cloud");
    intensity_ = findPlace(octree_->metaData, "intensity").value();
    classification_ = findPlace(octree_->metaData, "classification").value();
    color_ = findPlace(octree_->metaData, "rgb");
  }

  [[nodiscard]] const json& points() const { return truth_.at("points"); }
  [[nodiscard]] double scale(std::size_t axis) const { return octree_->metaData.at("scale").at(axis); }
  [[nodiscard]] double offset(std::size_t axis) const { return octree_->metaData.at("offset").at(axis); }
  [[nodiscard]] double sourceScale(std::size_t axis) const {
    return truth_.at("header").at("scale").at(axis);
  }
  [[nodiscard]] double sourceOffset(std::size_t axis) const {
    return truth_.at("header").at("offset").at(axis);
  }
  /// How far a stored coordinate may be from that of the source, in world units: nothing but rounding, unless
  /// the source's grid is too fine for the octree.
  [[nodiscard]] double tolerance(std::size_t axis) const {
    const double step = scale(axis) == sourceScale(axis) ? 1e-6 * scale(axis) : 0.5 * scale(axis);
    return step + 4e-16 * std::abs(offset(axis)) + 1e-12;
  }

  [[nodiscard]] Totals totals() const {
    Totals totals;
    for (const auto& node : octree_->nodes) {
      for (const std::string& record : octree_->pointsOf(node.first)) add(totals, record);
    }
    return totals;
  }

  /// Whether some point has the place and the attributes of @p truth.
  [[nodiscard]] bool holds(const json& truth) const {
    for (const auto& node : octree_->nodes) {
      for (const std::string& record : octree_->pointsOf(node.first)) {
        if (isPoint(record, truth)) return true;
      }
    }
    return false;
  }

  json truth_;
  Testing::TempFolder folder_;
  Converter::ConversionReport report_;
  std::optional<WrittenOctree> octree_;

 private:
  void add(Totals& totals, const std::string& record) const {
    ++totals.points;
    const std::array<std::int32_t, 3> stored = Testing::positionOf(record);
    for (std::size_t axis = 0; axis < 3; ++axis) {
      totals.stored[axis] += stored[axis];
      totals.lowest[axis] = std::min(totals.lowest[axis], std::int64_t{stored[axis]});
      totals.highest[axis] = std::max(totals.highest[axis], std::int64_t{stored[axis]});
      if (color_) totals.colors[axis] += color_->value(record, axis);
    }
    totals.intensities += intensity_.value(record);
    ++totals.classes[std::to_string(classification_.value(record))];
  }

  [[nodiscard]] bool isPoint(const std::string& record, const json& truth) const {
    const std::array<std::int32_t, 3> stored = Testing::positionOf(record);
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const double world = stored[axis] * scale(axis) + offset(axis);
      if (std::abs(world - truth.at("xyz").at(axis).get<double>()) > tolerance(axis)) return false;
      if (truth.contains("rgb") && color_.value().value(record, axis) != truth.at("rgb").at(axis))
        return false;
    }
    return intensity_.value(record) == truth.at("intensity") &&
           classification_.value(record) == truth.at("class");
  }

  Place intensity_;
  Place classification_;
  std::optional<Place> color_;
};

std::string testName(const testing::TestParamInfo<RealScans::ParamType>& info) {
  std::string name = std::get<0>(info.param);
  std::replace_if(
      name.begin(), name.end(), [](unsigned char letter) { return std::isalnum(letter) == 0; }, '_');
  return name + (std::get<1>(info.param) == Encoding::Brotli ? "_brotli" : "_uncompressed");
}

INSTANTIATE_TEST_SUITE_P(Samples, RealScans,
                         testing::Combine(testing::ValuesIn(kScans),
                                          testing::Values(Encoding::Uncompressed, Encoding::Brotli)),
                         testName);

TEST_P(RealScans, BecomeOctreesOfTheSamePoints) {
  const Totals found = totals();
  ASSERT_EQ(found.points, points().at("count"));
  EXPECT_EQ(octree_->metaData.at("points"), found.points);
  EXPECT_EQ(report_.numPoints, found.points);
  EXPECT_EQ(found.intensities, points().at("sum_intensity"));
  EXPECT_EQ(json(found.classes), points().at("class_histogram"));
  EXPECT_EQ(json(found.colors), points().value("sum_rgb", json(found.colors)));
  for (std::size_t axis = 0; axis < 3; ++axis) {
    SCOPED_TRACE(axis);
    EXPECT_NEAR(static_cast<double>(found.lowest[axis]) * scale(axis) + offset(axis),
                points().at("min").at(axis), tolerance(axis));
    EXPECT_NEAR(static_cast<double>(found.highest[axis]) * scale(axis) + offset(axis),
                points().at("max").at(axis), tolerance(axis));
    if (scale(axis) == sourceScale(axis)) {
      const auto between = std::llround((offset(axis) - sourceOffset(axis)) / scale(axis));
      EXPECT_EQ(found.stored[axis] + static_cast<std::int64_t>(found.points) * between,
                points().at("sum_raw_xyz").at(axis));
    } else {
      EXPECT_GT(scale(axis), sourceScale(axis)) << "scales are raised only";
      EXPECT_NEAR(static_cast<double>(found.stored[axis]) / static_cast<double>(found.points) * scale(axis) +
                      offset(axis),
                  points().at("mean").at(axis), tolerance(axis));
    }
  }
  EXPECT_TRUE(holds(points().at("first")));
  EXPECT_TRUE(holds(points().at("last")));
}

TEST_P(RealScans, GetMetadataThatTellTheTruth) {
  const json& attributes = octree_->metaData.at("attributes");
  for (std::size_t axis = 0; axis < 3; ++axis) {
    EXPECT_DOUBLE_EQ(attributes.at(0).at("min").at(axis), points().at("min").at(axis).get<double>());
    EXPECT_DOUBLE_EQ(attributes.at(0).at("max").at(axis), points().at("max").at(axis).get<double>());
  }
  std::map<std::string, std::uint64_t> classes;
  for (const json& attribute : attributes) {
    if (attribute.at("name") != "classification") continue;
    for (std::size_t i = 0; i < 256; ++i) {
      const std::uint64_t count = attribute.at("histogram").at(i);
      if (count != 0) classes[std::to_string(i)] = count;
    }
  }
  EXPECT_EQ(json(classes), points().at("class_histogram"));
}

TEST(RealScansThatFail, AFileWithoutPointsIsAnEmptyInput) {
  SORVIK_SAMPLE_OR_SKIP(samples, ".");
  for (const char* const scan : kWithoutPoints) {
    std::string message;
    EXPECT_EQ(resultOf(samples / scan, {}, message), Converter::Result::InputEmpty);
    EXPECT_THAT(message, testing::HasSubstr("no points"));
  }
}

TEST(RealScansThatFail, ACompressionThatIsNotKnownIsRefused) {
  SORVIK_SAMPLE_OR_SKIP(samples, ".");
  std::string message;
  EXPECT_EQ(resultOf(samples / kBroken[0], {}, message), Converter::Result::InputLazDecodeError);
  EXPECT_THAT(message, testing::EndsWith("laszip-broken_coder.laz, byte 283: coder: expected 0, found 15"));
  EXPECT_EQ(resultOf(samples / kBroken[1], {}, message), Converter::Result::InputLazDecodeError);
  EXPECT_THAT(message, testing::EndsWith("byte 319: version of the item POINT10: expected 1 to 2, found 6"));
}

TEST(RealScansThatFail, AFileThatEndsBeforeItsPointsIsRefusedWithBothCounts) {
  SORVIK_SAMPLE_OR_SKIP(scan, kWithoutItsPoints);
  std::string message;
  EXPECT_EQ(resultOf(scan, {}, message), Converter::Result::InputCannotRead);
  EXPECT_THAT(message, testing::AllOf(testing::HasSubstr(scan.filename().string()),
                                      testing::HasSubstr("1065"), testing::ContainsRegex("\\b0\\b")));
}

TEST(RealScansThatFail, AFileThatEndsBeforeItsPointsIsEmptyWhenThatIsAllowed) {
  SORVIK_SAMPLE_OR_SKIP(scan, kWithoutItsPoints);
  std::string message;
  EXPECT_EQ(resultOf(scan, {/*allowTruncated=*/true}, message), Converter::Result::InputEmpty);
}

TEST(RealScansThatFail, NoFileOfTheSampleDataIsLeftOut) {
  SORVIK_SAMPLE_OR_SKIP(samples, ".");
  std::set<std::string> tested(kScans.begin(), kScans.end());
  tested.insert(kWithoutPoints.begin(), kWithoutPoints.end());
  tested.insert(kBroken.begin(), kBroken.end());
  tested.insert(kWithoutItsPoints);
  std::set<std::string> there;
  for (const std::string folder : {"las", "laz", "copc"}) {
    for (const auto& entry : std::filesystem::directory_iterator(samples / folder)) {
      const auto extension = entry.path().extension();
      if (extension == ".las" || extension == ".laz") {
        there.insert(folder + '/' + entry.path().filename().string());
      }
    }
  }
  EXPECT_EQ(there, tested);
}

/// The bytes of the octree that a scan becomes, whatever its name.
std::map<std::string, std::string> octreeOf(const std::filesystem::path& scan) {
  const Testing::TempFolder folder;
  convert(scan, Encoding::Uncompressed, folder.path());
  std::map<std::string, std::string> files;
  for (const auto& entry : std::filesystem::directory_iterator(folder.path() / "cloud")) {
    files[entry.path().filename()] = Testing::readFile(entry.path());
  }
  auto metaData = json::parse(files.at("metadata.json"));
  metaData.erase("name");
  files["metadata.json"] = metaData.dump();
  return files;
}

TEST(RealScanTwins, BecomeTheSameOctreeCompressedAndNot) {
  SORVIK_SAMPLE_OR_SKIP(samples, ".");
  for (const auto& twins : kTwins) {
    SCOPED_TRACE(twins.second);
    const auto ofLas = octreeOf(samples / "las" / twins.first);
    EXPECT_GT(ofLas.at("octree.bin").size(), 100U);
    EXPECT_TRUE(ofLas == octreeOf(samples / "laz" / twins.second));
  }
}

}  // namespace
