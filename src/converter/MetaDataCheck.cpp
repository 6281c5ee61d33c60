#include "converter/MetaDataCheck.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Converter {
namespace {

// Far below any wrong box.
constexpr double kCubeTolerance = 1e-6;
// What adding an edge to a corner may lose, of the largest coordinate: much of a small cube far from the
// origin.
constexpr double kCornerRounding = 4 * std::numeric_limits<double>::epsilon();
constexpr std::size_t kHistogramSize = 256;

struct ElementType {
  std::string_view name;
  std::int32_t size;
};

// Viewers have no getter for int64 and uint64: such a node never finishes loading.
constexpr std::array<ElementType, 8> kViewerTypes{{{"int8", 1},
                                                   {"uint8", 1},
                                                   {"int16", 2},
                                                   {"uint16", 2},
                                                   {"int32", 4},
                                                   {"uint32", 4},
                                                   {"float", 4},
                                                   {"double", 8}}};

[[noreturn]] void refuse(std::string_view what, std::string_view why) {
  throw std::invalid_argument("metadata: " + std::string(what) + ": " + std::string(why));
}

void checkSizes(const PoTree::Attribute& attribute) {
  const auto* const type =
      std::find_if(kViewerTypes.begin(), kViewerTypes.end(),
                   [&](const ElementType& candidate) { return candidate.name == attribute.type; });
  if (type == kViewerTypes.end()) refuse(attribute.name, "viewers cannot read the type " + attribute.type);
  if (attribute.elementSize != type->size) {
    refuse(attribute.name, "elementSize of " + attribute.type + " expected " + std::to_string(type->size) +
                               ", found " + std::to_string(attribute.elementSize));
  }
  if (attribute.numElements < 1 || attribute.size / attribute.elementSize != attribute.numElements ||
      attribute.size % attribute.elementSize != 0) {
    refuse(attribute.name, "size " + std::to_string(attribute.size) + " is not " +
                               std::to_string(attribute.numElements) + " elements of " +
                               std::to_string(attribute.elementSize) + " bytes");
  }
}

void checkBoundsAndHistogram(const PoTree::Attribute& attribute) {
  const auto elements = static_cast<std::size_t>(attribute.numElements);
  for (const std::vector<double>* bounds : {&attribute.min, &attribute.max}) {
    if (!bounds->empty() && bounds->size() != elements)
      refuse(attribute.name, "min and max need a number an element");
  }
  if (!attribute.histogram.empty() && (attribute.size != 1 || attribute.histogram.size() != kHistogramSize)) {
    refuse(attribute.name, "a histogram is 256 counts of an attribute of one byte");
  }
}

void checkScaling(const PoTree::Attribute& attribute) {
  const auto isFinite = [](double value) { return std::isfinite(value); };
  for (const std::vector<double>* numbers : {&attribute.scale, &attribute.offset}) {
    if (numbers->empty()) continue;
    if (numbers->size() != static_cast<std::size_t>(attribute.numElements) ||
        !std::all_of(numbers->begin(), numbers->end(), isFinite)) {
      refuse(attribute.name, "scale and offset need a finite number an element");
    }
  }
  if (std::count(attribute.scale.begin(), attribute.scale.end(), 0.0) != 0) {
    refuse(attribute.name, "a scale must not be 0");
  }
}

void checkAttribute(const PoTree::Attribute& attribute) {
  checkSizes(attribute);
  checkBoundsAndHistogram(attribute);
  checkScaling(attribute);
  if (attribute.name == "position" && (attribute.type != "int32" || attribute.numElements != 3)) {
    refuse(attribute.name, "must be three int32");
  }
  if (attribute.name == "rgb" && (attribute.type != "uint16" || attribute.numElements != 3)) {
    refuse(attribute.name, "must be three uint16");
  }
}

void checkAttributes(const std::vector<PoTree::Attribute>& attributes, PoTree::MetaDataUse use) {
  if (attributes.empty()) refuse("attributes", "there is none");
  for (auto attribute = attributes.begin(); attribute != attributes.end(); ++attribute) {
    checkAttribute(*attribute);
    const auto hasSameName = [&](const PoTree::Attribute& other) { return other.name == attribute->name; };
    if (std::any_of(attributes.begin(), attribute, hasSameName)) refuse(attribute->name, "is there twice");
  }
  const auto isPosition = [](const PoTree::Attribute& attribute) { return attribute.name == "position"; };
  if (use == PoTree::MetaDataUse::Main && std::none_of(attributes.begin(), attributes.end(), isPosition)) {
    refuse("attributes", "there is no position");
  }
}

bool isPositive(double value) { return std::isfinite(value) && value > 0; }

bool isCube(const Math::NBoundingBox<double, 3>& box) {
  const Math::Point<double, 3> edges = box.maximum - box.minimum;
  double largest = 0;
  for (int axis = 0; axis < 3; ++axis) {
    largest = std::max({largest, std::abs(box.minimum[axis]), std::abs(box.maximum[axis])});
  }
  const double tolerance = kCubeTolerance * edges[0] + kCornerRounding * largest;
  for (int axis = 0; axis < 3; ++axis) {
    if (!isPositive(edges[axis]) || std::abs(edges[axis] - edges[0]) > tolerance) return false;
  }
  return true;
}

}  // namespace

void checkWritable(const PoTree::MetaData& metaData, PoTree::MetaDataUse use) {
  if (!std::all_of(metaData.scale.begin(), metaData.scale.end(), isPositive))
    refuse("scale", "must be above 0");
  if (!std::all_of(metaData.offset.begin(), metaData.offset.end(),
                   [](double value) { return std::isfinite(value); })) {
    refuse("offset", "must be finite");
  }
  if (!isPositive(metaData.spacing)) refuse("spacing", "must be above 0");
  if (!isCube(metaData.boundingBox)) refuse("boundingBox", "must be a cube");
  checkAttributes(metaData.attributes, use);
}

}  // namespace Converter
