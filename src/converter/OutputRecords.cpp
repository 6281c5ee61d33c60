#include "converter/OutputRecords.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>

#include "converter/RecordCopy.h"
#include "core/ByteReader.h"

namespace Converter {
namespace {

constexpr std::size_t kWideSize = 8;

PoTree::Attribute storedAttribute(const Math::Attribute& attribute, Math::AttributeType type) {
  PoTree::Attribute stored;
  stored.name = attribute.name;
  stored.description = attribute.description;
  stored.numElements = static_cast<std::int32_t>(attribute.numElements);
  stored.elementSize = static_cast<std::int32_t>(Math::sizeOf(type));
  stored.size = stored.numElements * stored.elementSize;
  stored.type = Math::nameOf(type);
  stored.scale = attribute.scale;
  stored.offset = attribute.offset;
  return stored;
}

bool alwaysZero(const AttributeFacts& facts) {
  return std::all_of(facts.max.begin(), facts.max.end(), [](double value) { return value <= 0; }) &&
         std::all_of(facts.min.begin(), facts.min.end(), [](double value) { return value >= 0; });
}

bool isWide(Math::AttributeType type) {
  return type == Math::AttributeType::Int64 || type == Math::AttributeType::UInt64;
}

std::string halvesRemark(const std::string& name, const std::string& low, const std::string& high) {
  return "The 64-bit attribute \"" + name + "\" is stored as the two attributes \"" + low + "\" and \"" +
         high + "\" of 32 bits.";
}

template <class T>
void storeAsDouble(const std::byte* in, std::byte* out) {
  const auto value = static_cast<double>(Core::loadLittleEndian<T>(in));
  std::memcpy(out, &value, sizeof value);
}

}  // namespace

OutputRecords::OutputRecords(const CloudRecords& records, const std::vector<AttributeFacts>& facts,
                             std::vector<std::string>& remarks) {
  Math::Attribute position;
  position.name = "position";
  position.numElements = 3;
  attributes_.push_back(storedAttribute(position, Math::AttributeType::Int32));
  addStep(Work::Copy, 0, CloudRecords::kPositionSize);
  for (std::size_t i = 0; i < records.attributes.size(); ++i) {
    const Math::Attribute& attribute = records.attributes[i];
    if (attribute.name == "scan flags" && alwaysZero(facts[i])) continue;
    if (!isWide(attribute.type)) {
      addStored(attribute, facts[i], records.offsets[i]);
    } else if (facts[i].exactAsDouble) {
      addAsDouble(attribute, facts[i], records.offsets[i]);
      remarks.push_back("The 64-bit attribute \"" + attribute.name +
                        "\" is stored as double; all values are exact.");
    } else {
      const std::string low = freeName(attribute.name + "_low", records);
      const std::string high = freeName(attribute.name + "_high", records);
      addHalf(attribute, low, records.offsets[i]);
      addHalf(attribute, high, records.offsets[i] + kWideSize / 2);
      remarks.push_back(halvesRemark(attribute.name, low, high));
    }
  }
}

void OutputRecords::convert(const std::byte* record, std::byte* out) const {
  for (const Step& step : steps_) {
    switch (step.work) {
      case Work::Copy:
        copyRecord(out + step.to, record + step.from, step.size);
        break;
      case Work::FromInt64:
        storeAsDouble<std::int64_t>(record + step.from, out + step.to);
        break;
      case Work::FromUInt64:
        storeAsDouble<std::uint64_t>(record + step.from, out + step.to);
        break;
    }
  }
}

/// Copies that follow each other on both sides become one.
void OutputRecords::addStep(Work work, std::size_t from, std::size_t size) {
  if (work == Work::Copy && !steps_.empty() && steps_.back().work == Work::Copy &&
      steps_.back().from + steps_.back().size == from) {
    steps_.back().size += size;
  } else {
    steps_.push_back({work, from, stride_, size});
  }
  stride_ += size;
}

void OutputRecords::addStored(const Math::Attribute& attribute, const AttributeFacts& facts,
                              std::size_t offset) {
  PoTree::Attribute stored = storedAttribute(attribute, attribute.type);
  stored.min = facts.min;
  stored.max = facts.max;
  stored.histogram = facts.histogram;
  attributes_.push_back(std::move(stored));
  addStep(Work::Copy, offset, attribute.size());
}

void OutputRecords::addAsDouble(const Math::Attribute& attribute, const AttributeFacts& facts,
                                std::size_t offset) {
  PoTree::Attribute stored = storedAttribute(attribute, Math::AttributeType::Double);
  stored.min = facts.min;
  stored.max = facts.max;
  attributes_.push_back(std::move(stored));
  const Work work = attribute.type == Math::AttributeType::Int64 ? Work::FromInt64 : Work::FromUInt64;
  for (std::size_t k = 0; k < attribute.numElements; ++k) addStep(work, offset + k * kWideSize, kWideSize);
}

/// @p name, or the first of NAME_2, NAME_3, ... that no attribute has.
std::string OutputRecords::freeName(const std::string& name, const CloudRecords& records) const {
  const auto isTaken = [&](const std::string& wanted) {
    return records.offsetOf(wanted) || std::any_of(attributes_.begin(), attributes_.end(),
                                                   [&](const auto& a) { return a.name == wanted; });
  };
  std::string free = name;
  for (int copy = 2; isTaken(free); ++copy) free = name + "_" + std::to_string(copy);
  return free;
}

/// The four bytes at @p offset of each value.
void OutputRecords::addHalf(const Math::Attribute& attribute, const std::string& name, std::size_t offset) {
  PoTree::Attribute stored = storedAttribute(attribute, Math::AttributeType::UInt32);
  stored.name = name;
  stored.scale.clear();
  stored.offset.clear();
  stored.min.assign(attribute.numElements, 0);
  stored.max.assign(attribute.numElements, std::numeric_limits<std::uint32_t>::max());
  attributes_.push_back(std::move(stored));
  for (std::size_t k = 0; k < attribute.numElements; ++k) {
    addStep(Work::Copy, offset + k * kWideSize, kWideSize / 2);
  }
}

}  // namespace Converter
