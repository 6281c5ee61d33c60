// Any bytes as a chunk of compressed points, of any items in all their versions: refused by a FormatError, or
// decoded to the same records however many are asked for at a time.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "formats/laz/ChunkDecoder.h"
#include "formats/laz/RangeDecoder.h"

namespace {

using Bytes = std::span<const std::byte>;

/// A description of compression, a number of points, and the chunk that is the rest.
struct Input {
  Formats::Laz::LazVlr vlr;
  std::size_t numPoints = 0;
  std::vector<std::byte> padded;  // an allocation of its own, so that over-reads are seen

  /// @throws FormatError for a description that is refused.
  explicit Input(Bytes input) {
    const auto vlrSize = std::to_integer<std::size_t>(input[0]);
    const Bytes rest = input.subspan(2);
    const Bytes description = rest.first(std::min(vlrSize, rest.size()));
    vlr = Formats::Laz::readLazVlr(description, {"fuzz"});
    numPoints = 1 + std::to_integer<std::size_t>(input[1]) * 8;
    const Bytes chunk = rest.subspan(description.size());
    padded.assign(chunk.begin(), chunk.end());
    padded.resize(chunk.size() + Formats::Laz::kLookahead);
  }

  [[nodiscard]] Bytes chunk() const { return Bytes(padded).first(padded.size() - Formats::Laz::kLookahead); }
};

/// The records, as far as they were decoded, and whether that went well to the end.
std::pair<std::vector<std::byte>, bool> decode(const Input& input, std::size_t atOnce) {
  const std::size_t length = input.vlr.recordLength();
  std::vector<std::byte> records(input.numPoints * length);
  const auto decoder = Formats::Laz::makeChunkDecoder(input.vlr);
  try {
    decoder->start(input.chunk(), input.numPoints, {"fuzz"}, Formats::Laz::Wanted::All);
    for (std::size_t first = 0; first < input.numPoints; first += atOnce) {
      const std::size_t count = std::min(atOnce, input.numPoints - first);
      decoder->decode(std::span(records).subspan(first * length, count * length));
    }
    decoder->finish();
    return {records, true};
  } catch (const Core::FormatError&) {
    return {records, false};
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t kLongestRecord = 4096;
  if (size < 2) return 0;
  try {
    const Input input(std::as_bytes(std::span(data, size)));
    if (input.vlr.compressor == Formats::Laz::Compressor::None) return 0;
    if (input.vlr.recordLength() > kLongestRecord) return 0;
    const bool hasPlace =
        !input.vlr.items.empty() && (input.vlr.compressor != Formats::Laz::Compressor::Layered ||
                                     input.vlr.items.front().type == Formats::Laz::ItemType::Point14);
    if (!hasPlace) return 0;
    const auto together = decode(input, input.numPoints);
    const auto apart = decode(input, 7);
    if (together.second != apart.second || (together.second && together.first != apart.first)) std::abort();
  } catch (const Core::FormatError&) {  // the only way to refuse
  }
  return 0;
}
