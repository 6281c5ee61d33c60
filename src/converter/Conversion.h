#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <stop_token>
#include <string>
#include <vector>

#include "converter/NodeEncoder.h"
#include "converter/Progress.h"
#include "converter/ScanReader.h"
#include "core/FileSystem.h"
#include "octree/potree/MetaData.h"

namespace Converter {

enum class Sampling {
  Poisson,  ///< points of an inner node are at least its spacing apart
  Random    ///< one point per cell of the spacing
};

/// What decides on the tree and on the order of its file: the same for all machines, budgets and threads.
/// Tests make them small.
struct TreeConstants {
  std::size_t leafPoints = 20'000;  ///< a node of no more points is a leaf
  /// The most bytes of records that are indexed at once. Orders the file; the tree does not depend on it.
  std::uint64_t chunkBytes = std::uint64_t{64} << 20U;
  /// What a cell of the temporary file should hold: well below a chunk, since the survey only estimates.
  /// The output does not depend on it.
  std::uint64_t cellBytes = std::uint64_t{16} << 20U;
};

/// How to convert; the defaults are those of the program.
struct ConversionSettings {
  std::string name;  ///< of the cloud, for the metadata
  PoTree::Encoding encoding = PoTree::Encoding::Brotli;
  NodeCompression compression = NodeCompression::Columns;
  Sampling sampling = Sampling::Poisson;
  std::optional<double> scale;     ///< of stored coordinates, in world units; nothing: chosen from the inputs
  std::uint64_t memoryBudget = 0;  ///< bytes; 0: half of the usable memory, at most 4 GiB; at least 512 MiB
  unsigned threads = 0;            ///< 0: one a processor
  bool dropDuplicates = false;     ///< keep one of several points that are equal in every byte
  bool strictCrs = false;          ///< refuse inputs of differing coordinate systems
  TreeConstants tree;
  /// For tests: take up the work in an order drawn from this.
  std::optional<std::uint64_t> shuffleSeed;
};

/// What became of a conversion that succeeded.
struct ConversionReport {
  std::uint64_t numPoints = 0;       ///< written
  std::uint64_t duplicates = 0;      ///< dropped
  std::vector<std::string> remarks;  ///< what the user should know, each a sentence
};

/// Where a conversion works. Both folders exist, belong to it alone and may be on different file systems.
struct ConversionFolders {
  std::filesystem::path output;     ///< gets octree.bin, hierarchy.bin and, last, metadata.json
  std::filesystem::path temporary;  ///< what is written here is removed again
};

/// Converts scans to an octree. The octree's bytes depend on the scans, encoding, quality, sampling and scale
/// alone: not on threads, memory, folders or the order in which work is done.
/// @param scans  not empty; views them until it returns.
/// @throws ConversionError, and ConversionCancelled within a second after @p stopToken was told to stop;
/// files
///         that it had begun are removed.
ConversionReport convertScans(std::span<const std::unique_ptr<ScanReader>> scans,
                              const ConversionSettings& settings, const ConversionFolders& folders,
                              Core::FileSystem& files, Progress& progress, std::stop_token stopToken);

}  // namespace Converter
