#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <stop_token>
#include <string>
#include <vector>

#include "converter/Conversion.h"
#include "converter/OpenScan.h"
#include "converter/Progress.h"
#include "converter/ScanReader.h"
#include "core/FileSystem.h"

namespace Converter {

/// Where an octree is written until it is whole. What was not committed is removed by the destructor.
class OutputPlace {
 public:
  virtual ~OutputPlace() = default;

  /// The folder to write the octree to.
  [[nodiscard]] virtual const std::filesystem::path& partial() const = 0;
  /// The folder for temporary files.
  [[nodiscard]] virtual const std::filesystem::path& temporary() const = 0;
  /// What the user should know of earlier conversions' leftovers, each a sentence. commit() may add to them.
  [[nodiscard]] virtual std::vector<std::string> remarks() const = 0;
  /// Makes what was written the output.
  /// @throws ConversionError.
  virtual void commit() = 0;
};

/// How the output's place is prepared.
struct OutputPlaceOptions {
  bool overwrite = false;  ///< replace an octree that is there
  std::optional<std::filesystem::path> temporaryFolder;
  std::vector<std::filesystem::path> inputs;  ///< an output that holds one of these is not replaced
};

/// The parts that a Converter brings together. Every call may throw ConversionError.
struct ConverterEngine {
  /// The files that everything works on.
  std::shared_ptr<Core::FileSystem> files;
  /// Opens a scan file by a reader for its format.
  std::function<std::unique_ptr<ScanReader>(Core::FileSystem&, const std::filesystem::path& file,
                                            const ScanOptions&)>
      openScan;
  /// Claims the place of an output.
  std::function<std::unique_ptr<OutputPlace>(Core::FileSystem&, const std::filesystem::path& output,
                                             const OutputPlaceOptions&)>
      prepareOutput;
  /// As convertScans().
  std::function<ConversionReport(std::span<const std::unique_ptr<ScanReader>>, const ConversionSettings&,
                                 const ConversionFolders&, Core::FileSystem&, Progress&, std::stop_token)>
      convert;
};

/// The engine that users get: the disk, the readers of all formats, convertScans().
[[nodiscard]] ConverterEngine standardEngine(Core::DiskFileSystem::Sync sync);

}  // namespace Converter
