#include "formats/laz/RgbEncoder.h"

#include <algorithm>

#include "formats/laz/RecordFields.h"

namespace Formats::Laz {
namespace {

constexpr unsigned kNotGrey = 1U << 6U;

/// A bit for each byte that differs from the one before.
template <std::size_t Size>
unsigned changedBytes(const std::byte* item, const std::byte* last) {
  unsigned changed = 0;
  for (unsigned i = 0; i < Size; ++i) changed |= (item[i] == last[i] ? 0U : 1U) << i;
  return changed;
}

bool isGrey(const std::byte* color) {
  return wordAt(color, 0) == wordAt(color, 2) && wordAt(color, 0) == wordAt(color, 4);
}

}  // namespace

void RgbEncoder::encode(const std::byte* color, const std::byte* last, RangeEncoder& stream) {
  stream.makeRoom(kWrites);
  const unsigned changed = changedBytes<kSize>(color, last) | (isGrey(color) ? 0U : kNotGrey);
  stream.encode(changed_, changed);
  const auto step = [color, last](std::size_t at) {
    return static_cast<int>(byteAt(color, at)) - static_cast<int>(byteAt(last, at));
  };
  const auto encodeIfChanged = [&](unsigned at, int expectedStep) {
    if ((changed >> at & 1U) == 0) return;
    const int expected = std::clamp(static_cast<int>(byteAt(last, at)) + expectedStep, 0, 255);
    stream.encode(bytes_[at], (byteAt(color, at) - static_cast<unsigned>(expected)) & 0xFFU);
  };
  encodeIfChanged(0, 0);
  encodeIfChanged(1, 0);
  if ((changed & kNotGrey) == 0) return;
  for (unsigned half = 0; half < 2; ++half) {  // the low bytes, then the high ones
    const unsigned red = half;
    const unsigned green = 2 + half;
    const unsigned blue = 4 + half;
    encodeIfChanged(green, step(red));
    encodeIfChanged(blue, (step(red) + step(green)) / 2);
  }
}

void NirEncoder::encode(const std::byte* nir, const std::byte* last, RangeEncoder& stream) {
  stream.makeRoom(kWrites);
  const unsigned changed = changedBytes<kSize>(nir, last);
  stream.encode(changed_, changed);
  for (unsigned i = 0; i < kSize; ++i) {
    if ((changed >> i & 1U) != 0) stream.encode(bytes_[i], (byteAt(nir, i) - byteAt(last, i)) & 0xFFU);
  }
}

}  // namespace Formats::Laz
