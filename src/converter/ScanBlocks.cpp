#include "converter/ScanBlocks.h"

#include <algorithm>
#include <random>

namespace Converter {

ScanBlocks::ScanBlocks(std::span<const std::unique_ptr<ScanReader>> scans,
                       std::optional<std::uint64_t> shuffleSeed) {
  for (std::size_t scan = 0; scan < scans.size(); ++scan) {
    for (std::uint64_t block = 0; block < scans[scan]->numBlocks(); ++block) blocks_.push_back({scan, block});
  }
  if (shuffleSeed) std::shuffle(blocks_.begin(), blocks_.end(), std::mt19937_64(*shuffleSeed));
}

std::optional<ScanBlock> ScanBlocks::next() {
  const std::size_t number = next_.fetch_add(1);
  if (number >= blocks_.size()) return std::nullopt;
  return blocks_[number];
}

}  // namespace Converter
