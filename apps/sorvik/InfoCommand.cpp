#include "sorvik/InfoCommand.h"

#include <array>
#include <charconv>
#include <nlohmann/json.hpp>
#include <string_view>

#include "Sorvik/PointCloud.h"
#include "Sorvik/PointFileWriter.h"
#include "sorvik/LocationArgument.h"

namespace Program {
namespace {

using Json = nlohmann::ordered_json;
using Position = std::array<double, 3>;

struct Facts {
  Position minimum{};
  Position maximum{};
  Position reference{};
  PointLayout layout;
};

Facts factsOf(const Sorvik::PointCloud& cloud, Frame frame) {
  Facts facts;
  facts.layout = layoutOf(cloud, frame);
  cloud.getReferencePosition(facts.reference);
  const Sorvik::BoundingBox box = cloud.boundingBox();
  for (std::size_t axis = 0; axis < 3; ++axis) {
    facts.minimum[axis] = facts.layout.origin[axis] + static_cast<double>(box.minimum()[axis]);
    facts.maximum[axis] = facts.layout.origin[axis] + static_cast<double>(box.maximum()[axis]);
  }
  return facts;
}

std::string jsonText(const Sorvik::PointCloud& cloud, const Facts& facts) {
  Json result;
  result["format"] = cloud.formatName();
  result["numPoints"] = cloud.numPoints();
  result["boundingBox"] = {{"min", facts.minimum}, {"max", facts.maximum}};
  result["referencePosition"] = facts.reference;
  result["spacing"] = cloud.pointSpacing();
  result["attributes"] = {{"colors", facts.layout.colors},
                          {"intensities", facts.layout.intensities},
                          {"classification", facts.layout.classification},
                          {"normals", facts.layout.normals}};
  result["classHistogram"] = cloud.classHistogram();
  return result.dump() + '\n';
}

std::string shortest(float value) {
  std::array<char, 32> buffer{};
  return {buffer.data(), std::to_chars(buffer.data(), buffer.data() + buffer.size(), value).ptr};
}

std::string positionText(const Position& position, const Position& scale) {
  std::string text;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    if (axis != 0) text += ", ";
    text += Sorvik::coordinateText(position[axis], scale[axis]);
  }
  return text;
}

/// Names come from the cloud's files: what would steer a terminal is shown as a question mark.
std::string attributesText(const Sorvik::PointCloud& cloud) {
  std::string text;
  for (const std::string& name : cloud.attributeNames()) {
    if (!text.empty()) text += ", ";
    for (const char c : name) text += static_cast<unsigned char>(c) < 0x20 || c == 0x7F ? '?' : c;
  }
  return text;
}

void appendRow(std::string_view name, const std::string& value, std::string& table) {
  constexpr std::size_t kNameWidth = 20;
  table += name;
  table.append(kNameWidth - name.size(), ' ');
  table += value + '\n';
}

std::string tableText(const Sorvik::PointCloud& cloud, const Facts& facts) {
  const Position& scale = facts.layout.scale;
  std::string table;
  appendRow("format", cloud.formatName(), table);
  appendRow("points", std::to_string(cloud.numPoints()), table);
  appendRow("box minimum", positionText(facts.minimum, scale), table);
  appendRow("box maximum", positionText(facts.maximum, scale), table);
  appendRow("reference position", positionText(facts.reference, scale), table);
  appendRow("spacing", shortest(cloud.pointSpacing()), table);
  appendRow("attributes", attributesText(cloud), table);
  const std::vector<std::uint64_t> histogram = cloud.classHistogram();
  for (std::size_t i = 0; i < histogram.size(); ++i) {
    if (histogram[i] != 0) appendRow("class " + std::to_string(i), std::to_string(histogram[i]), table);
  }
  return table;
}

}  // namespace

ExitStatus runInfo(const InfoOptions& options, const Streams& streams) {
  streams.interrupt.endAtOnce();
  const Sorvik::PointCloud cloud(parseLocation(options.location));
  const Facts facts = factsOf(cloud, options.frame);
  streams.results.write(options.json ? jsonText(cloud, facts) : tableText(cloud, facts));
  return ExitStatus::Done;
}

}  // namespace Program
