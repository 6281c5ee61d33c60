#include "formats/LasExtraBytes.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <cstdint>
#include <string_view>

#include "core/ByteReader.h"
#include "formats/FieldText.h"
#include "formats/LasPoints.h"

namespace Formats {
namespace {

using Math::AttributeType;

// Where the parts of a description stand.
constexpr std::size_t kTypeAt = 2;
constexpr std::size_t kOptionsAt = 3;
constexpr std::size_t kNameAt = 4;
constexpr std::size_t kScaleAt = 112;
constexpr std::size_t kOffsetAt = 136;
constexpr std::size_t kDescriptionAt = 160;
constexpr std::size_t kTextSize = 32;

// As many as a VLR has room for.
constexpr std::size_t kMostDescriptions = UINT16_MAX / kExtraBytesDescriptionSize;

constexpr unsigned kHasScale = 1U << 3U;
constexpr unsigned kHasOffset = 1U << 4U;

// Types 1 to 10; 11 to 20 are pairs of these, 21 to 30 triples.
constexpr std::array<AttributeType, 10> kTypes{
    AttributeType::UInt8,  AttributeType::Int8,  AttributeType::UInt16, AttributeType::Int16,
    AttributeType::UInt32, AttributeType::Int32, AttributeType::UInt64, AttributeType::Int64,
    AttributeType::Float,  AttributeType::Double};
constexpr unsigned kNumTypes = 10;
constexpr unsigned kLastType = 30;

constexpr std::array<const char*, 3> kNormalNames{"NormalX", "NormalY", "NormalZ"};

std::vector<double> doublesAt(std::span<const std::byte> description, std::size_t at, std::size_t count) {
  std::vector<double> values;
  for (std::size_t i = 0; i < count; ++i) {
    values.push_back(Core::loadLittleEndian<double>(description.data() + at + i * sizeof(double)));
  }
  return values;
}

/// Takes scale and offset over where the options announce them and they change anything.
void takeScaling(std::span<const std::byte> description, Math::Attribute& attribute,
                 std::vector<std::string>& warnings) {
  const auto options = std::to_integer<unsigned>(description[kOptionsAt]);
  if ((options & (kHasScale | kHasOffset)) == 0) return;
  std::vector<double> scale(attribute.numElements, 1.0);
  std::vector<double> offset(attribute.numElements, 0.0);
  if ((options & kHasScale) != 0) scale = doublesAt(description, kScaleAt, attribute.numElements);
  if ((options & kHasOffset) != 0) offset = doublesAt(description, kOffsetAt, attribute.numElements);
  for (std::size_t i = 0; i < scale.size(); ++i) {
    if (std::isfinite(scale[i]) && scale[i] != 0 && std::isfinite(offset[i])) continue;
    warnings.push_back("Scale " + std::to_string(scale[i]) + " and offset " + std::to_string(offset[i]) +
                       " of the extra bytes \"" + attribute.name + "\" are of no use and left out.");
    return;
  }
  const bool changesNothing = std::all_of(scale.begin(), scale.end(), [](double s) { return s == 1; }) &&
                              std::all_of(offset.begin(), offset.end(), [](double o) { return o == 0; });
  if (changesNothing) return;
  attribute.scale = std::move(scale);
  attribute.offset = std::move(offset);
}

/// A name without what writers do differently: letter case, blanks and underscores.
std::string plainName(std::string_view name) {
  std::string plain;
  for (const char c : name) {
    if (c != ' ' && c != '_') plain += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  }
  return plain;
}

/// 0, 1, 2 for the names of a normal's x, y, z; -1 for others.
int normalAxisOf(std::string_view name) {
  constexpr std::array<std::string_view, 6> kPlainNames{"normalx", "normaly", "normalz", "nx", "ny", "nz"};
  const auto* const found = std::find(kPlainNames.begin(), kPlainNames.end(), plainName(name));
  return found == kPlainNames.end() ? -1 : static_cast<int>((found - kPlainNames.begin()) % 3);
}

bool namesWholeNormal(std::string_view name) {
  constexpr std::array<std::string_view, 4> kPlainNames{"normal", "normals", "normalxyz", "nxnynz"};
  return std::find(kPlainNames.begin(), kPlainNames.end(), plainName(name)) != kPlainNames.end();
}

/// One component of the normal: element @p element of a field.
LasExtraField normalComponent(const LasExtraField& field, std::size_t element, std::size_t axis) {
  const Math::Attribute& whole = field.attribute;
  LasExtraField component;
  component.attribute.name = kNormalNames[axis];
  component.attribute.description = whole.description;
  component.attribute.type = AttributeType::Double;
  component.storedType = field.storedType;
  component.offset = field.offset + element * Math::sizeOf(field.storedType);
  component.isNormal = true;
  component.normalScale = whole.scale.empty() ? 1 : whole.scale[element];
  component.normalOffset = whole.offset.empty() ? 0 : whole.offset[element];
  return component;
}

/// Makes the first normal among the fields a normal: a triple, or three fields of one value each.
void joinNormals(std::vector<LasExtraField>& fields) {
  for (auto field = fields.begin(); field != fields.end(); ++field) {
    if (field->attribute.numElements != 3 || !namesWholeNormal(field->attribute.name)) continue;
    const LasExtraField whole = *field;
    const auto place = fields.erase(field);
    fields.insert(place,
                  {normalComponent(whole, 0, 0), normalComponent(whole, 1, 1), normalComponent(whole, 2, 2)});
    return;
  }
  std::array<LasExtraField*, 3> axes{};
  for (LasExtraField& field : fields) {
    const int axis = field.attribute.numElements == 1 ? normalAxisOf(field.attribute.name) : -1;
    if (axis >= 0 && axes[static_cast<std::size_t>(axis)] == nullptr) {
      axes[static_cast<std::size_t>(axis)] = &field;
    }
  }
  if (std::find(axes.begin(), axes.end(), nullptr) != axes.end()) return;
  for (std::size_t axis = 0; axis < 3; ++axis) *axes[axis] = normalComponent(*axes[axis], 0, axis);
}

/// Gives names that are taken a suffix; normals keep theirs.
void makeNamesUnique(std::vector<LasExtraField>& fields) {
  std::vector<std::string> taken(kStandardLasNames.begin(), kStandardLasNames.end());
  for (const LasExtraField& field : fields) {
    if (field.isNormal) taken.push_back(field.attribute.name);
  }
  const auto isTaken = [&](const std::string& name) {
    return std::find(taken.begin(), taken.end(), name) != taken.end();
  };
  for (LasExtraField& field : fields) {
    if (field.isNormal) continue;
    std::string& name = field.attribute.name;
    const std::string stem = name;
    for (int suffix = 2; isTaken(name); ++suffix) name = stem + '_' + std::to_string(suffix);
    taken.push_back(name);
  }
}

}  // namespace

std::vector<LasExtraField> readLasExtraBytes(std::span<const std::byte> record, std::size_t numExtraBytes,
                                             std::vector<std::string>& warnings) {
  std::vector<LasExtraField> fields;
  std::size_t offset = 0;
  std::size_t undescribed = numExtraBytes;
  const std::size_t count = std::min(record.size() / kExtraBytesDescriptionSize, kMostDescriptions);
  for (std::size_t i = 0; i < count; ++i) {
    const auto description = record.subspan(i * kExtraBytesDescriptionSize, kExtraBytesDescriptionSize);
    const auto type = std::to_integer<unsigned>(description[kTypeAt]);
    if (type == 0) {
      offset += std::to_integer<std::size_t>(description[kOptionsAt]);
      continue;
    }
    LasExtraField field;
    field.attribute.name = textOfField(description.subspan(kNameAt, kTextSize));
    if (field.attribute.name.empty()) field.attribute.name = "extra bytes " + std::to_string(i + 1);
    if (type > kLastType) {
      warnings.push_back("The extra bytes \"" + field.attribute.name + "\" have the unknown type " +
                         std::to_string(type) + "; they and what follows them are left out.");
      break;
    }
    field.attribute.description = textOfField(description.subspan(kDescriptionAt, kTextSize));
    field.storedType = kTypes[(type - 1) % kNumTypes];
    field.attribute.type = field.storedType;
    field.attribute.numElements = (type - 1) / kNumTypes + 1;
    field.offset = offset;
    const std::size_t size = field.attribute.size();
    if (offset > numExtraBytes || size > numExtraBytes - offset) {
      warnings.push_back("The extra bytes \"" + field.attribute.name +
                         "\" do not fit into the point records; they and what follows them are left out.");
      break;
    }
    takeScaling(description, field.attribute, warnings);
    offset += size;
    undescribed -= size;
    fields.push_back(std::move(field));
  }
  if (undescribed != 0) {
    warnings.push_back(std::to_string(undescribed) +
                       " bytes of every point record are not described; they are left out.");
  }
  joinNormals(fields);
  makeNamesUnique(fields);
  return fields;
}

}  // namespace Formats
