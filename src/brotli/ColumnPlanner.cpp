#include "brotli/ColumnPlanner.h"

#include <algorithm>

#include "brotli/LiteralContexts.h"

namespace Brotli {
namespace {

constexpr std::size_t kMostTried = 192;  // elements
// What a literal takes at least beside copies, whose commands make it harder to tell from others, and what
// its decoding counts for where there are no copies.
constexpr Cost kLeastLiteralCost = 2 * kBitCost;
constexpr Cost kLiteralDecodingCost = kBitCost;

/// The part that is tried: the middle, where there is a past.
ColumnRange triedPart(const ColumnRange& column) {
  ColumnRange part = column;
  if (column.numElements() > kMostTried) {
    part.begin += (column.numElements() - kMostTried) / 2 * column.stride;
    part.end = part.begin + kMostTried * column.stride;
  }
  return part;
}

/// What the part costs without copies.
Cost plainCost(std::span<const std::byte> data, const ColumnRange& part, const LaneCosts& costs) {
  constexpr std::size_t kShortElement = 4;  // contexts tell its lanes and their values apart
  const Cost literals = part.stride > 1 && part.stride <= kShortElement
                            ? literalCost(data, part.begin, part.end)
                            : static_cast<Cost>(part.numElements()) * costs.ofElement();
  return literals + static_cast<Cost>(part.end - part.begin) * kLiteralDecodingCost;
}

/// The first lane, and those behind a lane that is hard to foretell with a rest that is worth finding.
std::vector<std::uint32_t> lookupCandidates(const LaneCosts& costs, std::size_t stride) {
  constexpr Cost kHardLane = 3 * kBitCost;
  constexpr Cost kLeastRest = 5 * kBitCost;
  constexpr std::size_t kMostLookups = 4;
  std::vector<std::uint32_t> lanes{0};
  for (std::size_t lane = 1; lane < stride && lanes.size() < kMostLookups; ++lane) {
    if (costs.of(lane - 1) >= kHardLane && costs.of(lane, stride - lane) >= kLeastRest) {
      lanes.push_back(static_cast<std::uint32_t>(lane));
    }
  }
  return lanes;
}

}  // namespace

Cost ColumnPlanner::saved(std::span<const std::byte> data, const ColumnRange& part, const ColumnPlan& plan) {
  commands_.clear();
  std::uint32_t carried = 0;
  parser_.begin(data, part, plan);
  parser_.parse(part.end, carried, commands_);
  return parser_.saved();
}

ColumnPlan ColumnPlanner::plan(std::span<const std::byte> data, const ColumnRange& column) {
  // Of an element, to be worth its time: of all lookups, and of those from a lane.
  constexpr Cost kLeastLookupsGain = kBitCost / 2;
  constexpr Cost kLeastLookupGain = kBitCost / 4;
  const LaneCosts costs(data, column);
  ColumnPlan plan{costs.atLeast(kLeastLiteralCost), true, {}};
  if (column.stride > ColumnParser::kFarthest) return {plan.costs, false, {}};
  const ColumnRange part = triedPart(column);
  const auto elements = static_cast<Cost>(part.numElements());
  const Cost least = elements * plan.costs.ofElement() - plainCost(data, part, costs);
  const Cost savedByRepetitions = saved(data, part, plan);
  plan.lookupLanes = lookupCandidates(costs, column.stride);
  const Cost savedByLookups = saved(data, part, plan);
  if (savedByLookups <= std::max(savedByRepetitions, least) + elements * kLeastLookupsGain) {
    plan.lookupLanes.clear();
    plan.copies = savedByRepetitions > least;
    return plan;
  }
  std::vector<std::uint32_t> worthwhile;
  for (std::size_t i = 0; i < plan.lookupLanes.size(); ++i) {
    if (parser_.savedBy(i) > elements * kLeastLookupGain) worthwhile.push_back(plan.lookupLanes[i]);
  }
  plan.lookupLanes = worthwhile;
  return plan;
}

}  // namespace Brotli
