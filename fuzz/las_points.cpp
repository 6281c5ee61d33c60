// Any bytes as LAS records under any extra bytes: decoding all at once, attribute by attribute and record by
// record agrees, and writes nothing but what it was asked for.
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "formats/LasHeader.h"
#include "formats/LasPoints.h"

namespace {

using Bytes = std::span<const std::byte>;
using Formats::LasPointDecoder;

/// A decoder drawn from the first bytes of an input, and records that are the rest.
struct Input {
  std::uint8_t format = 0;
  std::size_t recordLength = 0;
  std::vector<Formats::LasExtraField> fields;
  std::vector<std::byte> records;  // an allocation of its own, so that over-reads are seen

  explicit Input(Bytes input) {
    if (input.size() < 3) return;
    format = std::to_integer<std::uint8_t>(input[0]) % 11;
    const auto numExtraBytes = std::to_integer<std::size_t>(input[1]);
    recordLength = Formats::lasRecordSize(format) + numExtraBytes;
    const std::size_t described = std::min<std::size_t>(
        std::to_integer<std::size_t>(input[2]) % 8 * Formats::kExtraBytesDescriptionSize, input.size() - 3);
    std::vector<std::string> warnings;
    fields = Formats::readLasExtraBytes(input.subspan(3, described), numExtraBytes, warnings);
    const Bytes rest = input.subspan(3 + described);
    const Bytes whole = rest.first(rest.size() - rest.size() % recordLength);
    records.assign(whole.begin(), whole.end());
  }
};

/// @p out, after records were decoded into it.
std::vector<std::byte> decodeWith(const LasPointDecoder& decoder, Bytes records, std::size_t stride,
                                  const std::vector<std::size_t>& offsets, std::vector<std::byte> out) {
  decoder.decode(records, out.data(), stride, offsets);
  return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Input input(std::as_bytes(std::span(data, size)));
  if (input.recordLength == 0) return 0;
  const LasPointDecoder decoder(input.format, input.recordLength, input.fields);
  std::vector<std::size_t> offsets;
  std::size_t stride = 0;
  for (const Math::Attribute& attribute : decoder.attributes()) {
    offsets.push_back(stride);
    stride += attribute.size();
  }
  const std::size_t count = input.records.size() / input.recordLength;
  const std::vector<std::byte> blank(count * stride, std::byte{0xA5});
  const auto together = decodeWith(decoder, input.records, stride, offsets, blank);

  std::vector<std::byte> apart = blank;
  for (std::size_t i = 0; i < offsets.size(); ++i) {
    std::vector<std::size_t> one(offsets.size(), LasPointDecoder::kUnwanted);
    one[i] = offsets[i];
    apart = decodeWith(decoder, input.records, stride, one, std::move(apart));
  }
  if (apart != together) std::abort();

  std::vector<std::int32_t> coordinates(3 * count);
  decoder.decodeCoordinates(input.records, {false, true, false}, coordinates.data());
  for (std::size_t p = 0; p < count; ++p) {
    const Bytes record = Bytes(input.records).subspan(p * input.recordLength, input.recordLength);
    std::vector<std::byte> single(stride);
    decoder.decode(record, single.data(), stride, offsets);
    if (!std::equal(single.begin(), single.end(),
                    together.begin() + static_cast<std::ptrdiff_t>(p * stride))) {
      std::abort();
    }
  }
  return 0;
}
