#include "octree/potree/AttributePlaces.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "octree/potree/MortonDecoder.h"

namespace PoTree {
namespace {

constexpr std::uint32_t kAxes = 3;

/// The bytes that a point of the attribute takes in a node's data.
std::size_t storedSize(const MetaData& metaData, const Attribute& attribute) {
  if (metaData.encoding == Encoding::Brotli) {
    if (attribute.name == "position") return kPositionCodeSize;
    if (attribute.name == "rgb") return kColorCodeSize;
  }
  return static_cast<std::size_t>(attribute.size);
}

/// Takes scale and offset over unless they change nothing.
void setScaling(const Attribute& stored, Math::Attribute& column) {
  const std::vector<double> ones(column.numElements, 1.0);
  const std::vector<double> zeros(column.numElements, 0.0);
  std::vector<double> scale = stored.scale.size() == column.numElements ? stored.scale : ones;
  std::vector<double> offset = stored.offset.size() == column.numElements ? stored.offset : zeros;
  if (scale == ones && offset == zeros) return;
  column.scale = std::move(scale);
  column.offset = std::move(offset);
}

ColumnForm formOf(const MetaData& metaData, const Attribute& attribute) {
  if (attribute.name == "position") return ColumnForm::Position;
  return metaData.findReadable("rgb") == &attribute ? ColumnForm::Color : ColumnForm::Plain;
}

}  // namespace

AttributeStarts attributeStarts(const MetaData& metaData) {
  AttributeStarts starts;
  std::size_t at = 0;
  for (const Attribute& attribute : metaData.attributes) {
    const std::string_view name = attribute.name;
    if (metaData.findReadable(name) != nullptr) {
      if (name == "position") starts.position = at;
      if (name == "rgb") starts.color = at;
      if (name == "intensity") starts.intensity = at;
      if (name == "classification") starts.classification = at;
      if (name == "visibility") starts.visibility = at;
      if (name == "normal_oct16") starts.normalOct16 = at;
      if (name == "NormalX") starts.normalXyz[0] = at;
      if (name == "NormalY") starts.normalXyz[1] = at;
      if (name == "NormalZ") starts.normalXyz[2] = at;
    }
    at += storedSize(metaData, attribute);
  }
  starts.stride = at;
  if (std::count(starts.normalXyz.begin(), starts.normalXyz.end(), AttributeStarts::kAbsent) != 0) {
    starts.normalXyz.fill(AttributeStarts::kAbsent);
  }
  return starts;
}

std::vector<ExtraAttribute> extraAttributes(const MetaData& metaData,
                                            std::span<const Math::Attribute> wanted) {
  std::vector<ExtraAttribute> extras;
  if (wanted.empty()) return extras;
  std::size_t at = 0;
  for (const Attribute& attribute : metaData.attributes) {
    const auto column = std::find_if(wanted.begin(), wanted.end(), [&](const Math::Attribute& candidate) {
      return candidate.name == attribute.name;
    });
    if (column != wanted.end() && metaData.find(attribute.name) == &attribute) {
      const std::optional<Math::Attribute> own = columnAttribute(metaData, attribute);
      if (own && own->type == column->type && own->numElements == column->numElements) {
        const auto number = static_cast<std::size_t>(column - wanted.begin());
        extras.push_back({number, at, formOf(metaData, attribute)});
      }
    }
    at += storedSize(metaData, attribute);
  }
  return extras;
}

std::optional<Math::Attribute> columnAttribute(const MetaData& metaData, const Attribute& attribute) {
  const std::optional<Math::AttributeType> type = Math::attributeTypeOf(attribute.type);
  if (!type) return std::nullopt;
  const std::size_t elementSize = Math::sizeOf(*type);
  const auto size = static_cast<std::size_t>(attribute.size);
  if (size == 0 || size % elementSize != 0) return std::nullopt;
  // Positions, and whatever is declared as colour in compressed data, stand there as codes of one form.
  const bool isCode =
      attribute.name == "position" || (attribute.name == "rgb" && metaData.encoding == Encoding::Brotli);
  if (isCode && metaData.findReadable(attribute.name) != &attribute) return std::nullopt;

  Math::Attribute column{
      attribute.name, attribute.description, *type, static_cast<std::uint32_t>(size / elementSize), {}, {}};
  if (attribute.name == "position") {
    column.numElements = kAxes;
    column.scale.assign(metaData.scale.begin(), metaData.scale.end());
    column.offset.assign(metaData.offset.begin(), metaData.offset.end());
  } else {
    setScaling(attribute, column);
  }
  return column;
}

}  // namespace PoTree
