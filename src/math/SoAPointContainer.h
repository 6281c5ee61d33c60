#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "math/Color.h"
#include "math/ExtraColumns.h"
#include "math/Point.h"
#include "math/UninitialisedAllocator.h"

namespace Math {

/// One attribute of all points: Width values of a trivial type a point, interleaved. A column is as long as
/// its container, or absent (empty); what a point holds that was never written is the default.
template <class Value, int Width>
class AttributeColumn {
 public:
  explicit AttributeColumn(Value defaultValue) : default_(defaultValue) {}

  [[nodiscard]] std::span<const Value> values() const { return values_; }
  [[nodiscard]] bool present() const { return !values_.empty(); }

  /// Makes the column @p size points long for writing. Points that it did not hold before are left
  /// unwritten below @p written, which the caller fills, and get the default from there on.
  std::span<Value> prepare(std::size_t size, std::size_t written) {
    if (written > 0) allDefault_ = false;
    const std::size_t held = values_.size() / kWidth;
    values_.resize(size * kWidth);
    for (std::size_t i = std::max(held, written) * kWidth; i < values_.size(); ++i) values_[i] = default_;
    return values_;
  }

  /// The points of @p from at @p indices, in that order; absent when they are absent there.
  void gather(const AttributeColumn& from, std::span<const std::uint32_t> indices) {
    if (!from.present()) return clear();
    if (from.allDefault_) {
      clear();
      prepare(indices.size(), 0);
      return;
    }
    allDefault_ = false;
    values_.resize(indices.size() * kWidth);
    Value* out = values_.data();
    const Value* const in = from.values_.data();
    for (const std::uint32_t index : indices) {
      for (std::size_t k = 0; k < kWidth; ++k) *out++ = in[index * kWidth + k];
    }
  }

  void clear() {
    values_.clear();
    allDefault_ = true;
  }
  [[nodiscard]] std::size_t byteSize() const { return values_.capacity() * sizeof(Value); }

 private:
  static constexpr auto kWidth = static_cast<std::size_t>(Width);
  std::vector<Value, UninitialisedAllocator<Value>> values_;
  Value default_;
  bool allDefault_ = true;  // whether nothing was written
};

template <class T>
struct PositionAttr {
  AttributeColumn<T, 3> positionColumn{T{0}};
  auto& column() { return positionColumn; }
  [[nodiscard]] const auto& column() const { return positionColumn; }

  [[nodiscard]] std::span<const T> positions() const { return positionColumn.values(); }
};

template <class T>
struct NormalAttr {
  AttributeColumn<T, 3> normalColumn{T{0}};
  auto& column() { return normalColumn; }
  [[nodiscard]] const auto& column() const { return normalColumn; }

  [[nodiscard]] std::span<const T> normals() const { return normalColumn.values(); }
};

struct ClassIndexAttr {
  AttributeColumn<std::uint8_t, 1> classIndexColumn{std::uint8_t{0}};
  auto& column() { return classIndexColumn; }
  [[nodiscard]] const auto& column() const { return classIndexColumn; }

  [[nodiscard]] std::span<const std::uint8_t> classIndices() const { return classIndexColumn.values(); }
};

struct ColorAttr {
  AttributeColumn<Color, 1> colorColumn{Color(0, 0, 0, 255)};
  auto& column() { return colorColumn; }
  [[nodiscard]] const auto& column() const { return colorColumn; }

  [[nodiscard]] std::span<const Color> colors() const { return colorColumn.values(); }
};

template <class T>
struct IntensityAttr {
  AttributeColumn<T, 1> intensityColumn{T{0}};
  auto& column() { return intensityColumn; }
  [[nodiscard]] const auto& column() const { return intensityColumn; }

  [[nodiscard]] std::span<const T> intensities() const { return intensityColumn.values(); }
};

/// Points by columns: one column per attribute, a visibility byte (1 visible, 0 hidden) each, and whatever
/// extra columns it was given. While a container is filled, columns that nobody wrote are absent; complete()
/// gives them their defaults.
/// Threads: const calls are safe together.
template <class... Attributes>
class SoAPointContainer : public Attributes... {
 public:
  [[nodiscard]] std::size_t size() const { return size_; }

  /// Changes the number of points; new points hold the defaults.
  void resize(std::size_t size) {
    size_ = size;
    eachColumn([&](auto& column) {
      if (size == 0) column.clear();
      if (column.present()) column.prepare(size, 0);
    });
    extras_.resize(size);
  }

  /// The column of an attribute for writing, as long as the container: prepare<ColorAttr>(n) for the first n
  /// points, which the caller writes all.
  template <class Attribute>
  auto prepare(std::size_t written) {
    return Attribute::column().prepare(size_, written);
  }
  std::span<std::uint8_t> prepareVisibility(std::size_t written) {
    return visibilityColumn_.prepare(size_, written);
  }

  [[nodiscard]] std::span<const std::uint8_t> visibility() const { return visibilityColumn_.values(); }

  [[nodiscard]] const ExtraColumns& extras() const { return extras_; }
  /// Gives the container other extra columns, absent so far.
  void setExtras(ExtraColumns absent) { extras_ = std::move(absent); }
  /// As prepare(), for one of the extra columns.
  std::span<std::byte> prepareExtra(std::size_t column, std::size_t written) {
    return extras_.prepare(column, size_, written);
  }
  /// As ExtraColumns::store().
  void storeExtra(std::size_t column, std::size_t first, std::size_t count, const std::byte* values,
                  std::size_t step) {
    extras_.store(column, first, count, values, step);
  }

  /// Gives every absent column its defaults. A container that others read is complete.
  void complete() {
    eachColumn([&](auto& column) {
      if (!column.present()) column.prepare(size_, 0);
    });
    extras_.complete(size_);
  }

  /// A container of the points of @p from at @p indices, in that order. Indices are not checked.
  [[nodiscard]] static SoAPointContainer fromIndices(const SoAPointContainer& from,
                                                     std::span<const std::uint32_t> indices) {
    SoAPointContainer result;
    result.size_ = indices.size();
    (result.Attributes::column().gather(from.Attributes::column(), indices), ...);
    result.visibilityColumn_.gather(from.visibilityColumn_, indices);
    result.extras_ = ExtraColumns::fromIndices(from.extras_, indices);
    return result;
  }

  /// Bytes allocated for the columns.
  [[nodiscard]] std::size_t byteSize() const {
    std::size_t bytes = visibilityColumn_.byteSize() + extras_.byteSize();
    ((bytes += Attributes::column().byteSize()), ...);
    return bytes;
  }

 private:
  template <class Work>
  void eachColumn(const Work& work) {
    (work(Attributes::column()), ...);
    work(visibilityColumn_);
  }

  std::size_t size_ = 0;
  AttributeColumn<std::uint8_t, 1> visibilityColumn_{std::uint8_t{1}};
  ExtraColumns extras_;
};

/// The columns into which every octree node is loaded.
using NodePoints = SoAPointContainer<PositionAttr<float>, NormalAttr<float>, ClassIndexAttr, ColorAttr,
                                     IntensityAttr<std::uint16_t>>;

}  // namespace Math
