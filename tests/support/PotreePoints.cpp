#include "support/PotreePoints.h"

#include <random>
#include <stdexcept>

namespace Testing {
namespace {

constexpr DeclaredAttribute kAttributes[] = {
    {"position", 12, 3, "int32"},      {"rgb", 6, 3, "uint16"},          {"intensity", 2, 1, "uint16"},
    {"classification", 1, 1, "uint8"}, {"visibility", 1, 1, "uint8"},    {"normal_oct16", 2, 1, "int16"},
    {"NormalX", 8, 1, "double"},       {"NormalY", 8, 1, "double"},      {"NormalZ", 8, 1, "double"},
    {"gps-time", 8, 1, "double"},      {"return number", 1, 1, "uint8"}, {"ScanIndex", 4, 1, "uint32"},
};

template <class Value>
std::uint64_t interleaved(const std::array<Value, 3>& values, unsigned firstBit) {
  std::uint64_t code = 0;
  for (unsigned k = 0; k < 16; ++k) {
    for (unsigned axis = 0; axis < 3; ++axis) {
      const std::uint64_t bit = values[axis] >> (firstBit + k) & 1U;
      code |= bit << (3 * k + axis);
    }
  }
  return code;
}

std::string storedValue(const StoredPoint& point, std::string_view name) {
  if (name == "position") return littleEndian(point.position);
  if (name == "rgb") return littleEndian(point.rgb);
  if (name == "intensity") return littleEndian(point.intensity);
  if (name == "classification") return littleEndian(point.classification);
  if (name == "visibility") return littleEndian(point.visibility);
  if (name == "normal_oct16") return littleEndian(point.normalOct16);
  if (name == "NormalX") return littleEndian(point.normal[0]);
  if (name == "NormalY") return littleEndian(point.normal[1]);
  if (name == "NormalZ") return littleEndian(point.normal[2]);
  std::string filler(static_cast<std::size_t>(declaredAttribute(name).size), '\0');
  for (std::size_t i = 0; i < filler.size(); ++i) filler[i] = static_cast<char>(point.intensity + 31 * i);
  return filler;
}

}  // namespace

const DeclaredAttribute& declaredAttribute(std::string_view name) {
  for (const DeclaredAttribute& attribute : kAttributes) {
    if (attribute.name == name) return attribute;
  }
  throw std::invalid_argument("no attribute is declared as " + std::string(name));
}

std::string mortonCode(const std::array<std::uint32_t, 3>& position) {
  return littleEndian(interleaved(position, 16), interleaved(position, 0));
}

std::string mortonCode(const std::array<std::uint16_t, 3>& rgb) { return littleEndian(interleaved(rgb, 0)); }

std::string encodeRecords(std::span<const StoredPoint> points, std::span<const std::string> names) {
  std::string bytes;
  for (const StoredPoint& point : points) {
    for (const std::string& name : names) bytes += storedValue(point, name);
  }
  return bytes;
}

std::string encodeBlocks(std::span<const StoredPoint> points, std::span<const std::string> names) {
  std::string bytes;
  for (const std::string& name : names) {
    for (const StoredPoint& point : points) {
      bytes += name == "position" ? mortonCode(point.position)
               : name == "rgb"    ? mortonCode(point.rgb)
                                  : storedValue(point, name);
    }
  }
  return bytes;
}

std::vector<StoredPoint> randomPoints(std::size_t count, std::uint32_t seed) {
  std::mt19937 random(seed);
  const auto next = [&](auto& value) {
    value = static_cast<std::remove_reference_t<decltype(value)>>(random());
  };
  std::vector<StoredPoint> points(count);
  for (StoredPoint& point : points) {
    for (auto& coordinate : point.position) next(coordinate);
    for (auto& component : point.rgb) next(component);
    next(point.intensity);
    next(point.classification);
    next(point.visibility);
    next(point.normalOct16);
    for (double& component : point.normal) component = static_cast<double>(random()) / 3e9;
  }
  return points;
}

}  // namespace Testing
