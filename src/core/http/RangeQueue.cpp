#include "core/http/RangeQueue.h"

#include <algorithm>
#include <numeric>

namespace Core {

std::vector<std::size_t> joinable(std::span<const ByteRange> ranges, std::uint64_t largestGap,
                                  std::uint64_t largestJoined) {
  std::vector<std::size_t> order(ranges.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::stable_sort(order.begin(), order.end(),
                   [&](std::size_t a, std::size_t b) { return ranges[a].offset < ranges[b].offset; });
  std::vector<std::size_t> taken{0};
  std::uint64_t begin = ranges[0].offset;
  std::uint64_t end = ranges[0].end();
  const auto take = [&](std::size_t place) {
    const ByteRange& range = ranges[place];
    const std::uint64_t newBegin = std::min(begin, range.offset);
    const std::uint64_t newEnd = std::max(end, range.end());
    const bool near = range.offset <= end ? range.end() >= begin || begin - range.end() <= largestGap
                                          : range.offset - end <= largestGap;
    const bool inside = newBegin == begin && newEnd == end;
    if (!near || (!inside && newEnd - newBegin > largestJoined)) return false;
    begin = newBegin;
    end = newEnd;
    taken.push_back(place);
    return true;
  };
  // Forwards first: walks read on. What lies before the first range follows, the nearest end first.
  const auto first = std::find(order.begin(), order.end(), std::size_t{0});
  for (auto next = first + 1; next != order.end(); ++next) take(*next);
  for (auto next = std::make_reverse_iterator(first); next != order.rend(); ++next) take(*next);
  std::sort(taken.begin(), taken.end(), [&](std::size_t a, std::size_t b) {
    return ranges[a].offset != ranges[b].offset ? ranges[a].offset < ranges[b].offset : a < b;
  });
  return taken;
}

}  // namespace Core
