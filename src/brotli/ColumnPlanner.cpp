#include "brotli/ColumnPlanner.h"

#include <algorithm>

namespace Brotli {
namespace {

constexpr std::size_t kMostTried = 192;  // elements
// What a literal takes at least beside copies, whose commands make it harder to tell from others; decoding it
// counts, too.
constexpr Cost kLeastLiteralCost = 2 * kBitCost;

/// The part that is tried: the middle, where there is a past.
ColumnRange triedPart(const ColumnRange& column) {
  ColumnRange part = column;
  if (column.numElements() > kMostTried) {
    part.begin += (column.numElements() - kMostTried) / 2 * column.stride;
    part.end = part.begin + kMostTried * column.stride;
  }
  return part;
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
  ColumnPlan plan{costs.atLeast(kLeastLiteralCost), column.stride <= ColumnParser::kFarthest, {}};
  if (!plan.copies) return plan;
  const ColumnRange part = triedPart(column);
  const auto elements = static_cast<Cost>(part.numElements());
  const Cost savedByRepetitions = saved(data, part, plan);
  plan.lookupLanes = lookupCandidates(costs, column.stride);
  const Cost savedByLookups = saved(data, part, plan);
  if (savedByLookups <= savedByRepetitions + elements * kLeastLookupsGain) {
    plan.lookupLanes.clear();
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
