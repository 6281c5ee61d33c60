#include "sorvik/PointWalk.h"

#include <stdexcept>
#include <variant>

#include "Sorvik/PointIterators.h"

namespace Program {
namespace {

/// A step into a part of the hierarchy that cannot be read throws and leaves the walk on its way; only a walk
/// that has ended by it cannot go on.
template <class Iterator>
void step(Iterator& chunks, LostSubtrees& lost) {
  try {
    ++chunks;
  } catch (const std::runtime_error& error) {
    if (chunks == Iterator()) throw;
    if (lost.count++ == 0) lost.firstReason = error.what();
  }
}

template <class Iterator>
LostSubtrees walk(Iterator chunks, const std::function<bool(const Sorvik::PointChunk&)>& take) {
  LostSubtrees lost;
  const Iterator end;
  while (chunks != end) {
    if (!take(*chunks)) return lost;
    step(chunks, lost);
  }
  return lost;
}

}  // namespace

LostSubtrees walkPoints(const Sorvik::PointCloud& cloud, const PointSelection& selection,
                        const std::function<bool(const Sorvik::PointChunk&)>& take) {
  const float minSpacing = selection.minSpacing;
  if (selection.region) return walk(Sorvik::allPointsInside(cloud, *selection.region, minSpacing), take);
  if (!selection.shape) return walk(Sorvik::AllPointsIterator(cloud, minSpacing), take);
  return std::visit(
      [&](const auto& shape) { return walk(Sorvik::allPointsInside(cloud, shape, minSpacing), take); },
      *selection.shape);
}

}  // namespace Program
