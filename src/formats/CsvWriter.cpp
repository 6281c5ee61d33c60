#include "formats/CsvWriter.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <string>
#include <string_view>

#include "formats/AttributeValue.h"

namespace Formats {
namespace {

constexpr std::size_t kLongestNumber = 24;  // of any attribute type
constexpr std::size_t kFirstBuffer = std::size_t{1} << 16U;

/// Writes the number at @p value and returns the end of the text.
using Append = char* (*)(const std::byte* value, const ElementScale& scale, char* out);

template <class T>
char* appendStored(const std::byte* value, const ElementScale& /*scale*/, char* out) {
  return std::to_chars(out, out + kLongestNumber, loadValue<T>(value)).ptr;
}

template <class T>
char* appendScaled(const std::byte* value, const ElementScale& scale, char* out) {
  const double number = static_cast<double>(loadValue<T>(value)) * scale.scale + scale.offset;
  return std::to_chars(out, out + kLongestNumber, number).ptr;
}

Append appendOf(Math::AttributeType type, bool stored) {
  return Math::withValueType(type, [stored](auto zero) -> Append {
    using T = decltype(zero);
    return stored ? &appendStored<T> : &appendScaled<T>;
  });
}

std::string quotedWhereNeeded(const std::string& name) {
  if (name.find_first_of(",\"\r\n") == std::string::npos) return name;
  std::string quoted = "\"";
  for (const char c : name) quoted += c == '"' ? "\"\"" : std::string(1, c);
  return quoted + '"';
}

std::string columnName(const Math::Attribute& attribute, std::size_t element) {
  constexpr std::array<const char*, 3> kChannels{"r", "g", "b"};
  if (attribute.name == "rgb" && attribute.numElements == 3) return kChannels[element];
  if (attribute.numElements != 1) {
    return quotedWhereNeeded(attribute.name + '[' + std::to_string(element) + ']');
  }
  if (attribute.name == "NormalX") return "nx";
  if (attribute.name == "NormalY") return "ny";
  if (attribute.name == "NormalZ") return "nz";
  return quotedWhereNeeded(attribute.name);
}

}  // namespace

struct CsvWriter::Column {
  std::string name;
  std::size_t attribute;
  std::size_t byteOffset;  // within the values of a point
  ElementScale scale;
  Append append;
};

CsvWriter::CsvWriter(const PointFileLayout& layout)
    : formats_{CoordinateFormat(layout.scale[0]), CoordinateFormat(layout.scale[1]),
               CoordinateFormat(layout.scale[2])} {
  for (std::size_t i = 0; i < layout.attributes.size(); ++i) {
    const Math::Attribute& attribute = layout.attributes[i];
    for (std::size_t element = 0; element < attribute.numElements; ++element) {
      const ElementScale scale(attribute, element);
      columns_.push_back({columnName(attribute, element), i, element * sizeOf(attribute.type), scale,
                          appendOf(attribute.type, scale.stored)});
    }
  }
  longestLine_ = 3 * (CoordinateFormat::kLongest + 1) + columns_.size() * (kLongestNumber + 1) + 1;
}

CsvWriter::~CsvWriter() = default;

std::vector<std::byte> CsvWriter::head() const {
  std::string line = "x,y,z";
  for (const Column& column : columns_) line += ',' + column.name;
  line += '\n';
  const std::span<const std::byte> bytes = std::as_bytes(std::span(line));
  return {bytes.begin(), bytes.end()};
}

char* CsvWriter::appendPoint(const PointBatch& batch, std::size_t point, char* out) const {
  for (std::size_t axis = 0; axis < 3; ++axis) {
    if (axis != 0) *out++ = ',';
    out = formats_[axis].write(batch.positions[3 * point + axis], out);
  }
  for (const Column& column : columns_) {
    const AttributeValues& values = batch.attributes[column.attribute];
    *out++ = ',';
    out = column.append(values.first + point * values.stride + column.byteOffset, column.scale, out);
  }
  *out++ = '\n';
  return out;
}

std::span<const std::byte> CsvWriter::encode(const PointBatch& batch) {
  std::size_t used = 0;
  for (std::size_t i = 0; i < batch.size(); ++i) {
    // Lines are far shorter than the longest: room for all of them is made only as they come.
    if (text_.size() - used < longestLine_) {
      text_.resize(std::max({kFirstBuffer, 2 * text_.size(), used + longestLine_}));
    }
    used = static_cast<std::size_t>(appendPoint(batch, i, text_.data() + used) - text_.data());
  }
  return std::as_bytes(std::span(text_).first(used));
}

}  // namespace Formats
