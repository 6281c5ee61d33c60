#include "converter/LazRecords.h"

#include <algorithm>
#include <utility>

#include "converter/InputErrors.h"
#include "converter/LazDecoding.h"
#include "converter/ScanReader.h"
#include "formats/laz/RangeDecoder.h"

namespace Converter {
namespace {

using Formats::Laz::kLookahead;
using Formats::Laz::Wanted;

constexpr std::size_t kMostPerBlock = ScanReader::kMostPointsPerBlock;
// Small chunks are read together up to this.
constexpr std::uint64_t kMostBytesTogether = std::uint64_t{4} << 20U;
// Decoded at a time, so that records are still in a near cache when they are used.
constexpr std::size_t kBytesPerPart = std::size_t{1} << 17U;
// A sample of a few points comes from that many chunks, if there are so many.
constexpr std::size_t kChunksOfSmallSample = 16;

}  // namespace

/// What decoding takes, and is worth keeping.
class LazRecords::Decoder {
 public:
  Decoder(const Formats::Laz::LazVlr& vlr, std::size_t recordLength)
      : chunks(Formats::Laz::makeChunkDecoder(vlr)),
        records(std::max(kBytesPerPart / recordLength, std::size_t{1}) * recordLength) {}

  /// Room for so many bytes and what decoders look at behind them.
  std::span<std::byte> roomFor(std::size_t size) {
    bytes_.resize(size + kLookahead);
    return std::span(bytes_).first(size);
  }

  std::unique_ptr<Formats::Laz::ChunkDecoder> chunks;
  std::vector<std::byte> records;  // of a part

 private:
  std::vector<std::byte> bytes_;
};

LazRecords::LazRecords(const Core::ReadableFile& file, std::string fileName, Formats::Laz::LazVlr vlr,
                       std::vector<LazRun> runs, bool allowTruncated)
    : file_(file),
      fileName_(std::move(fileName)),
      vlr_(std::move(vlr)),
      recordLength_(vlr_.recordLength()),
      runs_(std::move(runs)),
      allowTruncated_(allowTruncated) {
  for (std::size_t run = 0; run < runs_.size(); ++run) addBlocks(run);
}

LazRecords::~LazRecords() = default;

void LazRecords::addBlocks(std::size_t run) {
  const LazRun& added = runs_[run];
  if (isShort(added)) {
    if (!joinsLastBlock(run)) blocks_.push_back({0, run, 0, nullptr, 0});
    blocks_.back().numPoints += static_cast<std::size_t>(added.numPoints);
    ++blocks_.back().numRuns;
    return;
  }
  sequences_.push_back(std::make_unique<LazSequence>(file_, fileName_, vlr_, added, allowTruncated_));
  LazSequence* const sequence = sequences_.back().get();
  for (std::uint64_t i = 0; i < sequence->numBlocks(); ++i) {
    blocks_.push_back({sequence->mostPointsOf(i), run, 0, sequence, i});
  }
}

bool LazRecords::isShort(const LazRun& run) const {
  const bool isChunk =
      vlr_.compressor != Formats::Laz::Compressor::PointWise && run.chunkPoints == run.numPoints;
  return isChunk && run.numPoints <= kMostPerBlock;
}

bool LazRecords::joinsLastBlock(std::size_t run) const {
  if (blocks_.empty() || blocks_.back().sequence != nullptr) return false;
  const Block& last = blocks_.back();
  const std::uint64_t bytes = runs_[run].offset + runs_[run].size - runs_[last.firstRun].offset;
  return bytes <= kMostBytesTogether && last.numPoints + runs_[run].numPoints <= kMostPerBlock;
}

std::size_t LazRecords::mostPointsOf(std::uint64_t block) const { return blocks_[block].numPoints; }

std::size_t LazRecords::read(std::uint64_t block, Fields fields, const Use& use) const {
  const Block& wanted = blocks_[block];
  if (wanted.sequence == nullptr) return readChunks(wanted, fields, use);
  const std::vector<std::byte> records =
      translated(Result::InputLazDecodeError, [&] { return wanted.sequence->read(wanted.blockOfSequence); });
  use(0, records);
  return records.size() / recordLength_;
}

std::size_t LazRecords::readChunks(const Block& block, Fields fields, const Use& use) const {
  const auto runs = std::span(runs_).subspan(block.firstRun, block.numRuns);
  const std::uint64_t begin = runs.front().offset;
  auto decoder = takeDecoder();
  const auto bytes = decoder->roomFor(runs.back().offset + runs.back().size - begin);
  translated(Result::InputCannotRead, [&] { file_.read(begin, bytes); });
  std::size_t first = 0;
  for (const LazRun& run : runs) {
    const auto count = static_cast<std::size_t>(run.numPoints);
    decode(*decoder, run, bytes.subspan(run.offset - begin, run.size), count, fields, first, use);
    first += count;
  }
  giveBack(std::move(decoder));
  return first;
}

void LazRecords::decode(Decoder& decoder, const LazRun& run, std::span<const std::byte> bytes,
                        std::size_t numPoints, Fields fields, std::size_t first, const Use& use) const {
  const std::string name = chunkName(fileName_, run.firstChunk);
  const Wanted wanted = fields == Fields::All ? Wanted::All : Wanted::Coordinates;
  const auto decoding = [](const auto& work) { translated(Result::InputLazDecodeError, work); };
  decoding([&] { decoder.chunks->start(bytes, run.numPoints, {name, run.offset}, wanted); });
  const std::size_t perPart = decoder.records.size() / recordLength_;
  for (std::size_t done = 0; done < numPoints; done += perPart) {
    const std::size_t count = std::min(perPart, numPoints - done);
    const auto records = std::span(decoder.records).first(count * recordLength_);
    decoding([&] { decoder.chunks->decode(records); });
    use(first + done, records);
  }
  if (numPoints == run.numPoints) decoding([&] { decoder.chunks->finish(); });
}

void LazRecords::sample(std::size_t count, const Use& use) const {
  if (count == 0 || runs_.empty()) return;
  std::uint64_t numPoints = 0;
  for (const LazRun& run : runs_) numPoints += run.numPoints;
  const std::uint64_t perChunk = numPoints / runs_.size() + 1;
  const std::size_t numChunks =
      std::clamp<std::size_t>(count / perChunk, std::min(kChunksOfSmallSample, runs_.size()), runs_.size());
  const std::size_t share = count / numChunks + 1;
  std::size_t first = 0;
  for (std::size_t i = 0; i < numChunks; ++i) {
    const LazRun& run = runs_[i * runs_.size() / numChunks];
    const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(share, run.numPoints));
    first += sampleRun(run, wanted, first, use);
  }
}

std::size_t LazRecords::sampleRun(const LazRun& run, std::size_t count, std::size_t first,
                                  const Use& use) const {
  if (isShort(run)) {
    auto decoder = takeDecoder();
    const auto bytes = decoder->roomFor(run.size);
    translated(Result::InputCannotRead, [&] { file_.read(run.offset, bytes); });
    decode(*decoder, run, bytes, count, Fields::Coordinates, first, use);
    giveBack(std::move(decoder));
    return count;
  }
  std::vector<std::byte> records(count * recordLength_);
  const std::size_t decoded = translated(Result::InputLazDecodeError, [&] {
    return makeLazDecoding(file_, fileName_, vlr_, run, allowTruncated_)->decode(records);
  });
  use(first, std::span(records).first(decoded * recordLength_));
  return decoded;
}

std::unique_ptr<LazRecords::Decoder> LazRecords::takeDecoder() const {
  {
    const std::lock_guard lock(mutex_);
    if (!decoders_.empty()) {
      auto decoder = std::move(decoders_.back());
      decoders_.pop_back();
      return decoder;
    }
  }
  return std::make_unique<Decoder>(vlr_, recordLength_);
}

void LazRecords::giveBack(std::unique_ptr<Decoder> decoder) const {
  const std::lock_guard lock(mutex_);
  decoders_.push_back(std::move(decoder));
}

}  // namespace Converter
