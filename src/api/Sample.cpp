#include "Sorvik/Sample.h"

#include <array>
#include <span>
#include <utility>
#include <vector>

#include "Sorvik/PointFileWriter.h"
#include "api/Arguments.h"
#include "core/Parallel.h"
#include "sample/SurveyGenerator.h"

namespace Sorvik {
namespace {

using ::Sample::SurveyGenerator;
using ::Sample::SurveyPoint;

constexpr std::uint64_t kMostPoints = 1'000'000'000'000;
/// Points that are made at once, about: enough lines for every processor.
constexpr std::uint64_t kPartPoints = 250'000;

PointFileLayout surveyLayout() {
  PointFileLayout layout;
  layout.scale.fill(SurveyGenerator::kScale);
  layout.offset = SurveyGenerator::kOrigin;
  const auto add = [&layout](const char* name, AttributeType type, unsigned numElements = 1) {
    layout.attributes.push_back({name, type, numElements});
  };
  add("intensity", AttributeType::UInt16);
  add("return number", AttributeType::UInt8);
  add("number of returns", AttributeType::UInt8);
  add("classification flags", AttributeType::UInt8);
  add("classification", AttributeType::UInt8);
  add("user data", AttributeType::UInt8);
  add("scan angle", AttributeType::Int16);
  add("point source id", AttributeType::UInt16);
  add("gps-time", AttributeType::Double);
  add("rgb", AttributeType::UInt16, 3);
  return layout;
}

/// A member of all points, or of its elements when it is an array, as a column.
template <class Member>
PointFileColumn columnOf(const std::vector<SurveyPoint>& points, const Member& ofFirst,
                         std::uint64_t numElements) {
  static_assert(sizeof(SurveyPoint) % sizeof(Member) == 0);
  const std::uint64_t stride = sizeof(SurveyPoint) / sizeof(Member);
  return {attributeTypeOf<Member>(), &ofFirst, (points.size() - 1) * stride + numElements, stride};
}

void writePoints(const std::vector<SurveyPoint>& points, PointFileWriter& writer) {
  if (points.empty()) return;
  std::vector<double> positions;
  positions.reserve(3 * points.size());
  for (const SurveyPoint& point : points) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
      positions.push_back(point.position[axis] * SurveyGenerator::kScale + SurveyGenerator::kOrigin[axis]);
    }
  }
  const SurveyPoint& at = points.front();
  writer.write(positions, std::array{columnOf(points, at.intensity, 1), columnOf(points, at.returnNumber, 1),
                                     columnOf(points, at.numberOfReturns, 1),
                                     columnOf(points, at.classificationFlags, 1),
                                     columnOf(points, at.classification, 1), columnOf(points, at.userData, 1),
                                     columnOf(points, at.scanAngle, 1), columnOf(points, at.pointSourceId, 1),
                                     columnOf(points, at.gpsTime, 1), columnOf(points, at.rgb[0], 3)});
}

/// The line behind those of the part that begins with @p line.
std::uint64_t endOfPart(const SurveyGenerator& survey, std::uint64_t line) {
  const std::uint64_t start = survey.lineStart(line);
  while (line < survey.lineCount() && survey.lineStart(line) - start < kPartPoints) ++line;
  return line;
}

/// Makes the points of some lines, and writes those made before meanwhile, in whose place they come.
void makeAndWrite(const SurveyGenerator& survey, std::uint64_t firstLine, std::uint64_t endLine,
                  std::vector<SurveyPoint>& points, PointFileWriter& writer) {
  const std::uint64_t first = survey.lineStart(firstLine);
  std::vector<SurveyPoint> made(survey.lineStart(endLine) - first);
  ::Core::parallelFor(1 + endLine - firstLine, [&](std::size_t i) {
    if (i == 0) return writePoints(points, writer);
    const std::uint64_t line = firstLine + i - 1;
    const std::uint64_t start = survey.lineStart(line);
    survey.makeLine(line, std::span(made).subspan(start - first, survey.lineStart(line + 1) - start));
  });
  points = std::move(made);
}

}  // namespace

void makeSample(const std::wstring& path, std::uint64_t numPoints, std::uint64_t seed,
                const SampleOptions& options) {
  checkArgument(numPoints <= kMostPoints, "a sample has at most 10^12 points");
  PointFileWriter writer(path, surveyLayout());
  const SurveyGenerator survey(numPoints, seed);
  std::vector<SurveyPoint> points;
  for (std::uint64_t line = 0; line < survey.lineCount();) {
    const std::uint64_t end = endOfPart(survey, line);
    makeAndWrite(survey, line, end, points, writer);
    if (options.onProgress) options.onProgress(writer.numPoints());
    line = end;
  }
  writePoints(points, writer);
  if (options.onProgress) options.onProgress(writer.numPoints());
  writer.close();
}

}  // namespace Sorvik
