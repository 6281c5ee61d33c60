#include "support/PointRecords.h"

#include <algorithm>
#include <bit>
#include <numeric>
#include <stdexcept>
#include <utility>

#include "converter/LittleEndian.h"
#include "core/ByteReader.h"
#include "core/Parallel.h"

namespace Testing {
namespace {

constexpr std::size_t kLasRecordSize = 37;

/// Calls @p visit with a value of the type that @p name names, and its name's size.
template <class Visit>
auto withType(const std::string& name, const Visit& visit) {
  if (name == "int8") return visit(std::int8_t{});
  if (name == "uint8") return visit(std::uint8_t{});
  if (name == "int16") return visit(std::int16_t{});
  if (name == "uint16") return visit(std::uint16_t{});
  if (name == "int32") return visit(std::int32_t{});
  if (name == "uint32") return visit(std::uint32_t{});
  if (name == "float") return visit(float{});
  if (name == "double") return visit(double{});
  throw std::invalid_argument("no such element type: " + name);
}

template <class T>
void addRange(const PointRecords& points, std::size_t offset, PoTree::Attribute& attribute) {
  const std::size_t stride = points.stride();
  for (std::size_t element = 0; element < static_cast<std::size_t>(attribute.numElements); ++element) {
    const std::byte* at = points.records.data() + offset + element * sizeof(T);
    T low = Core::loadLittleEndian<T>(at);
    T high = low;
    for (std::size_t i = 1; i < points.numPoints(); ++i) {
      const T value = Core::loadLittleEndian<T>(at + i * stride);
      low = std::min(low, value);
      high = std::max(high, value);
    }
    attribute.min.push_back(static_cast<double>(low));
    attribute.max.push_back(static_cast<double>(high));
  }
}

void toWorld(const PointRecords& points, std::vector<double>& corner) {
  for (std::size_t axis = 0; axis < corner.size(); ++axis) {
    corner[axis] = corner[axis] * points.scale + points.offset[axis];
  }
}

void addHistogram(const PointRecords& points, std::size_t offset, PoTree::Attribute& attribute) {
  attribute.histogram.assign(256, 0);
  for (std::size_t at = offset; at < points.records.size(); at += points.stride()) {
    ++attribute.histogram[std::to_integer<std::size_t>(points.records[at])];
  }
}

}  // namespace

std::size_t PointRecords::stride() const {
  return std::accumulate(
      attributes.begin(), attributes.end(), std::size_t{0},
      [](std::size_t sum, const auto& attribute) { return sum + static_cast<std::size_t>(attribute.size); });
}

PoTree::Attribute makeAttribute(std::string name, std::string type, std::int32_t numElements) {
  PoTree::Attribute attribute;
  attribute.elementSize =
      withType(type, [](auto element) { return static_cast<std::int32_t>(sizeof(element)); });
  attribute.size = attribute.elementSize * numElements;
  attribute.numElements = numElements;
  attribute.name = std::move(name);
  attribute.type = std::move(type);
  return attribute;
}

std::vector<PoTree::Attribute> lasAttributes() {
  return {makeAttribute("position", "int32", 3),
          makeAttribute("intensity", "uint16"),
          makeAttribute("return number", "uint8"),
          makeAttribute("number of returns", "uint8"),
          makeAttribute("classification flags", "uint8"),
          makeAttribute("classification", "uint8"),
          makeAttribute("user data", "uint8"),
          makeAttribute("scan angle", "int16"),
          makeAttribute("point source id", "uint16"),
          makeAttribute("gps-time", "double"),
          makeAttribute("rgb", "uint16", 3)};
}

void storeLasRecord(const Sample::SurveyPoint& point, std::byte* out) {
  using Converter::storeLittleEndian;
  for (const std::int32_t coordinate : point.position) out = storeLittleEndian(out, coordinate);
  out = storeLittleEndian(out, point.intensity);
  out = storeLittleEndian(out, point.returnNumber);
  out = storeLittleEndian(out, point.numberOfReturns);
  out = storeLittleEndian(out, point.classificationFlags);
  out = storeLittleEndian(out, point.classification);
  out = storeLittleEndian(out, point.userData);
  out = storeLittleEndian(out, point.scanAngle);
  out = storeLittleEndian(out, point.pointSourceId);
  out = storeLittleEndian(out, std::bit_cast<std::uint64_t>(point.gpsTime));
  for (const std::uint16_t channel : point.rgb) out = storeLittleEndian(out, channel);
}

PointRecords surveyRecords(std::uint64_t points, std::uint64_t seed) {
  const Sample::SurveyGenerator survey(points, seed);
  PointRecords result;
  result.name = "survey";
  result.attributes = lasAttributes();
  result.scale = Sample::SurveyGenerator::kScale;
  result.offset = Sample::SurveyGenerator::kOrigin;
  result.records.resize(points * kLasRecordSize);
  Core::parallelFor(survey.lineCount(), [&](std::size_t line) {
    const std::uint64_t first = survey.lineStart(line);
    std::vector<Sample::SurveyPoint> made(survey.lineStart(line + 1) - first);
    survey.makeLine(line, made);
    std::byte* out = result.records.data() + first * kLasRecordSize;
    for (const Sample::SurveyPoint& point : made) {
      storeLasRecord(point, out);
      out += kLasRecordSize;
    }
  });
  return result;
}

std::vector<PoTree::Attribute> withRanges(const PointRecords& points) {
  std::vector<PoTree::Attribute> attributes = points.attributes;
  if (points.numPoints() == 0) return attributes;
  std::vector<std::size_t> offsets;
  std::size_t offset = 0;
  for (const PoTree::Attribute& attribute : attributes) {
    offsets.push_back(offset);
    offset += static_cast<std::size_t>(attribute.size);
  }
  Core::parallelFor(attributes.size(), [&](std::size_t i) {
    PoTree::Attribute& attribute = attributes[i];
    withType(attribute.type,
             [&](auto element) { addRange<decltype(element)>(points, offsets[i], attribute); });
    if (attribute.name == "classification") addHistogram(points, offsets[i], attribute);
    if (attribute.name != "position") return;
    toWorld(points, attribute.min);
    toWorld(points, attribute.max);
  });
  return attributes;
}

}  // namespace Testing
