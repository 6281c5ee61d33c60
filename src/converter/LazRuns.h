#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "core/FileSystem.h"
#include "core/FormatError.h"
#include "formats/LasHeader.h"
#include "formats/laz/LazVlr.h"

namespace Converter {

/// Points of a LAZ file that can only be decoded one after the other: those of a chunk, or of several whose
/// ends are not known.
struct LazRun {
  std::uint64_t offset = 0;
  std::uint64_t size = 0;  ///< bytes; where several chunks follow each other, what there is at most
  std::uint64_t numPoints = 0;
  std::uint64_t chunkPoints = 0;  ///< points of each chunk but the last
  std::uint64_t firstChunk = 0;   ///< its number in the file
};

/// How the points of a LAZ file lie in it.
struct LazRuns {
  std::vector<LazRun> runs;  ///< in the order of the points; none is empty
  std::uint64_t numPoints = 0;
  std::vector<std::string> warnings;
};

/// Finds the points of a file by its chunk table, or without one as far as that is possible.
/// @param allowTruncated  keep the whole chunks of a file that ends early.
/// @throws FormatError, ConversionError (InputCannotRead) for a truncated file, std::system_error.
[[nodiscard]] LazRuns findLazRuns(const Core::ReadableFile& file, const Formats::LasHeader& header,
                                  const Formats::Laz::LazVlr& vlr, bool allowTruncated,
                                  const Core::Source& source);

}  // namespace Converter
