#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "converter/ConverterEngine.h"

namespace Testing {

/// A scan that has facts and no points.
class FakeScan final : public Converter::ScanReader {
 public:
  explicit FakeScan(Converter::ScanInfo info, bool changed = false, std::vector<std::string> remarks = {})
      : info_(std::move(info)), changed_(changed), remarks_(std::move(remarks)) {}

  [[nodiscard]] const Converter::ScanInfo& info() const override { return info_; }
  [[nodiscard]] std::uint64_t numBlocks() const override { return 0; }
  [[nodiscard]] std::size_t mostPointsOf(std::uint64_t /*block*/) const override { return 0; }
  std::size_t readBlock(std::uint64_t /*block*/, const Converter::RecordTarget& /*target*/,
                        Converter::BlockCoordinates& /*coordinates*/) const override {
    return 0;
  }
  [[nodiscard]] std::vector<Math::Point<double, 3>> sample(std::size_t /*count*/) const override {
    return {};
  }
  [[nodiscard]] std::vector<std::string> remarks() const override { return remarks_; }
  /// @throws ConversionError when the scan was made as one that has changed.
  void checkUnchanged() const override;

 private:
  Converter::ScanInfo info_;
  bool changed_;
  std::vector<std::string> remarks_;
};

/// The facts of a scan of 100 points with one attribute.
[[nodiscard]] Converter::ScanInfo scanInfo(const std::filesystem::path& file,
                                           const std::string& attribute = "intensity");

/// A file system of which only the free space is known: any other call fails.
class FreeSpace final : public Core::FileSystem {
 public:
  /// @param ask  the free bytes of a path.
  explicit FreeSpace(std::function<std::uint64_t(const std::filesystem::path&)> ask) : ask_(std::move(ask)) {}

  std::unique_ptr<Core::ReadableFile> open(const std::filesystem::path& path) override;
  std::unique_ptr<Core::WritableFile> create(const std::filesystem::path& path) override;
  void createDirectories(const std::filesystem::path& path) override;
  void rename(const std::filesystem::path& from, const std::filesystem::path& to) override;
  bool exchange(const std::filesystem::path& a, const std::filesystem::path& b) override;
  void removeAll(const std::filesystem::path& path) override;
  void syncDirectory(const std::filesystem::path& path) override;
  std::uint64_t freeBytes(const std::filesystem::path& path) override { return ask_(path); }

 private:
  std::function<std::uint64_t(const std::filesystem::path&)> ask_;
};

/// An engine whose parts a test sets, and which notes what it was asked for. Must outlive its converters.
class FakeEngine {
 public:
  std::function<std::unique_ptr<Converter::ScanReader>(const std::filesystem::path&)> open =
      [](const std::filesystem::path& file) { return std::make_unique<FakeScan>(scanInfo(file)); };
  std::function<Converter::ConversionReport(Converter::Progress&, const std::stop_token&)> convert =
      [](Converter::Progress&, const std::stop_token&) {
        return Converter::ConversionReport{100, 0, {}};
      };
  std::function<void()> prepareOutput = [] {};  ///< may throw
  std::uint64_t freeBytes = UINT64_MAX;

  std::vector<std::filesystem::path> converted;  ///< the names of the scans that were given to convert
  Converter::ConversionSettings settings;
  Converter::ScanOptions scanOptions;
  Converter::OutputPlaceOptions placeOptions;
  std::filesystem::path output;
  bool committed = false;
  bool released = false;  ///< the place of the output was left

  [[nodiscard]] Converter::ConverterEngine parts();
};

}  // namespace Testing
