#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <span>
#include <vector>

#include "converter/CubePoint.h"
#include "converter/OutputGrid.h"
#include "math/SoAPointContainer.h"

namespace Converter {

/// Bytes that are written before they are read.
using RawBytes = std::vector<std::byte, Math::UninitialisedAllocator<std::byte>>;

/// The stored position at the beginning of a record.
[[nodiscard]] inline StoredPosition positionOf(const std::byte* record) {
  StoredPosition position;
  std::memcpy(position.data(), record, sizeof position);
  return position;
}

/// Records of one octree node, ordered along the Z curve, those of one place by their bytes.
class SortedPoints {
 public:
  /// @param records     whole records of @p stride bytes (not checked) that lie in one node of level @p
  /// level.
  /// @param whenOrdered  is called when the order is known, which takes about half of the time.
  SortedPoints(RawBytes records, std::size_t stride, const OutputGrid& grid, unsigned level,
               const std::function<void()>& whenOrdered = {});

  [[nodiscard]] std::size_t size() const { return keys_.size(); }
  [[nodiscard]] std::size_t stride() const { return stride_; }
  [[nodiscard]] const std::byte* record(std::size_t i) const { return records_.data() + i * stride_; }
  [[nodiscard]] CubePoint cubePoint(std::size_t i) const { return grid_.cubePoint(positionOf(record(i))); }
  /// cellKey(cubePoint(i), level), rising.
  [[nodiscard]] std::span<const std::uint64_t> keys() const { return keys_; }
  /// A random number of each point's place: by it points are drawn from a cell.
  [[nodiscard]] std::span<const std::uint32_t> priorities() const { return priorities_; }

  /// Keeps one of the points that are equal in every byte. @p dropped is called with each of the others'
  /// records before it goes.
  template <class Dropped>
  void dropDuplicates(const Dropped& dropped);

 private:
  [[nodiscard]] bool equal(std::size_t a, std::size_t b) const;
  void move(std::size_t from, std::size_t to);
  void shorten(std::size_t size);

  std::size_t stride_;
  OutputGrid grid_;
  RawBytes records_;
  std::vector<std::uint64_t> keys_;
  std::vector<std::uint32_t> priorities_;
};

template <class Dropped>
void SortedPoints::dropDuplicates(const Dropped& dropped) {
  std::size_t kept = 0;
  for (std::size_t i = 0; i < size(); ++i) {
    if (i > 0 && equal(kept - 1, i)) {
      dropped(record(i));
    } else {
      move(i, kept++);
    }
  }
  shorten(kept);
}

}  // namespace Converter
