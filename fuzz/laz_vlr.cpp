// Any bytes as the record that describes the compression of LAZ points, and as a chunk table: refused by a
// FormatError, or a description that is read again as it is written, and chunks that lie inside the file.
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "formats/laz/ChunkTable.h"
#include "formats/laz/LazVlr.h"
#include "formats/laz/RangeDecoder.h"

namespace {

using Bytes = std::span<const std::byte>;
using namespace Formats::Laz;

void require(bool holds) {
  if (!holds) std::abort();
}

void readVlr(Bytes data) {
  try {
    const LazVlr vlr = readLazVlr(data, {"fuzz"});
    require(vlr.chunkSize != 0 && vlr.recordLength() >= vlr.items.size());
    require(readLazVlr(writeLazVlr(vlr), {"again"}) == vlr);
    for (std::uint8_t format = 0; format <= 10; ++format) (void)isOfPointFormat(vlr, format);
  } catch (const Core::FormatError&) {  // the only way to refuse
  }
}

void readTable(Bytes data, const ChunkTablePlan& plan) {
  std::vector<std::byte> padded(data.begin(), data.end());  // so that over-reads are seen
  padded.resize(data.size() + kLookahead);
  const Bytes table = Bytes(padded).first(data.size());
  try {
    const std::uint32_t numChunks = readChunkTableHead(table, plan, {"fuzz"});
    std::uint64_t end = plan.chunksBegin;
    for (const Chunk& chunk : readChunkTable(table.subspan(kChunkTableHeadSize), numChunks, plan, {"fuzz"})) {
      require(chunk.offset >= end && chunk.size >= plan.recordLength && chunk.numPoints != 0);
      end = chunk.offset + chunk.size;
      require(end <= plan.chunksEnd);
    }
  } catch (const Core::FormatError&) {  // the only way to refuse
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Bytes bytes = std::as_bytes(std::span(data, size));
  readVlr(bytes);
  readTable(bytes, {8, 100'000, LazVlr::kVariableChunkSize, 120, 20});
  readTable(bytes, {8, 100'000, 50, 120, 20});
  return 0;
}
