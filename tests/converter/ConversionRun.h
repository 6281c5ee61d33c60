#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <mutex>
#include <stop_token>
#include <string>
#include <vector>

#include "converter/Conversion.h"
#include "converter/Progress.h"
#include "converter/WrittenOctree.h"
#include "core/FileSystem.h"
#include "support/ListScan.h"
#include "support/TempFolder.h"

namespace Testing {

/// The bytes of the three files of an octree.
struct OctreeFiles {
  std::string metaData;
  std::string hierarchy;
  std::string data;

  bool operator==(const OctreeFiles&) const = default;
};

/// Settings with which clouds of some thousand points get many chunks, levels and upper nodes.
[[nodiscard]] Converter::ConversionSettings smallSettings();

/// One conversion in folders of its own, which go with it.
class ConversionRun {
 public:
  enum class Folders { Two, Same };  ///< for the output and for what is temporary

  explicit ConversionRun(Folders folders = Folders::Two);

  /// @throws what convertScans() throws.
  Converter::ConversionReport convert(const ListScans& scans,
                                      const Converter::ConversionSettings& settings = smallSettings());
  Converter::ConversionReport convert(const ListScans& scans, const Converter::ConversionSettings& settings,
                                      Core::FileSystem& files, Converter::Progress& progress,
                                      std::stop_token stopToken = {});

  [[nodiscard]] const std::filesystem::path& output() const { return folders_.output; }
  [[nodiscard]] const std::filesystem::path& temporary() const { return folders_.temporary; }
  [[nodiscard]] OctreeFiles files() const;
  [[nodiscard]] WrittenOctree octree() const { return WrittenOctree(folders_.output); }

 private:
  TempFolder folder_;
  Converter::ConversionFolders folders_;
};

/// The files that a conversion of @p contents makes.
[[nodiscard]] OctreeFiles filesOf(const std::vector<ScanContent>& contents,
                                  const Converter::ConversionSettings& settings = smallSettings());

/// Keeps what it was told. Calls may come from all threads.
class ProgressLog final : public Converter::Progress {
 public:
  struct Begun {
    Converter::Stage stage;
    std::uint64_t total = 0;
    std::uint64_t done = 0;
  };

  void begin(Converter::Stage stage, std::uint64_t total) override;
  void advance(std::uint64_t units) override;

  [[nodiscard]] const std::vector<Begun>& stages() const { return stages_; }

 private:
  std::mutex mutex_;
  std::vector<Begun> stages_;  // guarded by mutex_
};

/// A cloud of @p points on a wavy surface and in five clusters of ever denser points, so that a few points
/// fill many levels. Scale 0.01, coordinates to both sides of 0, attributes "intensity" (uint16), "rgb"
/// (three uint16), "classification" (uint8), "gps-time" (double) and "number" (uint32, another for each
/// point).
[[nodiscard]] ScanContent clusteredScan(std::size_t points, std::uint64_t seed);

/// Points at stored places, without attributes.
[[nodiscard]] ScanContent scanOf(std::vector<std::array<double, 3>> points);

/// The records that an uncompressed octree of this scan alone holds, sorted.
[[nodiscard]] std::vector<std::string> expectedRecords(const ScanContent& content,
                                                       const nlohmann::json& metaData);

}  // namespace Testing
