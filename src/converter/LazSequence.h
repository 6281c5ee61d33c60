#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "converter/LazDecoding.h"
#include "converter/LazRuns.h"
#include "core/FileSystem.h"

namespace Converter {

/// The points of a run that is too long to be decoded at once, in blocks. They are decoded in their order,
/// whoever asks first, and once when the blocks are asked for in about their order: those in front of a
/// wanted block wait, as records, for the threads that were given them. Memory: the bytes at hand and some
/// blocks. Threads: calls are safe together; one thread decodes at a time.
class LazSequence {
 public:
  /// @param file  outlives this.
  LazSequence(const Core::ReadableFile& file, std::string fileName, const Formats::Laz::LazVlr& vlr,
              const LazRun& run, bool allowTruncated);
  ~LazSequence();

  [[nodiscard]] std::uint64_t numBlocks() const;
  [[nodiscard]] std::size_t mostPointsOf(std::uint64_t block) const;

  /// The records of a block: fewer than mostPointsOf(block) where truncated files are allowed and this one
  /// is.
  /// @throws FormatError naming file, chunk and place; std::system_error.
  [[nodiscard]] std::vector<std::byte> read(std::uint64_t block);

 private:
  [[nodiscard]] std::unique_ptr<LazDecoding> begin() const;
  [[nodiscard]] std::vector<std::byte> decode(LazDecoding& decoding, std::size_t count) const;

  const Core::ReadableFile& file_;
  std::string fileName_;
  const Formats::Laz::LazVlr& vlr_;
  LazRun run_;
  bool allowTruncated_;

  std::mutex mutex_;                       // guards what follows
  std::unique_ptr<LazDecoding> decoding_;  // none before the first and behind the last block
  std::uint64_t next_ = 0;                 // the block that decoding_ comes to
  std::map<std::uint64_t, std::vector<std::byte>> waiting_;  // blocks before next_ that nobody has taken
};

}  // namespace Converter
