#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "converter/ScanReader.h"
#include "math/Attribute.h"
#include "math/BoundingBox.h"

namespace Testing {

/// The values of one attribute, point after point, as they stand in records.
struct ScanColumn {
  Math::Attribute attribute;
  std::string bytes;
};

/// What a ListScan holds.
struct ScanContent {
  std::string name = "list.scan";
  std::optional<Converter::ScanInfo::Grid> grid = Converter::ScanInfo::Grid{{0.01, 0.01, 0.01}, {}};
  std::vector<std::array<double, 3>>
      points;  ///< stored integers where there is a grid, else world coordinates
  std::vector<ScanColumn> columns;
  std::size_t pointsPerBlock = 1000;
  std::optional<Math::NBoundingBox<double, 3>> statedBox;  ///< nothing: the true one
  std::string projection;
  std::optional<double> toAdjustedStandardTime;
  /// Called before a block is read, by any thread; may throw.
  std::function<void(std::uint64_t block)> beforeBlock = [](std::uint64_t) {};
  /// What is left of a block: by default all of its points.
  std::function<std::size_t(std::uint64_t block, std::size_t points)> kept = [](std::uint64_t,
                                                                                std::size_t n) { return n; };
  bool changesWhileRead = false;

  /// The box of the points in world coordinates; empty without points.
  [[nodiscard]] Math::NBoundingBox<double, 3> trueBox() const;
};

/// A scan whose points stand in memory.
class ListScan final : public Converter::ScanReader {
 public:
  explicit ListScan(ScanContent content);

  [[nodiscard]] const Converter::ScanInfo& info() const override { return info_; }
  [[nodiscard]] std::uint64_t numBlocks() const override;
  [[nodiscard]] std::size_t mostPointsOf(std::uint64_t block) const override;
  std::size_t readBlock(std::uint64_t block, const Converter::RecordTarget& target,
                        Converter::BlockCoordinates& coordinates) const override;
  [[nodiscard]] std::vector<Math::Point<double, 3>> sample(std::size_t count) const override;
  void checkUnchanged() const override;

 private:
  ScanContent content_;
  Converter::ScanInfo info_;
};

using ListScans = std::vector<std::unique_ptr<Converter::ScanReader>>;

[[nodiscard]] ListScans scansOf(std::vector<ScanContent> contents);

/// The attribute type of the values of a C++ type.
template <class T>
[[nodiscard]] constexpr Math::AttributeType typeOf() {
  using enum Math::AttributeType;
  if constexpr (std::same_as<T, double>) return Double;
  if constexpr (std::same_as<T, float>) return Float;
  if constexpr (std::same_as<T, std::int8_t>) return Int8;
  if constexpr (std::same_as<T, std::int16_t>) return Int16;
  if constexpr (std::same_as<T, std::int32_t>) return Int32;
  if constexpr (std::same_as<T, std::int64_t>) return Int64;
  if constexpr (std::same_as<T, std::uint8_t>) return UInt8;
  if constexpr (std::same_as<T, std::uint16_t>) return UInt16;
  if constexpr (std::same_as<T, std::uint32_t>) return UInt32;
  if constexpr (std::same_as<T, std::uint64_t>) return UInt64;
}

template <class T>
[[nodiscard]] Math::Attribute scanAttribute(std::string name, std::uint32_t numElements = 1) {
  Math::Attribute attribute;
  attribute.name = std::move(name);
  attribute.type = typeOf<T>();
  attribute.numElements = numElements;
  return attribute;
}

/// @param values  numElements for each point.
template <class T>
[[nodiscard]] ScanColumn scanColumn(std::string name, const std::vector<T>& values,
                                    std::uint32_t numElements = 1) {
  ScanColumn column{scanAttribute<T>(std::move(name), numElements), {}};
  column.bytes.assign(reinterpret_cast<const char*>(values.data()), values.size() * sizeof(T));
  return column;
}

}  // namespace Testing
