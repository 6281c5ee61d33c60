#include "formats/laz/ChunkTable.h"

#include <algorithm>
#include <memory>
#include <string>

#include "core/ByteReader.h"
#include "formats/laz/IntegerDecoder.h"
#include "formats/laz/LazVlr.h"

namespace Formats::Laz {
namespace {

/// The numbers of a chunk table, each predicted by the one of the chunk before.
class EntryDecoder {
 public:
  explicit EntryDecoder(std::span<const std::byte> entries) : decoder_(entries) {}

  std::uint32_t nextNumPoints() { return lastNumPoints_ = integers_.decode(decoder_, lastNumPoints_, 0); }
  std::uint32_t nextSize() { return lastSize_ = integers_.decode(decoder_, lastSize_, 1); }
  [[nodiscard]] bool overran() const { return decoder_.overran(); }

 private:
  RangeDecoder decoder_;
  IntegerDecoder<32, 2> integers_;
  std::uint32_t lastNumPoints_ = 0;
  std::uint32_t lastSize_ = 0;
};

/// Points that chunk number @p index of equally large ones holds.
std::uint64_t numPointsOf(std::uint32_t index, const ChunkTablePlan& plan) {
  const std::uint64_t before = std::uint64_t{index} * plan.chunkSize;
  return before >= plan.numPoints ? 0 : std::min<std::uint64_t>(plan.chunkSize, plan.numPoints - before);
}

}  // namespace

std::uint32_t readChunkTableHead(std::span<const std::byte> head, const ChunkTablePlan& plan,
                                 const Core::Source& source) {
  Core::ByteReader reader(head, source);
  const auto version = reader.read<std::uint32_t>("version of the chunk table");
  if (version != 0) {
    throw Core::FormatError(source, "version of the chunk table", "0", std::to_string(version));
  }
  const auto numChunks = reader.read<std::uint32_t>("number of chunks");
  const std::uint64_t most = (plan.chunksEnd - plan.chunksBegin) / plan.recordLength;
  // One more: some writers end with a chunk without points.
  if (numChunks > most + 1) {
    throw Core::FormatError({source.name, source.offset + 4}, "number of chunks",
                            "at most " + std::to_string(most) + " in " +
                                std::to_string(plan.chunksEnd - plan.chunksBegin) + " bytes",
                            std::to_string(numChunks));
  }
  return numChunks;
}

std::vector<Chunk> readChunkTable(std::span<const std::byte> entries, std::uint32_t numChunks,
                                  const ChunkTablePlan& plan, const Core::Source& source) {
  const bool isVariable = plan.chunkSize == LazVlr::kVariableChunkSize;
  const auto decoder = std::make_unique<EntryDecoder>(entries);  // too large for a stack
  std::vector<Chunk> chunks;
  std::uint64_t offset = plan.chunksBegin;
  std::uint64_t numPoints = 0;
  for (std::uint32_t i = 0; i < numChunks; ++i) {
    const std::uint64_t ofChunk = isVariable ? decoder->nextNumPoints() : numPointsOf(i, plan);
    const std::uint64_t size = decoder->nextSize();
    const std::string name = "chunk " + std::to_string(i) + " in the chunk table";
    if (decoder->overran()) {
      throw Core::FormatError(source, name, "an entry", "the table's end or nonsense");
    }
    if (size > plan.chunksEnd - offset) {
      throw Core::FormatError(source, name, "at most " + std::to_string(plan.chunksEnd - offset) + " bytes",
                              std::to_string(size));
    }
    if (ofChunk != 0 && size < plan.recordLength) {
      throw Core::FormatError(source, name, "at least " + std::to_string(plan.recordLength) + " bytes",
                              std::to_string(size));
    }
    if (ofChunk != 0) chunks.push_back({offset, size, ofChunk});
    offset += size;
    numPoints += ofChunk;
  }
  if (numPoints != plan.numPoints) {
    throw Core::FormatError(source, "points of all chunks in the chunk table",
                            std::to_string(plan.numPoints) + " as the header counts",
                            std::to_string(numPoints));
  }
  return chunks;
}

}  // namespace Formats::Laz
