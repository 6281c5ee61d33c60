#pragma once

#include <chrono>
#include <cstdint>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Sorvik/Export.h"

namespace Sorvik {

class ScanReaderPlugin;

/// How a conversion ended. Where a result cannot occur in this version, it says why.
enum class ConverterResult : std::int32_t {
  Success = 0,
  /// Cannot occur: attributes of an unknown type are left out, and the remarks say so.
  InputUnknownAttributeType = 1,
  InputPointCloudFormatUnsupported = 2,  ///< not a scan file, or of a format or version that cannot be read
  InputDegeneratedBBox = 3,              ///< the points' box is not finite
  InputNoColorIntensity = 4,             ///< points without colour and intensity, and one of them is required
  /// Cannot occur: points of every format that can be read have positions.
  InputNoPositions = 5,
  /// The compressed points of a LAZ file are damaged, or compressed in a way that is not known.
  InputLazDecodeError = 7,
  InputGetInfoError = 8,  ///< a file's header contradicts itself, or ends early
  InputFileNotFound = 9,  ///< an input does not exist
  InputNotFile = 10,      ///< an input is neither a file nor a folder, or a folder where a file is needed
  InputEmpty = 11,        ///< no input holds a point
  InputCannotRead = 12,   ///< an input may not be read, ends early, or changed meanwhile
  ConvertTempDirInvalid = 13,    ///< the temporary folder is no folder, or cannot be written to
  ConvertIOError = 14,           ///< reading or writing temporary files failed
  ConvertFileTooBig = 15,        ///< a file would be larger than the file system or a limit allows
  ConvertTempFull = 16,          ///< no space left for temporary files
  ConvertTempPathNotFound = 17,  ///< the temporary folder does not exist
  ConvertInternalError = 18,     ///< memory ran out, or a fault of the library
  OutputPathExists = 19,         ///< there is something at the output path, and overwriting was not asked for
  OutputProcessedFileGone = 20,  ///< a file that the conversion had written went away meanwhile
  OutputCannotWrite = 21,        ///< the output may not be written, or writing failed
  OutputDiskFull = 22,           ///< no space left for the output
  OutputCannotCreateDirs = 23,   ///< the output folder cannot be made
  OutputDescriptorDamaged = 24,  ///< metadata.json was gone when the output was put into its place
  OutputDataFilesMissing = 25    ///< octree.bin or hierarchy.bin was gone by then
};

/// Writes the name of @p result as it stands above; nothing for 6 and for numbers beyond these.
SORVIK_API std::ostream& operator<<(std::ostream& stream, const ConverterResult& result);

/// A conversion begins pending, runs once, and ends in one of the last three.
enum class ConversionState : std::int32_t {
  Pending = 0,
  Running = 1,
  Completed = 2,
  Cancelled = 3,
  Failed = 4
};

/// What a running conversion is doing.
enum class ConversionStage : std::int32_t {
  Open = 0,        ///< looking for the inputs and reading their headers
  Survey = 1,      ///< estimating where the points lie
  Distribute = 2,  ///< reading all points into temporary files
  Index = 3,       ///< choosing the points of each node, and encoding them
  Write = 4        ///< bringing the octree's files to their ends
};

/// How node data are stored.
enum class ConverterEncoding : std::int32_t { Brotli, Uncompressed };

/// How brotli data are compressed. All are read by every reader of the format.
enum class ConverterCompression : std::int32_t {
  Fast,     ///< the same as Default
  Default,  ///< by what columns of points have in common
  Small     ///< by a general search (libbrotli, quality 9): many times slower, smaller on unusual data only
};

/// How the points of an inner node are chosen.
enum class ConverterSampling : std::int32_t {
  Poisson,  ///< at least the node's spacing apart: an even picture
  Random    ///< one a cell of that size: faster
};

/// How to convert. The octree's bytes depend on inputs, encoding, compression, sampling, scale and dropping
/// of duplicates alone.
struct ConverterOptions {
  ConverterEncoding encoding = ConverterEncoding::Brotli;
  ConverterCompression compression = ConverterCompression::Default;
  ConverterSampling sampling = ConverterSampling::Poisson;
  /// The step between stored coordinates, in world units; above 0. Nothing: chosen from the inputs.
  std::optional<double> scale;
  bool overwrite = false;                ///< replace an output folder that exists
  bool dropDuplicates = false;           ///< keep one of several points that are equal in everything
  bool strictCrs = false;                ///< refuse inputs of differing coordinate systems
  bool requireColorOrIntensity = false;  ///< refuse inputs whose points have neither
  bool allowTruncated = false;           ///< keep the whole points of files that end early
  bool allowOutside = false;             ///< read members of a scanner project outside its folder
  /// Bring the scans of a RiSCAN PRO project, exported in their scanners' systems, to the project's global
  /// one.
  bool applyPose = false;
  /// Bytes, at least kLeastMemoryBudget. 0: half of the usable memory, at most 4 GiB.
  std::uint64_t memoryBudget = 0;
  unsigned threads = 0;          ///< 0: one a processor
  std::wstring temporaryFolder;  ///< an existing folder for temporary files; empty: beside the output
  bool syncToDisk = true;        ///< wait until the disk has the octree, so that it survives a loss of power
  /// For formats that the library does not know; none of them null. Of those for one extension the first that
  /// recognises a file reads it.
  std::vector<std::shared_ptr<const ScanReaderPlugin>> readers;

  static constexpr std::uint64_t kLeastMemoryBudget = std::uint64_t{512} << 20U;
};

/// Converts scan files to an octree, as a job that runs once, on the caller's thread or in the background.
///
/// Either the whole octree stands at the output path in the end, or what was there before: a job that fails,
/// is cancelled or killed leaves nothing that could be taken for one. LAS, LAZ and E57 files are read, and
/// scanner projects by the files that were exported beside their scans; formats without a reader are known
/// and refused, unless the options bring one.
///
/// Threads: all calls but the destructor are safe together while the job runs.
class SORVIK_API Converter {
 public:
  /// Brotli, nothing overwritten, every other option at its default. Nothing is opened here.
  /// @param input   a scan file, or a folder that is searched with its subfolders for files of the supported
  ///                types and of those that the options' readers read; the output is left out.
  /// @param output  the octree's folder; it may exist if it is empty. Missing parents are made.
  Converter(std::wstring input, std::wstring output);
  /// @throws std::invalid_argument "Error: scale <= 0" (also for a scale that is not finite), "Error:
  ///         memoryBudget < kLeastMemoryBudget" (0 is allowed), "Error: reader == nullptr".
  Converter(std::wstring input, std::wstring output, const ConverterOptions& options);
  /// Cancels a job that runs, and waits for its end.
  ~Converter();
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;

  /// Whether the name of a file ends in one of supportedFileExtensions(), in letters of any case. The name is
  /// the part behind the last '/' or '\', up to its first ':'; a name whose only dot comes first has no
  /// extension. Nothing is opened: see Converter for which formats can be read.
  [[nodiscard]] static bool isSupportedFileType(const std::wstring& path);
  /// ".e57", ".las", ".laz", ".rsp", ".rpp", ".rcp", ".rcs", ".zfs", ".zfprj".
  [[nodiscard]] static std::vector<std::wstring> supportedFileExtensions();

  /// Adds a further file or folder to the input. No effect once the job has started.
  void addInput(const std::wstring& path);
  /// Converts this file instead of those that are found; a relative path is taken from the input folder. No
  /// effect once the job has started.
  void setFileToConvert(const std::wstring& path);
  /// The same for several files; the order does not matter, and an empty list has no effect.
  void setFilesToConvert(const std::vector<std::wstring>& paths);

  /// Converts on the calling thread and returns how it ended. A job that is not pending is left as it is.
  ConversionState run();
  /// Starts the job on a thread of its own; it is running when this returns. A job that is not pending is
  /// left as it is.
  void runAsync();
  /// Asks the job to end, which it does within about a second. A pending job is cancelled at once, one that
  /// has ended stays as it is.
  void requestCancellation();
  /// Waits while the job runs, looking once a second. Returns at once for a job that never started.
  ConversionState waitForCompletion() const;

  [[nodiscard]] ConversionState state() const;
  [[nodiscard]] bool isRunning() const;
  [[nodiscard]] bool isCancelled() const;
  /// Not running: also true before the start.
  [[nodiscard]] bool isStopped() const;
  [[nodiscard]] bool isCompleted() const;
  [[nodiscard]] bool isFailed() const;

  /// The share of the work that is done, 0 to 1, never less than before. False, and @p progress untouched,
  /// before the start.
  bool getProgress(double& progress) const;
  /// When the job will probably end. False, and @p eta untouched, unless it runs and can tell.
  bool getEta(std::chrono::system_clock::time_point& eta) const;
  /// What the job does, or did last.
  [[nodiscard]] ConversionStage stage() const;
  /// The points that the inputs announce; 0 until all are open.
  [[nodiscard]] std::uint64_t numInputPoints() const;

  /// Why the job failed: file, place and cause. Empty unless it has; valid as long as this object.
  [[nodiscard]] const std::string& failedReason() const;
  /// Success unless the job has failed.
  [[nodiscard]] ConverterResult resultCode() const;
  /// The points of the octree; 0 unless the job has completed.
  [[nodiscard]] std::uint64_t numPoints() const;
  /// The points that were dropped as duplicates; 0 unless the job has completed.
  [[nodiscard]] std::uint64_t numDuplicates() const;
  /// How long the job ran; 0 until it has ended.
  [[nodiscard]] double seconds() const;
  /// What the user should know, each a sentence; empty until the job has ended.
  [[nodiscard]] std::vector<std::string> remarks() const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace Sorvik
