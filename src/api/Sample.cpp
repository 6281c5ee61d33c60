#include "Sorvik/Sample.h"

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

PointFileLayout surveyLayout(LasVersion lasVersion, bool hasFlags) {
  PointFileLayout layout;
  layout.lasVersion = lasVersion;
  layout.scale.fill(SurveyGenerator::kScale);
  layout.offset = SurveyGenerator::kOrigin;
  const auto add = [&layout](const char* name, AttributeType type, unsigned numElements = 1) {
    layout.attributes.push_back({name, type, numElements});
  };
  add("intensity", AttributeType::UInt16);
  add("return number", AttributeType::UInt8);
  add("number of returns", AttributeType::UInt8);
  if (hasFlags) add("classification flags", AttributeType::UInt8);
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

void writePoints(const std::vector<SurveyPoint>& points, bool hasFlags, PointFileWriter& writer) {
  if (points.empty()) return;
  std::vector<double> positions;
  positions.reserve(3 * points.size());
  for (const SurveyPoint& point : points) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
      positions.push_back(point.position[axis] * SurveyGenerator::kScale + SurveyGenerator::kOrigin[axis]);
    }
  }
  const SurveyPoint& at = points.front();
  std::vector<PointFileColumn> columns;
  const auto add = [&](const auto& ofFirst, std::uint64_t numElements = 1) {
    columns.push_back(columnOf(points, ofFirst, numElements));
  };
  add(at.intensity);
  add(at.returnNumber);
  add(at.numberOfReturns);
  if (hasFlags) add(at.classificationFlags);
  add(at.classification);
  add(at.userData);
  add(at.scanAngle);
  add(at.pointSourceId);
  add(at.gpsTime);
  add(at.rgb[0], 3);
  writer.write(positions, columns);
}

/// The line behind those of the part that begins with @p line.
std::uint64_t endOfPart(const SurveyGenerator& survey, std::uint64_t line) {
  const std::uint64_t start = survey.lineStart(line);
  while (line < survey.lineCount() && survey.lineStart(line) - start < kPartPoints) ++line;
  return line;
}

/// Makes the points of some lines, and writes those made before meanwhile, in whose place they come.
void makeAndWrite(const SurveyGenerator& survey, std::uint64_t firstLine, std::uint64_t endLine,
                  std::vector<SurveyPoint>& points, bool hasFlags, PointFileWriter& writer) {
  const std::uint64_t first = survey.lineStart(firstLine);
  std::vector<SurveyPoint> made(survey.lineStart(endLine) - first);
  ::Core::parallelFor(1 + endLine - firstLine, [&](std::size_t i) {
    if (i == 0) return writePoints(points, hasFlags, writer);
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
  const bool hasFlags = options.lasVersion != LasVersion::V12;
  PointFileWriter writer(path, surveyLayout(options.lasVersion, hasFlags));
  const SurveyGenerator survey(numPoints, seed);
  std::vector<SurveyPoint> points;
  for (std::uint64_t line = 0; line < survey.lineCount();) {
    const std::uint64_t end = endOfPart(survey, line);
    makeAndWrite(survey, line, end, points, hasFlags, writer);
    if (options.onProgress) options.onProgress(writer.numPoints());
    line = end;
  }
  writePoints(points, hasFlags, writer);
  if (options.onProgress) options.onProgress(writer.numPoints());
  writer.close();
}

}  // namespace Sorvik
