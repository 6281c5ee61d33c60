// E57 files that other programs wrote, converted, read again in the plainest way, and held against what is
// known of their points.
#include <gmock/gmock.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <nlohmann/json.hpp>
#include <set>

#include "converter/Conversion.h"
#include "converter/ConversionError.h"
#include "converter/E57ScanReader.h"
#include "converter/WrittenOctree.h"
#include "support/SampleData.h"
#include "support/TempFolder.h"

namespace {

using nlohmann::json;
using PoTree::Encoding;
using Testing::WrittenOctree;

constexpr std::array kScans{"cryinc-bunnyDouble",
                            "cryinc-bunnyInt19",
                            "cryinc-bunnyInt24",
                            "cryinc-integer_intensity",
                            "cryinc-scaled_integer_intensity",
                            "cryinc-tinyCartesianFloatRgb",
                            "cryinc-tiny_pc_and_images",
                            "cryinc-tiny_spherical",
                            "libe57-ColourRepresentation",
                            "libe57-ColouredCubeFloat",
                            "pdal-A4",
                            "pdal-A_B",
                            "pdal-A_merged_B",
                            "pye57-testWithNormals",
                            "pye57-translationWithoutRotation"};
constexpr std::array kWithoutPoints{"cryinc-empty", "libe57-ZeroPoints"};
constexpr const char* kDamaged = "cryinc-corrupt_crc";

class Unwatched final : public Converter::Progress {
 public:
  void begin(Converter::Stage /*stage*/, std::uint64_t /*total*/) override {}
  void advance(std::uint64_t /*units*/) override {}
};

void convert(const std::filesystem::path& scan, Encoding encoding, const std::filesystem::path& folder) {
  Core::DiskFileSystem files(Core::DiskFileSystem::Sync::No);
  std::vector<std::unique_ptr<Converter::ScanReader>> scans;
  scans.push_back(Converter::openE57(files, scan));
  Converter::ConversionSettings settings;
  settings.name = scan.stem();
  settings.encoding = encoding;
  Unwatched progress;
  files.createDirectories(folder / "cloud");
  files.createDirectories(folder / "temporary");
  convertScans(scans, settings, {folder / "cloud", folder / "temporary"}, files, progress, {});
}

/// One file of the sample data in one encoding, converted; its points by the scan that they are from.
class RealE57 : public testing::TestWithParam<std::tuple<const char*, Encoding>> {
 protected:
  void SetUp() override {
    const auto samples = Testing::sampleData();
    if (!samples) GTEST_SKIP() << "no sample data: needs e57 in ../shared/data";
    const std::string name = std::get<0>(GetParam());
    truth_ = json::parse(Testing::readFile(*samples / "e57" / (name + ".truth.json")));
    convert(*samples / "e57" / (name + ".e57"), std::get<1>(GetParam()), folder_.path());
    octree_.emplace(folder_.path() / "cloud");
    const std::size_t scanIndex = offsetOf("ScanIndex").value();
    for (const std::string& record : octree_->allPoints()) {
      std::uint32_t scan = 0;
      std::memcpy(&scan, record.data() + scanIndex, sizeof scan);
      points_[scan].push_back(record);
    }
  }

  [[nodiscard]] std::optional<std::size_t> offsetOf(const std::string& name) const {
    std::size_t offset = 0;
    for (const json& attribute : octree_->metaData.at("attributes")) {
      if (attribute.at("name") == name) return offset;
      offset += attribute.at("size").get<std::size_t>();
    }
    return std::nullopt;
  }

  [[nodiscard]] double world(const std::string& record, std::size_t axis) const {
    return Testing::positionOf(record)[axis] * octree_->metaData.at("scale").at(axis).get<double>() +
           octree_->metaData.at("offset").at(axis).get<double>();
  }

  /// The sum of an attribute's values over the points of a scan.
  template <class Value>
  [[nodiscard]] double sum(std::uint32_t scan, const std::string& name, std::size_t element = 0) const {
    const std::size_t offset = offsetOf(name).value() + element * sizeof(Value);
    double total = 0;
    for (const std::string& record : points_.at(scan)) {
      Value value{};
      std::memcpy(&value, record.data() + offset, sizeof value);
      total += static_cast<double>(value);
    }
    return total;
  }

  json truth_;
  Testing::TempFolder folder_;
  std::optional<WrittenOctree> octree_;
  std::map<std::uint32_t, std::vector<std::string>> points_;
};

std::string testName(const testing::TestParamInfo<RealE57::ParamType>& info) {
  std::string name = std::get<0>(info.param);
  std::replace(name.begin(), name.end(), '-', '_');
  return name + (std::get<1>(info.param) == Encoding::Brotli ? "_brotli" : "_uncompressed");
}

INSTANTIATE_TEST_SUITE_P(Samples, RealE57,
                         testing::Combine(testing::ValuesIn(kScans),
                                          testing::Values(Encoding::Uncompressed, Encoding::Brotli)),
                         testName);

TEST_P(RealE57, BecomeOctreesOfTheSamePoints) {
  for (std::uint32_t scan = 0; scan < truth_.at("scans").size(); ++scan) {
    SCOPED_TRACE(scan);
    const json& expected = truth_.at("scans").at(scan).at("valid_points_world");
    const std::vector<std::string>& points = points_.at(scan);
    ASSERT_EQ(points.size(), expected.at("count"));
    for (std::size_t axis = 0; axis < 3; ++axis) {
      double low = INFINITY;
      double high = -std::numeric_limits<double>::infinity();
      double total = 0;
      for (const std::string& record : points) {
        const double value = world(record, axis);
        low = std::min(low, value);
        high = std::max(high, value);
        total += value;
      }
      const double tolerance = 0.5001 * octree_->metaData.at("scale").at(axis).get<double>();
      EXPECT_NEAR(low, expected.at("min").at(axis), tolerance);
      EXPECT_NEAR(high, expected.at("max").at(axis), tolerance);
      EXPECT_NEAR(total / static_cast<double>(points.size()), expected.at("mean").at(axis), tolerance);
    }
  }
}

TEST_P(RealE57, KeepTheColoursOfTheirPoints) {
  constexpr std::array kChannels{"colorRed", "colorGreen", "colorBlue"};
  for (std::uint32_t scan = 0; scan < truth_.at("scans").size(); ++scan) {
    const json& stats = truth_.at("scans").at(scan).at("stats_raw");
    if (!stats.contains("colorRed")) continue;
    const bool isWide = std::get<0>(GetParam()) == std::string("libe57-ColourRepresentation");
    const auto count = static_cast<double>(points_.at(scan).size());
    for (std::size_t channel = 0; channel < 3; ++channel) {
      const double mean = stats.at(kChannels[channel]).at("mean").get<double>() * (isWide ? 1 : 257);
      EXPECT_NEAR(sum<std::uint16_t>(scan, "rgb", channel), mean * count, 1e-6 * mean * count);
    }
  }
}

TEST_P(RealE57, KeepTheNormalsOfTheirPoints) {
  for (std::uint32_t scan = 0; scan < truth_.at("scans").size(); ++scan) {
    const json& stats = truth_.at("scans").at(scan).at("stats_raw");
    for (const char axis : {'X', 'Y', 'Z'}) {
      const json* mean = nullptr;
      for (const auto& [name, values] : stats.items()) {
        if (name.ends_with(std::string("normal") + axis)) mean = &values.at("mean");
      }
      ASSERT_EQ(mean != nullptr, offsetOf(std::string("Normal") + axis).has_value());
      if (mean == nullptr) continue;
      EXPECT_NEAR(sum<double>(scan, std::string("Normal") + axis),
                  mean->get<double>() * static_cast<double>(points_.at(scan).size()), 1e-12);
    }
  }
}

Converter::Result resultOf(const std::filesystem::path& scan, std::string& message) {
  const Testing::TempFolder folder;
  try {
    convert(scan, Encoding::Uncompressed, folder.path());
  } catch (const Converter::ConversionError& error) {
    message = error.what();
    return error.result();
  }
  return Converter::Result::Success;
}

TEST(RealE57ThatFail, FilesWithoutPointsAreEmptyInputs) {
  SORVIK_SAMPLE_OR_SKIP(folder, "e57");
  for (const char* const name : kWithoutPoints) {
    std::string message;
    EXPECT_EQ(resultOf(folder / (std::string(name) + ".e57"), message), Converter::Result::InputEmpty)
        << name;
  }
}

TEST(RealE57ThatFail, ADamagedPageIsNamed) {
  SORVIK_SAMPLE_OR_SKIP(scan, std::string("e57/") + kDamaged + ".e57");
  std::string message;
  EXPECT_EQ(resultOf(scan, message), Converter::Result::InputCannotRead);
  EXPECT_THAT(message, testing::AllOf(testing::HasSubstr(scan.filename().string()),
                                      testing::HasSubstr("checksum of page 33")));
}

TEST(RealE57ThatFail, NoFileOfTheSampleDataIsLeftOut) {
  SORVIK_SAMPLE_OR_SKIP(folder, "e57");
  std::set<std::string> tested(kScans.begin(), kScans.end());
  tested.insert(kWithoutPoints.begin(), kWithoutPoints.end());
  tested.insert(kDamaged);
  std::set<std::string> there;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (entry.path().extension() == ".e57") there.insert(entry.path().stem());
  }
  EXPECT_EQ(there, tested);
}

}  // namespace
