#pragma once

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstring>

namespace Core {

static_assert(std::endian::native == std::endian::little, "the files we write are little-endian");

/// Writes @p value little-endian at @p out, which has room for sizeof(T) bytes (not checked), and returns the
/// place behind it.
template <class T>
requires std::integral<T> || std::floating_point<T>
inline std::byte* storeLittleEndian(std::byte* out, T value) {
  std::memcpy(out, &value, sizeof(T));
  return out + sizeof(T);
}

}  // namespace Core
