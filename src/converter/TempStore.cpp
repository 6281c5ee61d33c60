#include "converter/TempStore.h"

#include <numeric>
#include <utility>

#include "converter/FileRole.h"

namespace Converter {

TempStore::TempStore(Core::FileSystem& files, const std::filesystem::path& path)
    : file_(withRole(FileRole::Temporary, [&] { return files.create(path); })) {}

std::size_t TempStore::addCells(std::size_t count) {
  const std::lock_guard lock(mutex_);
  cells_.resize(cells_.size() + count);
  return cells_.size() - count;
}

void TempStore::append(std::size_t cell, std::span<const std::byte> bytes) {
  const Piece piece{end_.fetch_add(bytes.size()), bytes.size()};
  withRole(FileRole::Temporary, [&] { file_->write(piece.offset, bytes); });
  const std::lock_guard lock(mutex_);
  cells_[cell].push_back(piece);
}

std::uint64_t TempStore::bytesOf(std::size_t cell) const {
  const std::lock_guard lock(mutex_);
  return std::accumulate(cells_[cell].begin(), cells_[cell].end(), std::uint64_t{0},
                         [](std::uint64_t sum, const Piece& piece) { return sum + piece.size; });
}

std::vector<TempStore::Piece> TempStore::piecesOf(std::size_t cell) const {
  const std::lock_guard lock(mutex_);
  return cells_[cell];
}

void TempStore::read(const Piece& piece, std::span<std::byte> out) const {
  withRole(FileRole::Temporary, [&] { file_->read(piece.offset, out); });
}

void TempStore::discard(std::size_t cell) {
  std::vector<Piece> pieces;
  {
    const std::lock_guard lock(mutex_);
    pieces = std::exchange(cells_[cell], {});
  }
  for (const Piece& piece : pieces) file_->discard(piece.offset, piece.size);
}

}  // namespace Converter
