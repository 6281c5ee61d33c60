#include "formats/PlyWriter.h"

#include <algorithm>
#include <limits>
#include <string_view>

#include "core/LittleEndian.h"
#include "formats/AttributeValue.h"

namespace Formats {
namespace {

constexpr std::size_t kPositionSize = 3 * sizeof(double);

std::string_view plyTypeOf(Math::AttributeType type) {
  switch (type) {
    case Math::AttributeType::Int8:
      return "char";
    case Math::AttributeType::UInt8:
      return "uchar";
    case Math::AttributeType::Int16:
      return "short";
    case Math::AttributeType::UInt16:
      return "ushort";
    case Math::AttributeType::Int32:
      return "int";
    case Math::AttributeType::UInt32:
      return "uint";
    case Math::AttributeType::Float:
      return "float";
    default:
      return "double";
  }
}

bool isColor(const Math::Attribute& attribute) {
  return attribute.name == "rgb" && attribute.numElements == 3;
}

std::string propertyName(const Math::Attribute& attribute, std::size_t element) {
  constexpr std::array<const char*, 3> kChannels{"red", "green", "blue"};
  if (isColor(attribute)) return kChannels[element];
  if (attribute.name == "NormalX") return "nx";
  if (attribute.name == "NormalY") return "ny";
  if (attribute.name == "NormalZ") return "nz";
  std::string name = attribute.name;
  for (char& c : name) {
    const bool allowed = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
    if (!allowed) c = '_';
  }
  return attribute.numElements == 1 ? name : name + '_' + std::to_string(element);
}

template <class T>
void storeDoubles(const AttributeValues& values, const ElementScale& scale, std::size_t count, std::byte* out,
                  std::size_t outStride) {
  for (std::size_t i = 0; i < count; ++i) {
    const auto number = static_cast<double>(loadValue<T>(values.first + i * values.stride));
    Core::storeLittleEndian(out + i * outStride, number * scale.scale + scale.offset);
  }
}

}  // namespace

struct PlyWriter::Property {
  std::string name;
  std::string_view typeName;
  std::size_t attribute;
  std::size_t byteOffset;  // within the values of a point
  Math::AttributeType type;
  bool asDouble;
  ElementScale scale;
};

PlyWriter::PlyWriter(const PointFileLayout& layout) : recordSize_(kPositionSize) {
  // Readers look for the colour directly behind the coordinates.
  for (const bool colors : {true, false}) {
    for (std::size_t i = 0; i < layout.attributes.size(); ++i) {
      if (isColor(layout.attributes[i]) == colors) addProperties(layout.attributes[i], i);
    }
  }
}

PlyWriter::~PlyWriter() = default;

void PlyWriter::addProperties(const Math::Attribute& attribute, std::size_t index) {
  const auto isTaken = [this](const std::string& name) {
    return name == "x" || name == "y" || name == "z" ||
           std::any_of(properties_.begin(), properties_.end(),
                       [&](const Property& property) { return property.name == name; });
  };
  const bool wide =
      attribute.type == Math::AttributeType::Int64 || attribute.type == Math::AttributeType::UInt64;
  for (std::size_t element = 0; element < attribute.numElements; ++element) {
    const std::string wanted = propertyName(attribute, element);
    std::string name = wanted;
    for (int number = 2; isTaken(name); ++number) name = wanted + '_' + std::to_string(number);
    const ElementScale scale(attribute, element);
    const bool asDouble = wide || !scale.stored;
    properties_.push_back({name, asDouble ? "double" : plyTypeOf(attribute.type), index,
                           element * sizeOf(attribute.type), attribute.type, asDouble, scale});
    recordSize_ += asDouble ? sizeof(double) : sizeOf(attribute.type);
  }
}

std::vector<std::byte> PlyWriter::head() const {
  // What the number leaves is filled up in a comment.
  const std::string count = std::to_string(numPoints_);
  const std::size_t filling = std::numeric_limits<std::uint64_t>::digits10 + 1 - count.size();
  std::string text =
      "ply\nformat binary_little_endian 1.0\ncomment written by sorvik" + std::string(filling, '.');
  text += "\nelement vertex " + count + "\nproperty double x\nproperty double y\nproperty double z\n";
  for (const Property& property : properties_) {
    text += "property ";
    text += property.typeName;
    text += ' ' + property.name + '\n';
  }
  text += "end_header\n";
  const std::span<const std::byte> bytes = std::as_bytes(std::span(text));
  return {bytes.begin(), bytes.end()};
}

std::span<const std::byte> PlyWriter::encode(const PointBatch& batch) {
  const std::size_t count = batch.size();
  if (records_.size() < count * recordSize_) records_.resize(count * recordSize_);
  const AttributeValues positions{std::as_bytes(batch.positions).data(), kPositionSize};
  copyValues(positions, kPositionSize, count, records_.data(), recordSize_);
  std::byte* out = records_.data() + kPositionSize;
  for (const Property& property : properties_) {
    AttributeValues values = batch.attributes[property.attribute];
    values.first += property.byteOffset;
    if (property.asDouble) {
      Math::withValueType(property.type, [&](auto zero) {
        storeDoubles<decltype(zero)>(values, property.scale, count, out, recordSize_);
      });
      out += sizeof(double);
    } else {
      copyValues(values, sizeOf(property.type), count, out, recordSize_);
      out += sizeOf(property.type);
    }
  }
  numPoints_ += count;
  return std::span(records_).first(count * recordSize_);
}

}  // namespace Formats
