#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "converter/ScanReader.h"

namespace Converter {

/// One block of one scan.
struct ScanBlock {
  std::size_t scan = 0;
  std::uint64_t block = 0;
};

/// Hands out all blocks of all scans, each once. Threads: next() is safe together.
class ScanBlocks {
 public:
  /// @param shuffleSeed  an order drawn from it instead of that of the files.
  ScanBlocks(std::span<const std::unique_ptr<ScanReader>> scans, std::optional<std::uint64_t> shuffleSeed);

  /// Nothing when all were handed out.
  [[nodiscard]] std::optional<ScanBlock> next();

 private:
  std::vector<ScanBlock> blocks_;
  std::atomic<std::size_t> next_{0};
};

}  // namespace Converter
