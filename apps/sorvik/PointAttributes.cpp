#include "sorvik/PointAttributes.h"

#include <algorithm>
#include <array>

#include "sorvik/CallError.h"

namespace Program {
namespace {

[[noreturn]] void refuse(const std::string& why) { throw CallError("--attributes: " + why); }

/// Takes a name in quotation marks off the beginning of @p text.
std::string takeQuoted(std::string_view& text) {
  std::string name;
  for (std::size_t i = 1; i < text.size(); ++i) {
    if (text[i] == '"' && !text.substr(i + 1).starts_with('"')) {
      text.remove_prefix(i + 1);
      return name;
    }
    if (text[i] == '"') ++i;
    name += text[i];
  }
  refuse("a quotation mark is not closed");
}

std::string takePlain(std::string_view& text) {
  std::string name(text.substr(0, text.find(',')));
  if (name.find('"') != std::string::npos) refuse("'" + name + "' has a quotation mark inside");
  text.remove_prefix(name.size());
  return name;
}

/// The column of a layout that shows the attribute of that name; null for those that have none.
bool PointLayout::*columnOf(std::string_view name) {
  if (name == "rgb") return &PointLayout::colors;
  if (name == "intensity") return &PointLayout::intensities;
  if (name == "classification") return &PointLayout::classification;
  constexpr std::array<std::string_view, 4> kNormals{"normal_oct16", "NormalX", "NormalY", "NormalZ"};
  const bool isNormal = std::find(kNormals.begin(), kNormals.end(), name) != kNormals.end();
  return isNormal ? &PointLayout::normals : nullptr;
}

bool hasName(const std::vector<Sorvik::Attribute>& attributes, std::string_view name) {
  return std::any_of(attributes.begin(), attributes.end(),
                     [&](const Sorvik::Attribute& attribute) { return attribute.name == name; });
}

}  // namespace

std::vector<std::string> parseAttributeNames(std::string_view text) {
  std::vector<std::string> names;
  while (true) {
    names.push_back(text.starts_with('"') ? takeQuoted(text) : takePlain(text));
    if (names.back().empty()) refuse("a name is empty");
    if (text.empty()) return names;
    if (text.front() != ',') refuse("a comma is missing behind '" + names.back() + "'");
    text.remove_prefix(1);
  }
}

PointLayout layoutOf(const Sorvik::PointCloud& cloud, Frame frame, const AttributeNames& names) {
  const PointLayout whole = layoutOf(cloud, frame);
  const std::vector<Sorvik::Attribute> attributes = cloud.attributes();
  if (names) {
    for (const std::string& name : *names) {
      if (!hasName(attributes, name))
        refuse("the cloud has no '" + name + "'; sorvik info lists what it has");
    }
  }
  PointLayout layout;
  layout.origin = whole.origin;
  layout.scale = whole.scale;
  layout.projection = whole.projection;
  for (const Sorvik::Attribute& attribute : attributes) {
    const bool isChosen = !names || std::find(names->begin(), names->end(), attribute.name) != names->end();
    if (!isChosen || attribute.name == "position" || hasName(layout.stored, attribute.name)) continue;
    layout.stored.push_back(attribute);
    bool PointLayout::*const column = columnOf(attribute.name);
    if (column != nullptr && whole.*column) {
      layout.*column = true;
    } else {
      layout.further.push_back(attribute);
    }
  }
  return layout;
}

}  // namespace Program
