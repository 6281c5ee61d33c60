#include "formats/laz/PointAreaEncoder.h"

#include <algorithm>
#include <thread>
#include <utility>

#include "core/Parallel.h"
#include "formats/laz/ChunkEncoder.h"

namespace Formats::Laz {
namespace {

// Chunks differ in the time that they take, so no processor is left with a single one.
constexpr std::size_t kChunksPerProcessor = 2;

}  // namespace

PointAreaEncoder::PointAreaEncoder(LazVlr vlr)
    : vlr_(std::move(vlr)),
      chunkLength_(vlr_.chunkSize * vlr_.recordLength()),
      pendingLimit_(chunkLength_ * kChunksPerProcessor * std::max(1U, std::thread::hardware_concurrency())) {}

std::span<const std::byte> PointAreaEncoder::add(std::span<const std::byte> records) {
  encoded_.clear();
  while (!records.empty()) {
    const std::span<const std::byte> taken =
        records.first(std::min(records.size(), pendingLimit_ - pending_.size()));
    pending_.insert(pending_.end(), taken.begin(), taken.end());
    records = records.subspan(taken.size());
    if (pending_.size() == pendingLimit_) encodePending();
  }
  return encoded_;
}

std::span<const std::byte> PointAreaEncoder::finish() {
  encoded_.clear();
  encodePending();
  const std::vector<std::byte> table = encodeChunkTable(chunkSizes_);
  encoded_.insert(encoded_.end(), table.begin(), table.end());
  return encoded_;
}

void PointAreaEncoder::encodePending() {
  std::vector<std::vector<std::byte>> chunks((pending_.size() + chunkLength_ - 1) / chunkLength_);
  Core::parallelBlocks(pending_.size(), chunkLength_, [&](std::size_t first, std::size_t last) {
    chunks[first / chunkLength_] = encodeChunk(vlr_, std::span(pending_).subspan(first, last - first));
  });
  for (const std::vector<std::byte>& chunk : chunks) {
    encoded_.insert(encoded_.end(), chunk.begin(), chunk.end());
    chunkSizes_.push_back(chunk.size());
    chunkBytes_ += chunk.size();
  }
  pending_.clear();
}

}  // namespace Formats::Laz
