#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Sorvik/ScanReaderPlugin.h"

namespace Testing {

/// What a FakePlugin does; each test changes one thing. By default files of the extension ".fake" hold 100
/// points with x = 0 to 99, y = 0, z = 0 and "intensity" 2 x.
struct FakeFormat {
  std::uint32_t version = Sorvik::kScanReaderApiVersion;
  std::string extension = ".fake";
  std::function<bool(const std::string& start)> probe = [](const std::string&) { return true; };
  std::function<void()> onOpen = [] {};  ///< may throw
  bool opensNothing = false;
  bool readsInParallel = true;
  Sorvik::ScanDescription description = {100, {{"intensity", Sorvik::AttributeType::UInt16}}, {}, {}, {}};
  /// Gives the points; by default those that are asked for, in batches of at most 30.
  std::function<void(std::uint64_t first, std::uint64_t count, Sorvik::ScanPointSink&)> read;

  FakeFormat();
};

/// The positions and intensities of the default's points, given in one batch.
void givePoints(std::uint64_t first, std::uint64_t count, Sorvik::ScanPointSink& sink);

class FakePlugin final : public Sorvik::ScanReaderPlugin {
 public:
  explicit FakePlugin(FakeFormat format) : format_(std::move(format)) {}

  [[nodiscard]] std::uint32_t apiVersion() const noexcept override { return format_.version; }
  [[nodiscard]] std::string extension() const override { return format_.extension; }
  [[nodiscard]] bool probe(Sorvik::Span<const std::byte> start) const override;
  [[nodiscard]] std::unique_ptr<Sorvik::OpenedScan> open(const std::filesystem::path& path) const override;

 private:
  FakeFormat format_;
};

}  // namespace Testing
