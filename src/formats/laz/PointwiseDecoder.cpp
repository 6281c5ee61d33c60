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

void PointwiseDecoder::start(std::span<const std::byte> bytes, const Core::Source& source) {
  if (bytes.size() < recordLength_) {
    throw Core::FormatError(source, "first point of a chunk", std::to_string(recordLength_) + " bytes",
                            std::to_string(bytes.size()));
  }
  source_ = source;
  first_ = bytes.data();
  for (const Part& part : parts_) part.decoder->start(first_ + part.offset);
  behind_ = recordLength_;
  decoder_ = RangeDecoder(bytes.subspan(recordLength_));
}

void PointwiseDecoder::continueIn(std::span<const std::byte> bytes) {
  source_.offset += position();
  behind_ = 0;
  decoder_.continueIn(bytes);
}

void PointwiseDecoder::decode(std::span<std::byte> records) {
  std::byte* out = records.data();
  std::byte* const end = out + records.size() / recordLength_ * recordLength_;
  if (first_ != nullptr && out != end) {
    std::memcpy(out, first_, recordLength_);
    first_ = nullptr;
    out += recordLength_;
  }
  RangeDecoder decoder = decoder_;
  for (; out != end; out += recordLength_) {
    for (const Part& part : parts_) {
      part.decoder->decode(decoder, out + part.offset);
      if (decoder.overran()) [[unlikely]]
        refuseEnd(part.item);
    }
  }
  decoder_ = decoder;
}

void PointwiseDecoder::refuseEnd(const Item& item) const {
  throw Core::FormatError({source_.name, source_.offset + position()}, nameOf(item),
                          "a stream that makes sense to its last point", "its end or nonsense");
}

}  // namespace Formats::Laz
