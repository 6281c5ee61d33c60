#include "sorvik/PointSummary.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace Program {
namespace {

using Json = nlohmann::ordered_json;

Json worldOrNull(const std::array<float, 3>& position, const std::array<double, 3>& origin, bool known) {
  if (!known) return nullptr;
  Json world = Json::array();
  for (std::size_t axis = 0; axis < 3; ++axis) {
    world.push_back(origin[axis] + static_cast<double>(position[axis]));
  }
  return world;
}

}  // namespace

void PointSummary::add(const Sorvik::PointChunk& chunk) {
  const std::uint64_t count = chunk.size();
  ++numChunks_;
  numPoints_ += count;
  const auto positions = chunk.positions();
  for (std::size_t axis = 0; axis < 3; ++axis) {
    double sum = 0;
    for (std::uint64_t i = 0; i < count; ++i) {
      const float value = positions[3 * i + axis];
      sum += static_cast<double>(value);
      minimum_[axis] = std::min(minimum_[axis], value);
      maximum_[axis] = std::max(maximum_[axis], value);
    }
    positionSum_[axis] += sum;
  }
  const auto colors = chunk.colors();
  for (std::uint64_t i = 0; i < count; ++i) {
    for (std::size_t channel = 0; channel < 3; ++channel) colorSum_[channel] += colors[4 * i + channel];
  }
  for (const unsigned short intensity : chunk.intensities()) intensitySum_ += intensity;
  for (const unsigned char classIndex : chunk.classIndices()) ++classHistogram_[classIndex];
}

std::string PointSummary::json(const std::array<double, 3>& origin) const {
  std::array<double, 3> sum = positionSum_;
  for (std::size_t axis = 0; axis < 3; ++axis) sum[axis] += static_cast<double>(numPoints_) * origin[axis];
  const auto last = std::find_if(classHistogram_.rbegin(), classHistogram_.rend(),
                                 [](std::uint64_t points) { return points != 0; });
  Json result;
  result["numPoints"] = numPoints_;
  result["numChunks"] = numChunks_;
  result["sum"] = {{"x", sum[0]},       {"y", sum[1]},       {"z", sum[2]},      {"intensity", intensitySum_},
                   {"r", colorSum_[0]}, {"g", colorSum_[1]}, {"b", colorSum_[2]}};
  result["min"] = worldOrNull(minimum_, origin, numPoints_ != 0);
  result["max"] = worldOrNull(maximum_, origin, numPoints_ != 0);
  result["classHistogram"] = Json(Json::array_t(classHistogram_.begin(), last.base()));
  return result.dump();
}

}  // namespace Program
