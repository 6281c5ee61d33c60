#include "converter/LazSequence.h"

#include <algorithm>
#include <utility>

#include "converter/LazDecoding.h"
#include "converter/ScanReader.h"

namespace Converter {
namespace {

constexpr std::size_t kMostPerBlock = ScanReader::kMostPointsPerBlock;
// More than threads that are given blocks in their order let wait.
constexpr std::size_t kMostWaiting = 16;

}  // namespace

LazSequence::LazSequence(const Core::ReadableFile& file, std::string fileName,
                         const Formats::Laz::LazVlr& vlr, const LazRun& run, bool allowTruncated)
    : file_(file), fileName_(std::move(fileName)), vlr_(vlr), run_(run), allowTruncated_(allowTruncated) {}

LazSequence::~LazSequence() = default;

std::uint64_t LazSequence::numBlocks() const {
  return run_.numPoints / kMostPerBlock + (run_.numPoints % kMostPerBlock != 0 ? 1 : 0);
}

std::size_t LazSequence::mostPointsOf(std::uint64_t block) const {
  const std::uint64_t left = run_.numPoints - block * kMostPerBlock;
  return static_cast<std::size_t>(std::min<std::uint64_t>(left, kMostPerBlock));
}

std::vector<std::byte> LazSequence::read(std::uint64_t block) {
  const std::lock_guard lock(mutex_);
  if (auto waiting = waiting_.extract(block)) return std::move(waiting.mapped());
  try {
    if (!decoding_ || block < next_) {
      decoding_ = begin();
      next_ = 0;
    }
    for (; next_ < block; ++next_) {
      std::vector<std::byte> records = decode(*decoding_, mostPointsOf(next_));
      if (block - next_ <= kMostWaiting) waiting_[next_] = std::move(records);
    }
    while (waiting_.size() > kMostWaiting) waiting_.erase(waiting_.begin());
    std::vector<std::byte> records = decode(*decoding_, mostPointsOf(block));
    if (++next_ == numBlocks()) decoding_.reset();
    return records;
  } catch (...) {
    decoding_.reset();
    throw;
  }
}

std::unique_ptr<LazDecoding> LazSequence::begin() const {
  return makeLazDecoding(file_, fileName_, vlr_, run_, allowTruncated_);
}

std::vector<std::byte> LazSequence::decode(LazDecoding& decoding, std::size_t count) const {
  std::vector<std::byte> records(count * vlr_.recordLength());
  records.resize(decoding.decode(records) * vlr_.recordLength());
  return records;
}

}  // namespace Converter
