#pragma once

#include <cstdint>
#include <string_view>

namespace Core {

inline constexpr std::uint64_t kFnvOffsetBasis = 0xcbf29ce484222325U;
inline constexpr std::uint64_t kFnvPrime = 0x100000001b3U;

/// 64-bit FNV-1a over the 8 bytes of @p value, lowest byte first (draft-eastlake-fnv).
[[nodiscard]] constexpr std::uint64_t fnv1a(std::uint64_t value) {
  std::uint64_t hash = kFnvOffsetBasis;
  for (int byte = 0; byte < 8; ++byte) {
    hash = (hash ^ ((value >> (8 * byte)) & 0xFFU)) * kFnvPrime;
  }
  return hash;
}

/// The same over the bytes of a text.
[[nodiscard]] constexpr std::uint64_t fnv1a(std::string_view text) {
  std::uint64_t hash = kFnvOffsetBasis;
  for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * kFnvPrime;
  return hash;
}

}  // namespace Core
