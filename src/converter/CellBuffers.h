#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "converter/RecordCopy.h"
#include "converter/TempStore.h"

namespace Converter {

/// Gathers one thread's records by cell, so that the store gets large pieces. Whoever fills it calls flush()
/// at the end; what is not flushed is lost.
class CellBuffers {
 public:
  /// @param firstCell  the store's number of cell 0.
  /// @param bytes      for one cell; at least a record is taken.
  CellBuffers(TempStore& store, std::size_t firstCell, std::size_t numCells, std::size_t stride,
              std::size_t bytes)
      : store_(store),
        firstCell_(firstCell),
        stride_(stride),
        capacity_(bytes < stride ? stride : bytes / stride * stride),
        cells_(numCells) {}

  /// @throws ConversionError.
  void add(std::uint32_t cell, const std::byte* record) {
    Cell& to = cells_[cell];
    if (to.size == capacity_) flush(cell);
    if (!to.bytes) to.bytes = std::make_unique_for_overwrite<std::byte[]>(capacity_);
    copyRecord(to.bytes.get() + to.size, record, stride_);
    to.size += stride_;
  }

  /// @throws ConversionError.
  void flush() {
    for (std::size_t cell = 0; cell < cells_.size(); ++cell) flush(cell);
  }

 private:
  struct Cell {
    std::unique_ptr<std::byte[]> bytes;
    std::size_t size = 0;
  };

  void flush(std::size_t cell) {
    Cell& from = cells_[cell];
    if (from.size > 0) store_.append(firstCell_ + cell, {from.bytes.get(), from.size});
    from.size = 0;
  }

  TempStore& store_;
  std::size_t firstCell_;
  std::size_t stride_;
  std::size_t capacity_;
  std::vector<Cell> cells_;
};

}  // namespace Converter
