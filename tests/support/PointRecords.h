#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "octree/potree/MetaData.h"
#include "sample/SurveyGenerator.h"

namespace Testing {

/// Points as interleaved records, and what the records mean.
struct PointRecords {
  std::string name;
  std::vector<PoTree::Attribute> attributes;  ///< in the order of the records; min, max, histogram stay empty
  double scale = 1;                           ///< of all axes: world = stored integer * scale + offset
  std::array<double, 3> offset{};
  std::vector<std::byte> records;

  [[nodiscard]] std::size_t stride() const;
  [[nodiscard]] std::size_t numPoints() const { return records.size() / stride(); }
};

/// The attribute of @p name with @p numElements elements of @p type ("int32", "double", ...).
[[nodiscard]] PoTree::Attribute makeAttribute(std::string name, std::string type,
                                              std::int32_t numElements = 1);

/// The attributes of LAS 1.4, point format 7, as octrees name and order them: 37 bytes a point.
[[nodiscard]] std::vector<PoTree::Attribute> lasAttributes();

/// Writes @p point in the layout of lasAttributes() at @p out, which has room for 37 bytes.
void storeLasRecord(const Sample::SurveyPoint& point, std::byte* out);

/// The survey of SurveyGenerator(points, seed) in the layout of lasAttributes().
[[nodiscard]] PointRecords surveyRecords(std::uint64_t points, std::uint64_t seed);

/// Fills in min and max of every attribute and the histogram of "classification": of positions in world
/// coordinates, of the others as stored. Without points they stay empty.
[[nodiscard]] std::vector<PoTree::Attribute> withRanges(const PointRecords& points);

}  // namespace Testing
