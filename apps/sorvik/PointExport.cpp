#include "sorvik/PointExport.h"

#include <string_view>
#include <utility>

#include "sorvik/LocationArgument.h"
#include "sorvik/PointFileArgument.h"

namespace Program {
namespace {

using Sorvik::AttributeType;
using Sorvik::PointFileColumn;

Sorvik::PointFileAttribute fileAttribute(const Sorvik::Attribute& attribute) {
  return {attribute.name,        attribute.type,  attribute.numElements,
          attribute.description, attribute.scale, attribute.offset};
}

/// The values of a column that every chunk has.
PointFileColumn columnOf(const Sorvik::PointChunk& chunk, std::string_view name) {
  if (name == "intensity") return chunk.intensities();
  if (name == "rgb") return {chunk.colors(), 4};
  if (name == "classification") return chunk.classIndices();
  const auto axis = static_cast<std::uint64_t>(name.back() - 'X');
  const Sorvik::Span<const float> normals = chunk.normals();
  return {Sorvik::Span<const float>(normals.data() + axis, normals.size() - axis), 3};
}

}  // namespace

std::vector<PointExport::Exported> PointExport::storedAttributes(const PointLayout& layout) {
  std::vector<Exported> exported;
  for (const Sorvik::Attribute& attribute : layout.stored)
    exported.push_back({fileAttribute(attribute), true});
  return exported;
}

std::vector<PointExport::Exported> PointExport::shownAttributes(const PointLayout& layout) {
  std::vector<Exported> exported;
  const auto add = [&exported](const char* name, AttributeType type, unsigned numElements) {
    exported.push_back({{name, type, numElements}, false});
  };
  if (layout.intensities) add("intensity", AttributeType::UInt16, 1);
  if (layout.colors) add("rgb", AttributeType::UInt8, 3);
  if (layout.classification) add("classification", AttributeType::UInt8, 1);
  if (layout.normals) {
    for (const char* const name : {"NormalX", "NormalY", "NormalZ"}) add(name, AttributeType::Float, 1);
  }
  for (const Sorvik::Attribute& attribute : layout.further)
    exported.push_back({fileAttribute(attribute), true});
  return exported;
}

Sorvik::PointFileLayout PointExport::fileLayout(const PointLayout& layout,
                                                const std::vector<Exported>& exported,
                                                Sorvik::LasVersion lasVersion) {
  Sorvik::PointFileLayout file;
  file.lasVersion = lasVersion;
  file.scale = layout.scale;
  file.offset = layout.origin;
  file.projection = layout.projection;
  for (const Exported& each : exported) file.attributes.push_back(each.attribute);
  return file;
}

// LAS has a place for every attribute in its stored type.
PointExport::PointExport(const std::string& path, const PointLayout& layout, Sorvik::LasVersion lasVersion)
    : origin_(layout.origin),
      scale_(layout.scale),
      exported_(isLasFile(path) ? storedAttributes(layout) : shownAttributes(layout)),
      writer_(widePath(path), fileLayout(layout, exported_, lasVersion)) {}

PointExport::PointExport(Output& output, const PointLayout& layout)
    : origin_(layout.origin),
      scale_(layout.scale),
      exported_(shownAttributes(layout)),
      writer_(
          [&output](Sorvik::Span<const char> text) {
            output.write(std::string_view(text.data(), text.size()));
          },
          fileLayout(layout, exported_, Sorvik::LasVersion::V14)) {}

void PointExport::fillPositions(const Sorvik::PointChunk& chunk) {
  const Sorvik::Span<const float> floats = chunk.positions();
  positions_.resize(floats.size());
  const Sorvik::AttributeColumn stored = chunk.attribute("position");
  const bool exact = !stored.empty() && stored.type() == AttributeType::Int32 && stored.numElements() == 3;
  const Sorvik::Span<const std::int32_t> steps =
      exact ? stored.values<std::int32_t>() : Sorvik::Span<const std::int32_t>();
  for (std::uint64_t i = 0; i < floats.size(); i += 3) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const double inFrame = exact ? steps[i + axis] * scale_[axis] : static_cast<double>(floats[i + axis]);
      positions_[i + axis] = origin_[axis] + inFrame;
    }
  }
}

void PointExport::add(const Sorvik::PointChunk& chunk) {
  if (chunk.empty()) return;
  fillPositions(chunk);
  std::vector<PointFileColumn> columns;
  for (const Exported& each : exported_) {
    if (each.asStored) {
      const Sorvik::AttributeColumn column = chunk.attribute(each.attribute.name);
      columns.emplace_back(column.type(), column.bytes().data(), column.size() * column.numElements());
    } else {
      columns.push_back(columnOf(chunk, each.attribute.name));
    }
  }
  writer_.write(positions_, columns);
}

}  // namespace Program
