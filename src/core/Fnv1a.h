#pragma once

#include <cstdint>

namespace Core {

/// 64-bit FNV-1a over the 8 bytes of @p value, lowest byte first (draft-eastlake-fnv).
[[nodiscard]] constexpr std::uint64_t fnv1a(std::uint64_t value) {
  constexpr std::uint64_t kOffsetBasis = 0xcbf29ce484222325U;
  constexpr std::uint64_t kPrime = 0x100000001b3U;
  std::uint64_t hash = kOffsetBasis;
  for (int byte = 0; byte < 8; ++byte) {
    hash = (hash ^ ((value >> (8 * byte)) & 0xFFU)) * kPrime;
  }
  return hash;
}

}  // namespace Core
