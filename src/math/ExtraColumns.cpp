#include "math/ExtraColumns.h"

#include <algorithm>
#include <cstring>
#include <type_traits>
#include <utility>

namespace Math {
namespace {

/// Copies a value from each of `placeOf(0)`, `placeOf(1)`, ... to @p out, one behind the other. @p size is an
/// integral constant where the compiler is to know it.
template <class Size, class PlaceOf>
void copyValues(Size size, std::size_t count, const PlaceOf& placeOf, std::byte* out) {
  for (std::size_t i = 0; i < count; ++i) std::memcpy(out + i * size, placeOf(i), size);
}

template <std::size_t Size>
using Constant = std::integral_constant<std::size_t, Size>;

/// The same for a size known at run time: the usual ones have loops of their own.
template <class PlaceOf>
void copyValuesOf(std::size_t size, std::size_t count, const PlaceOf& placeOf, std::byte* out) {
  switch (size) {
    case 1:
      return copyValues(Constant<1>(), count, placeOf, out);
    case 2:
      return copyValues(Constant<2>(), count, placeOf, out);
    case 4:
      return copyValues(Constant<4>(), count, placeOf, out);
    case 6:
      return copyValues(Constant<6>(), count, placeOf, out);
    case 8:
      return copyValues(Constant<8>(), count, placeOf, out);
    case 12:
      return copyValues(Constant<12>(), count, placeOf, out);
    default:
      return copyValues(size, count, placeOf, out);
  }
}

}  // namespace

ExtraColumns::ExtraColumns(std::vector<Attribute> attributes) : columns_(attributes.size()) {
  if (!attributes.empty())
    attributes_ = std::make_shared<const std::vector<Attribute>>(std::move(attributes));
}

std::span<const Attribute> ExtraColumns::attributes() const {
  if (!attributes_) return {};
  return *attributes_;
}

std::optional<std::size_t> ExtraColumns::find(std::string_view name) const {
  const std::span<const Attribute> all = attributes();
  const auto found = std::find_if(all.begin(), all.end(),
                                  [&](const Attribute& attribute) { return attribute.name == name; });
  if (found == all.end()) return std::nullopt;
  return static_cast<std::size_t>(found - all.begin());
}

std::span<std::byte> ExtraColumns::prepare(std::size_t column, std::size_t size, std::size_t written) {
  Bytes& bytes = columns_[column];
  const std::size_t pointSize = attributes()[column].size();
  const std::size_t firstZero = std::max(bytes.size(), written * pointSize);
  bytes.resize(size * pointSize);
  if (firstZero < bytes.size()) std::memset(bytes.data() + firstZero, 0, bytes.size() - firstZero);
  return bytes;
}

void ExtraColumns::store(std::size_t column, std::size_t first, std::size_t count, const std::byte* values,
                         std::size_t step) {
  const std::size_t pointSize = attributes()[column].size();
  std::byte* const out = columns_[column].data() + first * pointSize;
  if (step == pointSize) {
    std::memcpy(out, values, count * pointSize);
    return;
  }
  copyValuesOf(
      pointSize, count, [&](std::size_t i) { return values + i * step; }, out);
}

void ExtraColumns::resize(std::size_t size) {
  for (std::size_t column = 0; column < columns_.size(); ++column) {
    if (size == 0) columns_[column].clear();
    if (!columns_[column].empty()) prepare(column, size, 0);
  }
}

void ExtraColumns::complete(std::size_t size) {
  for (std::size_t column = 0; column < columns_.size(); ++column) {
    if (columns_[column].empty()) prepare(column, size, 0);
  }
}

ExtraColumns ExtraColumns::fromIndices(const ExtraColumns& from, std::span<const std::uint32_t> indices) {
  ExtraColumns result;
  result.attributes_ = from.attributes_;
  result.columns_.resize(from.columns_.size());
  for (std::size_t column = 0; column < from.columns_.size(); ++column) {
    const Bytes& source = from.columns_[column];
    if (source.empty()) continue;
    const std::size_t pointSize = from.attributes()[column].size();
    Bytes& target = result.columns_[column];
    target.resize(indices.size() * pointSize);
    copyValuesOf(
        pointSize, indices.size(), [&](std::size_t i) { return source.data() + indices[i] * pointSize; },
        target.data());
  }
  return result;
}

std::size_t ExtraColumns::byteSize() const {
  std::size_t bytes = 0;
  for (const Bytes& column : columns_) bytes += column.capacity();
  return bytes;
}

}  // namespace Math
