#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "core/http/RemoteFile.h"

namespace Core {

/// Which of @p ranges can be fetched by one request together with the first one: those that overlap it or
/// lie at most @p largestGap bytes from it, or from others so taken, the nearest first, while all span at
/// most @p largestJoined bytes. Pure.
/// @return their places, by rising offset; always the first range's among them.
[[nodiscard]] std::vector<std::size_t> joinable(std::span<const ByteRange> ranges, std::uint64_t largestGap,
                                                std::uint64_t largestJoined);

}  // namespace Core
