#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

namespace Formats::Laz {

/// Which of 16 contexts a point of formats 0 to 5 belongs to, by its number of returns, then by its return
/// number.
inline constexpr std::array<std::array<std::uint8_t, 8>, 8> kReturnMap10{{
    {15, 14, 13, 12, 11, 10, 9, 8},
    {14, 0, 1, 3, 6, 10, 10, 9},
    {13, 1, 2, 4, 7, 11, 11, 10},
    {12, 3, 4, 5, 8, 12, 12, 11},
    {11, 6, 7, 8, 9, 13, 13, 12},
    {10, 10, 11, 12, 13, 14, 14, 13},
    {9, 10, 11, 12, 13, 14, 15, 14},
    {8, 9, 10, 11, 12, 13, 14, 15},
}};

/// Which of 6 contexts a point of formats 6 to 10 belongs to, by the same.
inline constexpr std::array<std::array<std::uint8_t, 16>, 16> kReturnMap14{{
    {0, 1, 2, 3, 4, 5, 3, 4, 4, 5, 5, 5, 5, 5, 5, 5},
    {1, 0, 1, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3},
    {2, 1, 2, 4, 4, 4, 4, 4, 4, 4, 4, 3, 3, 3, 3, 3},
    {3, 3, 4, 5, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4},
    {4, 3, 4, 4, 5, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4},
    {5, 3, 4, 4, 4, 5, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4},
    {3, 3, 4, 4, 4, 4, 5, 4, 4, 4, 4, 4, 4, 4, 4, 4},
    {4, 3, 4, 4, 4, 4, 4, 5, 4, 4, 4, 4, 4, 4, 4, 4},
    {4, 3, 4, 4, 4, 4, 4, 4, 5, 4, 4, 4, 4, 4, 4, 4},
    {5, 3, 4, 4, 4, 4, 4, 4, 4, 5, 4, 4, 4, 4, 4, 4},
    {5, 3, 4, 4, 4, 4, 4, 4, 4, 4, 5, 4, 4, 4, 4, 4},
    {5, 3, 3, 4, 4, 4, 4, 4, 4, 4, 4, 5, 5, 4, 4, 4},
    {5, 3, 3, 4, 4, 4, 4, 4, 4, 4, 4, 5, 5, 5, 4, 4},
    {5, 3, 3, 4, 4, 4, 4, 4, 4, 4, 4, 4, 5, 5, 5, 4},
    {5, 3, 3, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 5, 5, 5},
    {5, 3, 3, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 5, 5},
}};

/// How many returns lie between a return and the last of its pulse, 7 at most: the context of heights.
constexpr unsigned returnLevel(unsigned numReturns, unsigned returnNumber) {
  const unsigned apart = numReturns > returnNumber ? numReturns - returnNumber : returnNumber - numReturns;
  return std::min(apart, 7U);
}

}  // namespace Formats::Laz
