#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "converter/Conversion.h"
#include "converter/ConverterEngine.h"
#include "converter/FormatReader.h"
#include "converter/InputFiles.h"
#include "converter/ProjectInputs.h"
#include "converter/StageProgress.h"
#include "core/Job.h"

namespace Converter {

/// How a Converter works.
struct ConverterOptions {
  ConversionSettings conversion;         ///< an empty name becomes that of the output folder
  bool overwrite = false;                ///< replace an output that exists
  bool requireColorOrIntensity = false;  ///< refuse inputs whose points have neither
  bool allowTruncated = false;           ///< keep the whole points of files that end early
  bool allowOutside = false;             ///< read members of a project that lie outside its folder
  bool applyPose = false;                ///< bring members of a project to its global coordinate system
  /// For further formats; of those for one extension the first that knows a file's first bytes reads it, and
  /// the reader of the extension's own format, if there is one, where none does.
  std::vector<std::shared_ptr<const FormatReader>> readers;
  std::optional<std::filesystem::path> temporaryFolder;  ///< nothing: beside the output
  bool syncToDisk = true;  ///< wait until the disk has the output, so that it survives a loss of power
};

/// What became of a conversion.
struct ConverterReport {
  std::uint64_t numPoints = 0;       ///< written; 0 unless the job completed
  std::uint64_t duplicates = 0;      ///< dropped
  double seconds = 0;                ///< from start to end
  std::vector<std::string> remarks;  ///< what the user should know, each a sentence
};

/// Converts scan files to an octree. Its result codes are those of Result. Either the whole octree stands at
/// the output path in the end, or what was there before. Threads: as Core::Job, and all further calls as
/// well.
class Converter final : public Core::Job {
 public:
  /// @param input   a scan file, or a folder that is searched for scan files.
  /// @param output  the octree's folder.
  Converter(std::filesystem::path input, std::filesystem::path output, bool brotli, bool overwrite,
            bool randomSampling, bool requireColorOrIntensity, bool allowTruncated, bool allowOutside);
  Converter(std::filesystem::path input, std::filesystem::path output, const ConverterOptions& options);
  /// With an engine of the caller's.
  Converter(std::filesystem::path input, std::filesystem::path output, ConverterOptions options,
            ConverterEngine engine);
  ~Converter() override { cancelAndJoin(); }

  // Each of these returns false, and changes nothing, once the job has started.

  /// Adds a file or folder to the input.
  bool addInput(std::filesystem::path input);
  /// As setFilesToConvert() of one file.
  bool setFileToConvert(std::filesystem::path file);
  /// Converts these files instead of all that are found; relative paths are taken from the input folder.
  /// False for an empty list.
  bool setFilesToConvert(std::vector<std::filesystem::path> files);

  /// The stage that runs or ran last; nothing before the first, while inputs are opened.
  [[nodiscard]] std::optional<Stage> stage() const { return progress_.stage(); }
  /// The points that the inputs announce; 0 until all are open.
  [[nodiscard]] std::uint64_t numInputPoints() const { return numInputPoints_; }
  /// Empty before the job has ended.
  [[nodiscard]] ConverterReport report() const;

 private:
  using Scans = std::vector<std::unique_ptr<ScanReader>>;

  Core::JobOutcome work(std::stop_token stopToken) override;
  [[nodiscard]] std::optional<double> shareDone() const override { return progress_.share(); }
  [[nodiscard]] std::optional<std::chrono::steady_clock::duration> timeLeft() const override {
    return progress_.timeLeft();
  }

  void convert(const std::stop_token& stopToken);
  [[nodiscard]] InputChoice choice() const;
  [[nodiscard]] ScanInputs findInputs(const InputFiles& found, std::vector<std::string> furtherExtensions,
                                      const std::stop_token& stopToken) const;
  [[nodiscard]] Scans openScans(const std::vector<ScanInput>& inputs, const std::stop_token& stopToken);
  [[nodiscard]] std::unique_ptr<ScanReader> openUnlessEmpty(const ScanInput& input) const;
  [[nodiscard]] std::unique_ptr<ScanReader> open(const std::filesystem::path& file) const;
  /// The first reader of a further format that knows a file; null if none does.
  [[nodiscard]] const FormatReader* readerFor(const std::filesystem::path& file) const;
  void checkAttributes(const ScanInfo& info) const;
  void addRemarks(std::vector<std::string> remarks);
  /// Those that concern one scan.
  void addRemarks(const ScanInfo& scan, const std::vector<std::string>& remarks);

  const ConverterOptions options_;
  const ConverterEngine engine_;
  StageProgress progress_;
  std::atomic<std::uint64_t> numInputPoints_ = 0;
  mutable std::mutex choiceMutex_;
  InputChoice choice_;      // guarded by choiceMutex_
  ConverterReport report_;  // written by the work, read once it has ended
};

}  // namespace Converter
