#include "formats/PointWriter.h"

#include <cstring>

namespace Formats {
namespace {

/// Of a size that the compiler knows, which is several times as fast.
template <std::size_t Size>
void copyValuesOf(const AttributeValues& values, std::size_t count, std::byte* out, std::size_t outStride) {
  const std::byte* in = values.first;
  for (std::size_t i = 0; i < count; ++i, in += values.stride, out += outStride) std::memcpy(out, in, Size);
}

}  // namespace

void copyValues(const AttributeValues& values, std::size_t size, std::size_t count, std::byte* out,
                std::size_t outStride) {
  switch (size) {
    case 1:
      return copyValuesOf<1>(values, count, out, outStride);
    case 2:
      return copyValuesOf<2>(values, count, out, outStride);
    case 4:
      return copyValuesOf<4>(values, count, out, outStride);
    case 6:
      return copyValuesOf<6>(values, count, out, outStride);
    case 8:
      return copyValuesOf<8>(values, count, out, outStride);
    default:
      for (std::size_t i = 0; i < count; ++i) {
        std::memcpy(out + i * outStride, values.first + i * values.stride, size);
      }
  }
}

}  // namespace Formats
