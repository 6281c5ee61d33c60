#include "converter/ConversionRun.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "sample/RandomBits.h"
#include "support/SampleData.h"

namespace Testing {

Converter::ConversionSettings smallSettings() {
  Converter::ConversionSettings settings;
  settings.name = "small";
  settings.encoding = PoTree::Encoding::Uncompressed;
  settings.threads = 2;
  settings.tree = {.leafPoints = 50, .chunkBytes = 8 << 10U, .cellBytes = 2 << 10U};
  return settings;
}

ConversionRun::ConversionRun(Folders folders)
    : folders_{folder_.path() / "output",
               folder_.path() / (folders == Folders::Two ? "temporary" : "output")} {
  std::filesystem::create_directories(folders_.output);
  std::filesystem::create_directories(folders_.temporary);
}

Converter::ConversionReport ConversionRun::convert(const ListScans& scans,
                                                   const Converter::ConversionSettings& settings) {
  Core::DiskFileSystem disk(Core::DiskFileSystem::Sync::No);
  ProgressLog progress;
  return convert(scans, settings, disk, progress);
}

Converter::ConversionReport ConversionRun::convert(const ListScans& scans,
                                                   const Converter::ConversionSettings& settings,
                                                   Core::FileSystem& files, Converter::Progress& progress,
                                                   std::stop_token stopToken) {
  return Converter::convertScans(scans, settings, folders_, files, progress, std::move(stopToken));
}

OctreeFiles ConversionRun::files() const {
  return {readFile(output() / "metadata.json"), readFile(output() / "hierarchy.bin"),
          readFile(output() / "octree.bin")};
}

OctreeFiles filesOf(const std::vector<ScanContent>& contents, const Converter::ConversionSettings& settings) {
  ConversionRun run;
  run.convert(scansOf(contents), settings);
  return run.files();
}

void ProgressLog::begin(Converter::Stage stage, std::uint64_t total) {
  const std::lock_guard lock(mutex_);
  stages_.push_back({stage, total, 0});
}

void ProgressLog::advance(std::uint64_t units) {
  const std::lock_guard lock(mutex_);
  stages_.back().done += units;
}

ScanContent clusteredScan(std::size_t points, std::uint64_t seed) {
  constexpr double kExtent = 1 << 22;
  Sample::RandomBits random(seed);
  std::vector<std::array<double, 3>> centres(5);
  for (auto& centre : centres) centre = {random.unit(), random.unit(), random.unit()};
  ScanContent content;
  std::vector<std::uint16_t> intensity;
  std::vector<std::uint16_t> rgb;
  std::vector<std::uint8_t> classification;
  std::vector<double> time;
  std::vector<std::uint32_t> number;
  for (std::size_t i = 0; i < points; ++i) {
    std::array<double, 3> p{random.unit(), random.unit(), 0};
    if (i % 3 == 0) {
      p[2] = 0.5 + 0.1 * std::sin(20 * p[0]) * std::cos(9 * p[1]);
    } else {
      const double size = std::exp2(-16 * random.unit());
      const auto& centre = centres[i % centres.size()];
      for (std::size_t axis = 0; axis < 3; ++axis) p[axis] = centre[axis] + size * (random.unit() - 0.5);
    }
    for (double& value : p) value = std::floor((value - 0.5) * kExtent);
    content.points.push_back(p);
    intensity.push_back(static_cast<std::uint16_t>(random.next()));
    for (int channel = 0; channel < 3; ++channel) rgb.push_back(static_cast<std::uint16_t>(random.next()));
    classification.push_back(static_cast<std::uint8_t>(random.next() % 7));
    time.push_back(1e8 + static_cast<double>(i) / 1000);
    number.push_back(static_cast<std::uint32_t>(i));
  }
  content.columns = {scanColumn("intensity", intensity), scanColumn("rgb", rgb, 3),
                     scanColumn("classification", classification), scanColumn("gps-time", time),
                     scanColumn("number", number)};
  return content;
}

ScanContent scanOf(std::vector<std::array<double, 3>> points) {
  ScanContent content;
  content.points = std::move(points);
  return content;
}

std::vector<std::string> expectedRecords(const ScanContent& content, const nlohmann::json& metaData) {
  std::vector<std::string> records;
  for (std::size_t i = 0; i < content.points.size(); ++i) {
    std::string record;
    for (std::size_t axis = 0; axis < 3; ++axis) {
      double world = content.points[i][axis];
      if (content.grid) world = world * content.grid->scale[axis] + content.grid->offset[axis];
      const double steps =
          (world - metaData.at("offset")[axis].get<double>()) / metaData.at("scale")[axis].get<double>();
      const auto stored = static_cast<std::int32_t>(std::llround(steps));
      char bytes[sizeof stored];
      std::memcpy(bytes, &stored, sizeof stored);
      record.append(bytes, sizeof stored);
    }
    for (const ScanColumn& column : content.columns) {
      record += column.bytes.substr(i * column.attribute.size(), column.attribute.size());
    }
    records.push_back(record);
  }
  std::sort(records.begin(), records.end());
  return records;
}

}  // namespace Testing
