#include "api/PointColumns.h"

#include <algorithm>
#include <cstddef>

#include "api/Arguments.h"

namespace Sorvik {
namespace {

constexpr unsigned kMostElements = 65535;

void checkAttribute(const PointFileAttribute& attribute) {
  checkArgument(!attribute.name.empty(), "an attribute has no name");
  checkArgument(attribute.type <= AttributeType::Double, "an attribute has no type");
  checkArgument(attribute.numElements != 0, "an attribute has no elements");
  checkArgument(attribute.numElements <= kMostElements, "an attribute has more than 65535 elements");
  const auto fits = [&](const std::vector<double>& numbers) {
    return numbers.empty() || numbers.size() == attribute.numElements;
  };
  checkArgument(fits(attribute.scale), "an attribute needs one scale an element, or none");
  checkArgument(fits(attribute.offset), "an attribute needs one offset an element, or none");
}

}  // namespace

std::vector<::Math::Attribute> checkedAttributes(const std::vector<PointFileAttribute>& attributes) {
  std::vector<::Math::Attribute> engine;
  for (const PointFileAttribute& attribute : attributes) {
    checkAttribute(attribute);
    const bool isNew = std::none_of(engine.begin(), engine.end(), [&](const ::Math::Attribute& other) {
      return other.name == attribute.name;
    });
    checkArgument(isNew, "two attributes have the same name");
    engine.push_back({attribute.name, attribute.description,
                      static_cast<::Math::AttributeType>(attribute.type), attribute.numElements,
                      attribute.scale, attribute.offset});
  }
  return engine;
}

::Formats::AttributeValues checkedValues(const PointFileColumn& column, const ::Math::Attribute& attribute,
                                         std::uint64_t numPoints) {
  checkArgument(column.type() == static_cast<AttributeType>(attribute.type),
                "a column is not of its attribute's type");
  const std::uint64_t stride = column.stride() == 0 ? attribute.numElements : column.stride();
  checkArgument(stride >= attribute.numElements, "a column's stride is less than its elements");
  const std::uint64_t held =
      column.size() < attribute.numElements ? 0 : (column.size() - attribute.numElements) / stride + 1;
  checkArgument(held >= numPoints, "a column has too few values");
  return {static_cast<const std::byte*>(column.data()), stride * sizeOf(attribute.type)};
}

}  // namespace Sorvik
