#include "api/PluginScan.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "api/PluginCalls.h"
#include "api/PointColumns.h"

namespace Sorvik {
namespace {

using ::Converter::BlockCoordinates;
using ::Converter::ConversionError;
using ::Converter::RecordTarget;
using ::Converter::Result;
using ::Converter::ScanInfo;

static_assert(OpenedScan::kPointsPerRead == ::Converter::ScanReader::kMostPointsPerBlock);

// More than any survey has; what is kept for each block of them fits the memory.
constexpr std::uint64_t kMostPoints = std::uint64_t{1} << 36U;
constexpr std::uint64_t kLongestRecord = 65535;

[[noreturn]] void refuse(const std::string& name, const std::string& what) {
  throw ConversionError(Result::InputCannotRead, name + ": the reader plug-in " + what);
}

std::string pointsText(std::uint64_t count) {
  return std::to_string(count) + (count == 1 ? " point" : " points");
}

/// Puts the points of one read where the converter wants them.
class BlockSink final : public ScanPointSink {
 public:
  BlockSink(const ScanInfo& info, std::uint64_t wanted, const RecordTarget& target,
            BlockCoordinates& coordinates)
      : info_(info), wanted_(wanted), target_(target), coordinates_(coordinates) {}

  void take(Span<const double> positions, Span<const PointFileColumn> columns) override {
    check(positions, columns);
    const std::uint64_t count = positions.size() / 3;
    taken_ += count;
    // Runs of points whose coordinates are finite are copied, what lies between is left out.
    for (std::uint64_t first = 0; first < count;) {
      std::uint64_t end = first;
      while (end < count && isFinite(&positions[3 * end])) ++end;
      if (end > first) copy(positions, first, end - first);
      first = end + 1;
    }
  }

  /// The points that were kept.
  /// @throws ConversionError unless as many were given as were wanted.
  [[nodiscard]] std::size_t finish(std::uint64_t first) const {
    throwIfFailed();
    if (taken_ != wanted_) {
      refuse(info_.name, "gave " + pointsText(taken_) + " from point " + std::to_string(first) +
                             " on, expected the " + std::to_string(wanted_) + " that it told of");
    }
    return kept_;
  }

 private:
  static bool isFinite(const double* position) {
    return std::isfinite(position[0]) && std::isfinite(position[1]) && std::isfinite(position[2]);
  }

  void check(Span<const double> positions, Span<const PointFileColumn> columns) {
    throwIfFailed();
    if (positions.size() % 3 != 0) fail("gave positions that are not three numbers a point");
    const std::uint64_t count = positions.size() / 3;
    if (count > wanted_ - taken_) {
      fail("gave more than the " + pointsText(wanted_) + " that it was asked for");
    }
    if (columns.size() != info_.attributes.size()) {
      fail("gave " + std::to_string(columns.size()) + " columns, expected " +
           std::to_string(info_.attributes.size()));
    }
    values_.clear();
    for (std::uint64_t i = 0; i < columns.size(); ++i) {
      try {
        values_.push_back(checkedValues(columns[i], info_.attributes[i], count));
      } catch (const std::invalid_argument& error) {
        fail("gave a column for " + info_.attributes[i].name + " that does not fit: " + error.what());
      }
    }
  }

  /// Remembers the failure, too, for a plug-in that swallows what is thrown.
  [[noreturn]] void fail(const std::string& what) {
    failure_ = what;
    refuse(info_.name, failure_);
  }

  void throwIfFailed() const {
    if (!failure_.empty()) refuse(info_.name, failure_);
  }

  void copy(Span<const double> positions, std::uint64_t first, std::uint64_t count) {
    const double* const from = positions.data() + 3 * first;
    coordinates_.world.insert(coordinates_.world.end(), from, from + 3 * count);
    for (std::size_t i = 0; i < values_.size(); ++i) {
      if (target_.offsets[i] == RecordTarget::kUnwanted) continue;
      ::Formats::copyValues({values_[i].first + first * values_[i].stride, values_[i].stride},
                            info_.attributes[i].size(), count,
                            target_.records + kept_ * target_.stride + target_.offsets[i], target_.stride);
    }
    kept_ += count;
  }

  const ScanInfo& info_;
  std::uint64_t wanted_;
  const RecordTarget& target_;
  BlockCoordinates& coordinates_;
  std::vector<::Formats::AttributeValues> values_;  // of the call at hand
  std::uint64_t taken_ = 0;
  std::size_t kept_ = 0;
  std::string failure_;
};

class PluginScan final : public ::Converter::ScanReader {
 public:
  PluginScan(std::shared_ptr<const ScanReaderPlugin> plugin, std::unique_ptr<OpenedScan> scan,
             std::unique_ptr<::Core::ReadableFile> file, ScanInfo info)
      : plugin_(std::move(plugin)),
        scan_(std::move(scan)),
        file_(std::move(file)),
        fileSize_(file_->size()),
        modificationTime_(file_->modificationTime()),
        info_(std::move(info)),
        inParallel_(scan_->readsInParallel()),
        dropped_(numBlocks()) {}

  [[nodiscard]] const ScanInfo& info() const override { return info_; }

  [[nodiscard]] std::uint64_t numBlocks() const override {
    return (info_.numPoints + kMostPointsPerBlock - 1) / kMostPointsPerBlock;
  }

  [[nodiscard]] std::size_t mostPointsOf(std::uint64_t block) const override {
    const std::uint64_t left = info_.numPoints - block * kMostPointsPerBlock;
    return static_cast<std::size_t>(std::min<std::uint64_t>(left, kMostPointsPerBlock));
  }

  std::size_t readBlock(std::uint64_t block, const RecordTarget& target,
                        BlockCoordinates& coordinates) const override {
    const std::uint64_t first = block * kMostPointsPerBlock;
    const std::size_t count = mostPointsOf(block);
    coordinates.stored.clear();
    coordinates.world.clear();
    BlockSink sink(info_, count, target, coordinates);
    callPlugin(info_.name, [&] { read(first, count, sink); });
    const std::size_t kept = sink.finish(first);
    dropped_[block] = static_cast<std::uint32_t>(count - kept);
    return kept;
  }

  [[nodiscard]] std::vector<::Math::Point<double, 3>> sample(std::size_t count) const override {
    const std::uint64_t blocks = std::clamp<std::uint64_t>(count / kMostPointsPerBlock + 1, 1, numBlocks());
    const std::size_t perBlock = count / blocks + 1;
    const std::vector<std::size_t> unwanted(info_.attributes.size(), RecordTarget::kUnwanted);
    std::vector<::Math::Point<double, 3>> points;
    BlockCoordinates coordinates;
    for (std::uint64_t i = 0; i < blocks; ++i) {
      const std::size_t read = readBlock(i * numBlocks() / blocks, {nullptr, 0, unwanted}, coordinates);
      const std::size_t step = std::max<std::size_t>(read / perBlock, 1);
      for (std::size_t p = 0; p < read; p += step) {
        const double* const at = coordinates.world.data() + 3 * p;
        points.push_back({{at[0], at[1], at[2]}});
      }
    }
    return points;
  }

  [[nodiscard]] std::vector<std::string> remarks() const override {
    std::uint64_t dropped = 0;
    for (const std::atomic<std::uint32_t>& ofBlock : dropped_) dropped += ofBlock;
    if (dropped == 0) return {};
    return {pointsText(dropped) + " whose coordinates are not finite were left out."};
  }

  void checkUnchanged() const override {
    callPlugin(info_.name, [&] {
      if (file_->size() == fileSize_ && file_->modificationTime() == modificationTime_) return;
      throw ConversionError(Result::InputCannotRead, info_.name + ": the file was changed while it was read");
    });
  }

 private:
  void read(std::uint64_t first, std::size_t count, BlockSink& sink) const {
    if (inParallel_) return scan_->read(first, count, sink);
    const std::lock_guard lock(oneAtATime_);
    scan_->read(first, count, sink);
  }

  std::shared_ptr<const ScanReaderPlugin> plugin_;  // whose code the scan may run
  std::unique_ptr<OpenedScan> scan_;
  std::unique_ptr<::Core::ReadableFile> file_;
  std::uint64_t fileSize_;
  std::int64_t modificationTime_;
  ScanInfo info_;
  bool inParallel_;
  /// Held while the plug-in reads, where it asks for that; the plug-in calls nothing that waits for it.
  mutable std::mutex oneAtATime_;
  mutable std::vector<std::atomic<std::uint32_t>> dropped_;  // points of each block
};

ScanInfo infoOf(ScanDescription told, const std::string& name) {
  ScanInfo info;
  info.name = name;
  if (told.numPoints > kMostPoints) {
    refuse(name, "tells of " + pointsText(told.numPoints) + ", more than the " + std::to_string(kMostPoints) +
                     " that are read");
  }
  info.numPoints = told.numPoints;
  info.attributes = checkedAttributes(told.attributes);
  std::uint64_t length = 0;
  for (const ::Math::Attribute& attribute : info.attributes) length += attribute.size();
  if (length > kLongestRecord) {
    refuse(name, "tells of " + std::to_string(length) + " bytes a point, more than the " +
                     std::to_string(kLongestRecord) + " that are read");
  }
  if (told.bounds) {
    for (int axis = 0; axis < 3; ++axis) {
      info.statedBox.minimum[axis] = told.bounds->minimum[static_cast<std::size_t>(axis)];
      info.statedBox.maximum[axis] = told.bounds->maximum[static_cast<std::size_t>(axis)];
    }
  }
  info.projection = std::move(told.projection);
  info.warnings = std::move(told.warnings);
  return info;
}

}  // namespace

std::unique_ptr<::Converter::ScanReader> openPluginScan(std::shared_ptr<const ScanReaderPlugin> plugin,
                                                        std::unique_ptr<::Core::ReadableFile> file,
                                                        const std::filesystem::path& path) {
  std::unique_ptr<OpenedScan> scan = plugin->open(path);
  if (!scan) refuse(path.string(), "opened nothing");
  ScanInfo info = infoOf(scan->describe(), path.string());
  return std::make_unique<PluginScan>(std::move(plugin), std::move(scan), std::move(file), std::move(info));
}

}  // namespace Sorvik
