#include "math/Attribute.h"

#include <algorithm>
#include <array>

namespace Math {
namespace {

struct TypeFacts {
  std::string_view name;
  std::size_t size;
};

// In the order of the enumeration.
constexpr std::array<TypeFacts, 10> kTypes{{{"int8", 1},
                                            {"int16", 2},
                                            {"int32", 4},
                                            {"int64", 8},
                                            {"uint8", 1},
                                            {"uint16", 2},
                                            {"uint32", 4},
                                            {"uint64", 8},
                                            {"float", 4},
                                            {"double", 8}}};

}  // namespace

std::size_t sizeOf(AttributeType type) { return kTypes[static_cast<std::size_t>(type)].size; }

std::string_view nameOf(AttributeType type) { return kTypes[static_cast<std::size_t>(type)].name; }

std::optional<AttributeType> attributeTypeOf(std::string_view name) {
  const auto* const found =
      std::find_if(kTypes.begin(), kTypes.end(), [&](const TypeFacts& type) { return type.name == name; });
  if (found == kTypes.end()) return std::nullopt;
  return static_cast<AttributeType>(found - kTypes.begin());
}

}  // namespace Math
