#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <span>
#include <vector>

#include "core/FileSystem.h"

namespace Converter {

/// Points on their way from distributing to indexing: many growing cells, packed as pieces into one temporary
/// file, which goes with this object. Failures of the file are ConversionErrors of temporary files. Threads:
/// all calls are safe together, those on one cell too.
class TempStore {
 public:
  /// A range of the file.
  struct Piece {
    std::uint64_t offset = 0;
    std::uint64_t size = 0;
  };

  /// @throws ConversionError.
  TempStore(Core::FileSystem& files, const std::filesystem::path& path);

  /// Makes @p count further cells, and returns the number of the first.
  std::size_t addCells(std::size_t count);

  /// @throws ConversionError.
  void append(std::size_t cell, std::span<const std::byte> bytes);

  [[nodiscard]] std::uint64_t bytesOf(std::size_t cell) const;
  [[nodiscard]] std::vector<Piece> piecesOf(std::size_t cell) const;

  /// Fills @p out, which is as long as the piece.
  /// @throws ConversionError.
  void read(const Piece& piece, std::span<std::byte> out) const;

  /// Empties a cell and gives its space back.
  void discard(std::size_t cell);

  [[nodiscard]] std::uint64_t bytesWritten() const { return end_; }

 private:
  std::unique_ptr<Core::WritableFile> file_;
  std::atomic<std::uint64_t> end_{0};
  mutable std::mutex mutex_;
  std::vector<std::vector<Piece>> cells_;  // guarded by mutex_
};

}  // namespace Converter
