#pragma once

#include <cstddef>
#include <cstring>

namespace Converter {

/// Copies a record of @p size bytes. Records are short and of no constant size: steps of 16 bytes, the last
/// one overlapping, take less time than a call of the library.
inline void copyRecord(std::byte* out, const std::byte* in, std::size_t size) {
  constexpr std::size_t kStep = 16;
  if (size < kStep) {
    std::memcpy(out, in, size);
    return;
  }
  for (std::size_t at = 0; at + kStep < size; at += kStep) std::memcpy(out + at, in + at, kStep);
  std::memcpy(out + size - kStep, in + size - kStep, kStep);
}

}  // namespace Converter
