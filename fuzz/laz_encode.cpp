// Any bytes as records of the point formats that are compressed: what is encoded decodes to the same, and the
// decoder uses all bytes.
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "formats/laz/ChunkDecoder.h"
#include "formats/laz/ChunkEncoder.h"
#include "formats/laz/RangeDecoder.h"

namespace {

constexpr std::array<std::uint8_t, 7> kFormats{0, 1, 2, 3, 6, 7, 8};
constexpr std::size_t kMostExtraBytes = 8;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const Formats::Laz::LazVlr vlr =
      Formats::Laz::lazVlrFor(kFormats[data[0] % kFormats.size()], data[1] % (kMostExtraBytes + 1));
  const std::size_t count = (size - 2) / vlr.recordLength();
  if (count == 0) return 0;
  // An allocation of its own, so that over-reads are seen.
  const auto input = std::as_bytes(std::span(data, size)).subspan(2, count * vlr.recordLength());
  const std::vector<std::byte> records(input.begin(), input.end());

  std::vector<std::byte> chunk = encodeChunk(vlr, records);
  const std::size_t chunkSize = chunk.size();
  chunk.resize(chunkSize + Formats::Laz::kLookahead);
  const auto decoder = makeChunkDecoder(vlr);
  decoder->start(std::span(chunk).first(chunkSize), count, {"fuzz"}, Formats::Laz::Wanted::All);
  std::vector<std::byte> decoded(records.size());
  decoder->decode(decoded);
  decoder->finish();
  if (decoded != records) std::abort();
  return 0;
}
