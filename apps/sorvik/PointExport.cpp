#include "sorvik/PointExport.h"

#include <string_view>
#include <utility>

#include "sorvik/LocationArgument.h"

namespace Program {
namespace {

using Sorvik::AttributeType;
using Sorvik::PointFileColumn;

Sorvik::PointFileLayout fileLayout(const PointLayout& layout,
                                   const std::vector<Sorvik::PointFileAttribute>& attributes) {
  Sorvik::PointFileLayout file;
  file.scale = layout.scale;
  file.offset = layout.origin;
  file.attributes = attributes;
  return file;
}

/// The values of one of standardAttributes().
PointFileColumn columnOf(const Sorvik::PointChunk& chunk, std::string_view name) {
  if (name == "intensity") return chunk.intensities();
  if (name == "rgb") return {chunk.colors(), 4};
  if (name == "classification") return chunk.classIndices();
  const auto axis = static_cast<std::uint64_t>(name.back() - 'X');
  const Sorvik::Span<const float> normals = chunk.normals();
  return {Sorvik::Span<const float>(normals.data() + axis, normals.size() - axis), 3};
}

}  // namespace

std::vector<Sorvik::PointFileAttribute> standardAttributes(const PointLayout& layout) {
  std::vector<Sorvik::PointFileAttribute> attributes;
  const auto add = [&attributes](const char* name, AttributeType type, unsigned numElements) {
    attributes.push_back({name, type, numElements});
  };
  if (layout.intensities) add("intensity", AttributeType::UInt16, 1);
  if (layout.colors) add("rgb", AttributeType::UInt8, 3);
  if (layout.classification) add("classification", AttributeType::UInt8, 1);
  if (layout.normals) {
    for (const char* const name : {"NormalX", "NormalY", "NormalZ"}) add(name, AttributeType::Float, 1);
  }
  return attributes;
}

PointExport::PointExport(const std::string& path, const PointLayout& layout,
                         std::vector<Sorvik::PointFileAttribute> attributes)
    : origin_(layout.origin),
      attributes_(std::move(attributes)),
      writer_(widePath(path), fileLayout(layout, attributes_)) {}

PointExport::PointExport(Output& output, const PointLayout& layout,
                         std::vector<Sorvik::PointFileAttribute> attributes)
    : origin_(layout.origin),
      attributes_(std::move(attributes)),
      writer_(
          [&output](Sorvik::Span<const char> text) {
            output.write(std::string_view(text.data(), text.size()));
          },
          fileLayout(layout, attributes_)) {}

void PointExport::add(const Sorvik::PointChunk& chunk) {
  if (chunk.empty()) return;
  const Sorvik::Span<const float> positions = chunk.positions();
  positions_.resize(positions.size());
  for (std::uint64_t i = 0; i < positions.size(); i += 3) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
      positions_[i + axis] = origin_[axis] + static_cast<double>(positions[i + axis]);
    }
  }
  std::vector<PointFileColumn> columns;
  for (const Sorvik::PointFileAttribute& attribute : attributes_) {
    columns.push_back(columnOf(chunk, attribute.name));
  }
  writer_.write(positions_, columns);
}

}  // namespace Program
