#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>

namespace Converter {

/// The point records of one LAS file, compressed in it or not, in blocks of at most
/// ScanReader::kMostPointsPerBlock that can be read in any order. Threads: const calls are safe together.
class LasRecords {
 public:
  /// Takes whole records of a block, with the number of those before them.
  using Use = std::function<void(std::size_t first, std::span<const std::byte> records)>;
  enum class Fields { All, Coordinates };  ///< without All, what is not a coordinate may hold anything

  virtual ~LasRecords() = default;

  [[nodiscard]] virtual std::uint64_t numBlocks() const = 0;
  [[nodiscard]] virtual std::size_t mostPointsOf(std::uint64_t block) const = 0;

  /// Hands the records of a block to @p use, part by part in their order.
  /// @return the number of records.
  /// @throws ConversionError naming file and place.
  virtual std::size_t read(std::uint64_t block, Fields fields, const Use& use) const = 0;

  /// The same for about @p count records, spread over the file; their fields may hold anything but for the
  /// coordinates.
  virtual void sample(std::size_t count, const Use& use) const = 0;
};

}  // namespace Converter
