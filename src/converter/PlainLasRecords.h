#pragma once

#include "converter/LasRecords.h"
#include "core/FileSystem.h"

namespace Converter {

/// Records that lie uncompressed in a file, one after the other.
class PlainLasRecords final : public LasRecords {
 public:
  /// @param file    outlives this, and holds the records.
  /// @param offset  of the first record.
  PlainLasRecords(const Core::ReadableFile& file, std::uint64_t offset, std::size_t recordLength,
                  std::uint64_t numRecords)
      : file_(file), offset_(offset), recordLength_(recordLength), numRecords_(numRecords) {}

  [[nodiscard]] std::uint64_t numBlocks() const override;
  [[nodiscard]] std::size_t mostPointsOf(std::uint64_t block) const override;
  std::size_t read(std::uint64_t block, Fields fields, const Use& use) const override;
  void sample(std::size_t count, const Use& use) const override;

 private:
  void forEachPart(std::uint64_t firstRecord, std::size_t count, const Use& use) const;

  const Core::ReadableFile& file_;
  std::uint64_t offset_;
  std::size_t recordLength_;
  std::uint64_t numRecords_;
};

}  // namespace Converter
