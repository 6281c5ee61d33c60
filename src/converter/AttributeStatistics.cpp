#include "converter/AttributeStatistics.h"

#include <algorithm>
#include <concepts>

#include "core/ByteReader.h"

namespace Converter {
namespace {

constexpr std::size_t kByteValues = 256;

/// The range of one element of an attribute over all points.
template <class T>
void addRange(const RecordView& points, std::size_t offset, double& min, double& max) {
  if (points.count == 0) return;
  T low = std::numeric_limits<T>::max();
  T high = std::numeric_limits<T>::lowest();
  if constexpr (std::floating_point<T>) {
    low = std::numeric_limits<T>::infinity();
    high = -low;
  }
  const std::byte* at = points.data + offset;
  for (std::size_t p = 0; p < points.count; ++p, at += points.stride) {
    const T value = Core::loadLittleEndian<T>(at);
    low = value < low ? value : low;
    high = value > high ? value : high;
  }
  min = std::min(min, static_cast<double>(low));
  max = std::max(max, static_cast<double>(high));
}

template <std::integral T>
bool allExactAsDouble(const RecordView& points, std::size_t offset) {
  const std::byte* at = points.data + offset;
  for (std::size_t p = 0; p < points.count; ++p, at += points.stride) {
    const T value = Core::loadLittleEndian<T>(at);
    const auto asDouble = static_cast<double>(value);
    // The largest values round up to a double that the integer type does not hold.
    if (asDouble >= static_cast<double>(std::numeric_limits<T>::max()) || static_cast<T>(asDouble) != value) {
      return false;
    }
  }
  return true;
}

void addAttribute(const Math::Attribute& attribute, const RecordView& points, std::size_t offset,
                  AttributeFacts& facts) {
  Math::withValueType(attribute.type, [&](auto example) {
    using T = decltype(example);
    for (std::size_t i = 0; i < attribute.numElements; ++i) {
      const std::size_t at = offset + i * sizeof(T);
      addRange<T>(points, at, facts.min[i], facts.max[i]);
      if constexpr (std::integral<T> && sizeof(T) == 8) {
        facts.exactAsDouble = facts.exactAsDouble && allExactAsDouble<T>(points, at);
      }
    }
  });
  if (facts.histogram.empty()) return;
  const std::byte* at = points.data + offset;
  for (std::size_t p = 0; p < points.count; ++p, at += points.stride)
    ++facts.histogram[std::to_integer<std::size_t>(*at)];
}

}  // namespace

AttributeStatistics::AttributeStatistics(const CloudRecords& records) : records_(&records) {
  for (const Math::Attribute& attribute : records.attributes) {
    AttributeFacts& facts = facts_.emplace_back();
    facts.min.assign(attribute.numElements, std::numeric_limits<double>::infinity());
    facts.max.assign(attribute.numElements, -std::numeric_limits<double>::infinity());
    if (attribute.name == "classification" && attribute.size() == 1) facts.histogram.resize(kByteValues);
  }
}

void AttributeStatistics::add(const RecordView& points) {
  for (std::size_t i = 0; i < facts_.size(); ++i) {
    addAttribute(records_->attributes[i], points, records_->offsets[i], facts_[i]);
  }
}

void AttributeStatistics::add(const AttributeStatistics& other) {
  for (std::size_t i = 0; i < facts_.size(); ++i) {
    AttributeFacts& facts = facts_[i];
    const AttributeFacts& added = other.facts_[i];
    for (std::size_t k = 0; k < facts.min.size(); ++k) {
      facts.min[k] = std::min(facts.min[k], added.min[k]);
      facts.max[k] = std::max(facts.max[k], added.max[k]);
    }
    for (std::size_t k = 0; k < facts.histogram.size(); ++k) facts.histogram[k] += added.histogram[k];
    facts.exactAsDouble = facts.exactAsDouble && added.exactAsDouble;
  }
}

void AttributeStatistics::removeDuplicates(const AttributeStatistics& duplicates) {
  for (std::size_t i = 0; i < facts_.size(); ++i) {
    std::vector<std::uint64_t>& histogram = facts_[i].histogram;
    for (std::size_t k = 0; k < histogram.size(); ++k) histogram[k] -= duplicates.facts_[i].histogram[k];
  }
}

}  // namespace Converter
