#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>

#include "converter/LazRuns.h"
#include "core/FileSystem.h"
#include "formats/laz/LazVlr.h"

namespace Converter {

/// Goes through the points of a run once, from its first on. Threads: for one at a time.
class LazDecoding {
 public:
  virtual ~LazDecoding() = default;

  /// Writes the records of the next points, of which there are at least as many.
  /// @return the number of records: less than there is room for where a truncated file ends.
  /// @throws FormatError naming file, chunk and place; std::system_error.
  virtual std::size_t decode(std::span<std::byte> records) = 0;
};

/// For point-wise compressed points a window of about a megabyte moves through the file; a layered chunk is
/// fetched whole.
/// @param file            outlives the decoding.
/// @param allowTruncated  end where the bytes end.
[[nodiscard]] std::unique_ptr<LazDecoding> makeLazDecoding(const Core::ReadableFile& file,
                                                           const std::string& fileName,
                                                           const Formats::Laz::LazVlr& vlr, const LazRun& run,
                                                           bool allowTruncated);

/// What errors call a chunk.
[[nodiscard]] std::string chunkName(const std::string& fileName, std::uint64_t chunk);

}  // namespace Converter
