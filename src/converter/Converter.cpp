#include "converter/Converter.h"

#include <algorithm>
#include <chrono>
#include <iterator>
#include <utility>

#include "converter/ConversionError.h"
#include "converter/DiskSpace.h"
#include "converter/PosedScan.h"
#include "converter/ScanFormats.h"

namespace Converter {
namespace {

ConverterOptions optionsOf(bool brotli, bool overwrite, bool randomSampling, bool requireColorOrIntensity,
                           bool allowTruncated, bool allowOutside) {
  ConverterOptions options;
  options.conversion.encoding = brotli ? PoTree::Encoding::Brotli : PoTree::Encoding::Uncompressed;
  options.conversion.sampling = randomSampling ? Sampling::Random : Sampling::Poisson;
  options.overwrite = overwrite;
  options.requireColorOrIntensity = requireColorOrIntensity;
  options.allowTruncated = allowTruncated;
  options.allowOutside = allowOutside;
  return options;
}

ConverterOptions named(ConverterOptions options, const std::filesystem::path& output) {
  if (!options.conversion.name.empty()) return options;
  std::filesystem::path folder = output.lexically_normal();
  if (!folder.has_filename()) folder = folder.parent_path();
  options.conversion.name = folder.filename().string();
  return options;
}

/// All files that are read: projects, and scans.
std::vector<std::filesystem::path> filesOf(const ScanInputs& inputs) {
  std::vector<std::filesystem::path> files = inputs.projects;
  for (const ScanInput& scan : inputs.scans) files.push_back(scan.file);
  return files;
}

/// Adds the seconds of its own life to a number.
class Stopwatch {
 public:
  explicit Stopwatch(double& seconds) : seconds_(seconds) {}
  ~Stopwatch() {
    seconds_ += std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
  }
  Stopwatch(const Stopwatch&) = delete;
  Stopwatch& operator=(const Stopwatch&) = delete;

 private:
  double& seconds_;
  const std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

}  // namespace

Converter::Converter(std::filesystem::path input, std::filesystem::path output, bool brotli, bool overwrite,
                     bool randomSampling, bool requireColorOrIntensity, bool allowTruncated,
                     bool allowOutside)
    : Converter(std::move(input), std::move(output),
                optionsOf(brotli, overwrite, randomSampling, requireColorOrIntensity, allowTruncated,
                          allowOutside)) {}

Converter::Converter(std::filesystem::path input, std::filesystem::path output,
                     const ConverterOptions& options)
    : Converter(std::move(input), std::move(output), options,
                standardEngine(options.syncToDisk ? Core::DiskFileSystem::Sync::Yes
                                                  : Core::DiskFileSystem::Sync::No)) {}

Converter::Converter(std::filesystem::path input, std::filesystem::path output, ConverterOptions options,
                     ConverterEngine engine)
    : Job(static_cast<int>(Result::ConvertInternalError)),
      options_(named(std::move(options), output)),
      engine_(std::move(engine)),
      progress_(stageWeights(options_.conversion.encoding)),
      choice_{{std::move(input)}, {}, std::move(output), {}} {}

bool Converter::addInput(std::filesystem::path input) {
  const std::lock_guard lock(choiceMutex_);
  if (state() != Core::JobState::Pending) return false;
  choice_.inputs.push_back(std::move(input));
  return true;
}

bool Converter::setFileToConvert(std::filesystem::path file) {
  std::vector<std::filesystem::path> files;
  files.push_back(std::move(file));
  return setFilesToConvert(std::move(files));
}

bool Converter::setFilesToConvert(std::vector<std::filesystem::path> files) {
  const std::lock_guard lock(choiceMutex_);
  if (files.empty() || state() != Core::JobState::Pending) return false;
  choice_.files = std::move(files);
  return true;
}

ConverterReport Converter::report() const {
  const Core::JobState now = state();
  const bool ended = now != Core::JobState::Pending && now != Core::JobState::Running;
  return ended ? report_ : ConverterReport{};
}

Core::JobOutcome Converter::work(std::stop_token stopToken) {
  const Stopwatch stopwatch(report_.seconds);
  try {
    convert(stopToken);
    return {};
  } catch (const ConversionError& error) {
    return {Core::JobState::Failed, static_cast<int>(error.result()), error.what()};
  } catch (const ConversionCancelled&) {
    return {Core::JobState::Cancelled, 0, {}};
  }
}

void Converter::convert(const std::stop_token& stopToken) {
  InputChoice inputs = choice();
  for (const auto& reader : options_.readers) inputs.furtherExtensions.push_back(reader->extension());
  InputFiles found = findInputFiles(inputs, stopToken);
  addRemarks(std::move(found.remarks));
  ScanInputs scanFiles = findInputs(found, inputs.furtherExtensions, stopToken);
  addRemarks(std::move(scanFiles.remarks));
  const Scans scans = openScans(scanFiles.scans, stopToken);

  Core::FileSystem& files = *engine_.files;
  const std::unique_ptr<OutputPlace> place = engine_.prepareOutput(
      files, inputs.output, {options_.overwrite, options_.temporaryFolder, filesOf(scanFiles)});
  const std::vector<std::string> leftovers = place->remarks();
  addRemarks(leftovers);
  const ConversionFolders folders{place->partial(), place->temporary()};
  checkDiskSpace(spaceNeed(scans, options_.conversion.encoding), folders, files);

  ConversionReport result = engine_.convert(scans, options_.conversion, folders, files, progress_, stopToken);
  for (const std::unique_ptr<ScanReader>& scan : scans) {
    scan->checkUnchanged();
    addRemarks(scan->info(), scan->remarks());
  }
  addRemarks(std::move(result.remarks));
  if (stopToken.stop_requested()) throw ConversionCancelled();
  place->commit();
  const std::vector<std::string> afterwards = place->remarks();
  addRemarks({afterwards.begin() + std::ssize(leftovers), afterwards.end()});
  report_.numPoints = result.numPoints;
  report_.duplicates = result.duplicates;
}

InputChoice Converter::choice() const {
  const std::lock_guard lock(choiceMutex_);
  return choice_;
}

ScanInputs Converter::findInputs(const InputFiles& found, std::vector<std::string> furtherExtensions,
                                 const std::stop_token& stopToken) const {
  const ProjectOptions options{
      options_.allowOutside, options_.applyPose, std::move(furtherExtensions),
      [this](const std::filesystem::path& file) { return readerFor(file) != nullptr; }};
  return findScans(*engine_.files, found.files, options, stopToken);
}

Converter::Scans Converter::openScans(const std::vector<ScanInput>& inputs,
                                      const std::stop_token& stopToken) {
  Scans scans;
  std::uint64_t numPoints = 0;
  std::vector<std::string> leftOut;
  for (const ScanInput& input : inputs) {
    if (stopToken.stop_requested()) throw ConversionCancelled();
    std::unique_ptr<ScanReader> scan = openUnlessEmpty(input);
    if (!scan) {
      leftOut.push_back(input.file.string() + " holds no points and was left out");
      continue;
    }
    checkAttributes(scan->info());
    addRemarks(scan->info(), scan->info().warnings);
    numPoints += scan->info().numPoints;
    scans.push_back(std::move(scan));
  }
  if (scans.empty()) {
    const std::string first = inputs.front().file.string();
    throw ConversionError(Result::InputEmpty, inputs.size() == 1
                                                  ? first + ": holds no points"
                                                  : first + " and " + std::to_string(inputs.size() - 1) +
                                                        " more: no input holds points");
  }
  addRemarks(std::move(leftOut));
  numInputPoints_ = numPoints;
  return scans;
}

std::unique_ptr<ScanReader> Converter::openUnlessEmpty(const ScanInput& input) const {
  try {
    std::unique_ptr<ScanReader> scan = open(input.file);
    if (scan->info().numPoints != 0) {
      return input.pose ? withPose(std::move(scan), *input.pose) : std::move(scan);
    }
  } catch (const ConversionError& error) {
    if (error.result() != Result::InputEmpty) throw;
  }
  return nullptr;
}

std::unique_ptr<ScanReader> Converter::open(const std::filesystem::path& file) const {
  if (const FormatReader* const reader = readerFor(file)) return reader->open(*engine_.files, file);
  const std::string extension = extensionOf(file);
  const bool isFurther = std::any_of(options_.readers.begin(), options_.readers.end(),
                                     [&](const auto& reader) { return reader->extension() == extension; });
  if (isFurther && !isScanExtension(extension)) {
    throw ConversionError(Result::InputPointCloudFormatUnsupported,
                          file.string() + ": no reader plug-in knows its first bytes");
  }
  return engine_.openScan(*engine_.files, file, {options_.allowTruncated});
}

const FormatReader* Converter::readerFor(const std::filesystem::path& file) const {
  const std::string extension = extensionOf(file);
  for (const auto& reader : options_.readers) {
    if (reader->extension() == extension && reader->knows(*engine_.files, file)) return reader.get();
  }
  return nullptr;
}

void Converter::checkAttributes(const ScanInfo& info) const {
  if (!options_.requireColorOrIntensity) return;
  const auto shows = [](const Math::Attribute& attribute) {
    return attribute.name == "rgb" || attribute.name == "intensity";
  };
  if (std::any_of(info.attributes.begin(), info.attributes.end(), shows)) return;
  throw ConversionError(Result::InputNoColorIntensity,
                        info.name + ": its points have neither colours nor intensities");
}

void Converter::addRemarks(std::vector<std::string> remarks) {
  report_.remarks.insert(report_.remarks.end(), std::make_move_iterator(remarks.begin()),
                         std::make_move_iterator(remarks.end()));
}

void Converter::addRemarks(const ScanInfo& scan, const std::vector<std::string>& remarks) {
  for (const std::string& remark : remarks) report_.remarks.push_back(scan.name + ": " + remark);
}

}  // namespace Converter
