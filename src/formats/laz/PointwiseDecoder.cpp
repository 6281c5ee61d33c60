#include "formats/laz/PointwiseDecoder.h"

#include <algorithm>
#include <cstring>
#include <string>

namespace Formats::Laz {

PointwiseDecoder::PointwiseDecoder(const std::vector<Item>& items) {
  for (const Item& item : items) {
    parts_.push_back({item, recordLength_, makePointwiseItem(item)});
    recordLength_ += item.size;
  }
}

void PointwiseDecoder::start(std::span<const std::byte> chunk, std::uint64_t /*numPoints*/,
                             const Core::Source& source, Wanted /*wanted*/) {
  if (chunk.size() < recordLength_) {
    throw Core::FormatError(source, "first point of a chunk", std::to_string(recordLength_) + " bytes",
                            std::to_string(chunk.size()));
  }
  source_ = source;
  first_ = chunk.data();
  for (const Part& part : parts_) part.decoder->start(first_ + part.offset);
  behind_ = recordLength_;
  size_ = chunk.size();
  numDecoded_ = 0;
  decoder_ = RangeDecoder(chunk.subspan(recordLength_));
}

void PointwiseDecoder::continueIn(std::span<const std::byte> bytes) {
  source_.offset += position();
  behind_ = 0;
  size_ = bytes.size();
  decoder_.continueIn(bytes);
}

void PointwiseDecoder::decode(std::span<std::byte> records) {
  std::byte* out = records.data();
  std::byte* const end = out + records.size() / recordLength_ * recordLength_;
  if (first_ != nullptr && out != end) {
    std::memcpy(out, first_, recordLength_);
    first_ = nullptr;
    out += recordLength_;
    ++numDecoded_;
  }
  for (; out != end; out += recordLength_, ++numDecoded_) {
    for (const Part& part : parts_) {
      part.decoder->decode(decoder_, out + part.offset);
      if (decoder_.overran()) [[unlikely]]
        refuseEnd(part.item);
    }
  }
}

void PointwiseDecoder::finish() const {
  if (position() == size_) return;
  throw Core::FormatError({source_.name, source_.offset + position()}, "end of a chunk",
                          "at byte " + std::to_string(source_.offset + size_) + " after " +
                              std::to_string(numDecoded_) + " points",
                          "points that end here");
}

void PointwiseDecoder::refuseEnd(const Item& item) const {
  throw Core::FormatError({source_.name, source_.offset + size_}, nameOf(item),
                          "more bytes for point " + std::to_string(numDecoded_) + " of its chunk",
                          "their end, or nonsense before");
}

}  // namespace Formats::Laz
