#include "Sorvik/Converter.h"

#include <array>
#include <cmath>
#include <filesystem>
#include <ostream>
#include <string_view>
#include <thread>
#include <utility>

#include "api/Arguments.h"
#include "api/PluginReader.h"
#include "converter/Converter.h"
#include "converter/ScanFormats.h"
#include "core/WideText.h"

namespace Sorvik {
namespace {

constexpr std::array<const char*, 26> kResultNames{"Success",
                                                   "InputUnknownAttributeType",
                                                   "InputPointCloudFormatUnsupported",
                                                   "InputDegeneratedBBox",
                                                   "InputNoColorIntensity",
                                                   "InputNoPositions",
                                                   "",
                                                   "InputLazDecodeError",
                                                   "InputGetInfoError",
                                                   "InputFileNotFound",
                                                   "InputNotFile",
                                                   "InputEmpty",
                                                   "InputCannotRead",
                                                   "ConvertTempDirInvalid",
                                                   "ConvertIOError",
                                                   "ConvertFileTooBig",
                                                   "ConvertTempFull",
                                                   "ConvertTempPathNotFound",
                                                   "ConvertInternalError",
                                                   "OutputPathExists",
                                                   "OutputProcessedFileGone",
                                                   "OutputCannotWrite",
                                                   "OutputDiskFull",
                                                   "OutputCannotCreateDirs",
                                                   "OutputDescriptorDamaged",
                                                   "OutputDataFilesMissing"};

std::filesystem::path pathOf(const std::wstring& text) { return {::Core::utf8FromWide(text)}; }

ConversionState publicState(::Core::JobState state) { return static_cast<ConversionState>(state); }

::Converter::ConverterOptions engineOptions(const ConverterOptions& options) {
  ::Converter::ConverterOptions engine;
  engine.conversion.encoding = options.encoding == ConverterEncoding::Brotli
                                   ? ::PoTree::Encoding::Brotli
                                   : ::PoTree::Encoding::Uncompressed;
  engine.conversion.compression = options.compression == ConverterCompression::Small
                                      ? ::Converter::NodeCompression::Search
                                      : ::Converter::NodeCompression::Columns;
  engine.conversion.sampling = options.sampling == ConverterSampling::Random ? ::Converter::Sampling::Random
                                                                             : ::Converter::Sampling::Poisson;
  engine.conversion.scale = options.scale;
  engine.conversion.memoryBudget = options.memoryBudget;
  engine.conversion.threads = options.threads;
  engine.conversion.dropDuplicates = options.dropDuplicates;
  engine.conversion.strictCrs = options.strictCrs;
  engine.overwrite = options.overwrite;
  engine.requireColorOrIntensity = options.requireColorOrIntensity;
  engine.allowTruncated = options.allowTruncated;
  engine.allowOutside = options.allowOutside;
  if (!options.temporaryFolder.empty()) engine.temporaryFolder = pathOf(options.temporaryFolder);
  engine.applyPose = options.applyPose;
  engine.syncToDisk = options.syncToDisk;
  for (const auto& reader : options.readers) engine.readers.push_back(readerOf(reader));
  return engine;
}

const ConverterOptions& checked(const ConverterOptions& options) {
  checkArgument(!options.scale || (std::isfinite(*options.scale) && *options.scale > 0), "Error: scale <= 0");
  checkArgument(options.memoryBudget == 0 || options.memoryBudget >= ConverterOptions::kLeastMemoryBudget,
                "Error: memoryBudget < kLeastMemoryBudget");
  for (const auto& reader : options.readers) checkArgument(reader != nullptr, "Error: reader == nullptr");
  return options;
}

/// The extension of the last element of a path, cut at its first colon; empty where there is none.
std::wstring_view extensionOf(std::wstring_view path) {
  std::wstring_view name = path.substr(path.find_last_of(L"/\\") + 1);
  name = name.substr(0, name.find(L':'));
  const std::size_t dot = name.rfind(L'.');
  if (dot == std::wstring_view::npos || dot == 0 || name == L"..") return {};
  return name.substr(dot);
}

}  // namespace

struct Converter::Impl {
  ::Converter::Converter job;
};

std::ostream& operator<<(std::ostream& stream, const ConverterResult& result) {
  const auto number = static_cast<std::int32_t>(result);
  const bool named = number >= 0 && static_cast<std::size_t>(number) < kResultNames.size();
  if (!named || *kResultNames[static_cast<std::size_t>(number)] == '\0') return stream;
  return stream << kResultNames[static_cast<std::size_t>(number)];
}

// NOLINTBEGIN(performance-unnecessary-value-param): the public interface takes paths by value.
Converter::Converter(std::wstring input, std::wstring output)
    : impl_(new Impl{{pathOf(input), pathOf(output), true, false, false, false, false, false}}) {}
Converter::Converter(std::wstring input, std::wstring output, const ConverterOptions& options)
    : impl_(new Impl{{pathOf(input), pathOf(output), engineOptions(checked(options))}}) {}
// NOLINTEND(performance-unnecessary-value-param)
Converter::~Converter() = default;

bool Converter::isSupportedFileType(const std::wstring& path) {
  return ::Converter::isScanExtension(::Core::utf8FromWide(extensionOf(path)));
}

std::vector<std::wstring> Converter::supportedFileExtensions() {
  std::vector<std::wstring> extensions;
  for (const ::Converter::ScanFormat& format : ::Converter::scanFormats()) {
    extensions.emplace_back(format.extension.begin(), format.extension.end());
  }
  return extensions;
}

void Converter::addInput(const std::wstring& path) { impl_->job.addInput(pathOf(path)); }
void Converter::setFileToConvert(const std::wstring& path) { impl_->job.setFileToConvert(pathOf(path)); }
void Converter::setFilesToConvert(const std::vector<std::wstring>& paths) {
  std::vector<std::filesystem::path> files;
  files.reserve(paths.size());
  for (const std::wstring& path : paths) files.push_back(pathOf(path));
  impl_->job.setFilesToConvert(std::move(files));
}

ConversionState Converter::run() { return publicState(impl_->job.run()); }
void Converter::runAsync() { impl_->job.runAsync(); }
void Converter::requestCancellation() { impl_->job.requestCancellation(); }
ConversionState Converter::waitForCompletion() const {
  while (!impl_->job.isStopped()) std::this_thread::sleep_for(std::chrono::seconds(1));
  return state();
}

ConversionState Converter::state() const { return publicState(impl_->job.state()); }
bool Converter::isRunning() const { return impl_->job.isRunning(); }
bool Converter::isCancelled() const { return impl_->job.isCancelled(); }
bool Converter::isStopped() const { return impl_->job.isStopped(); }
bool Converter::isCompleted() const { return impl_->job.isCompleted(); }
bool Converter::isFailed() const { return impl_->job.isFailed(); }

bool Converter::getProgress(double& progress) const {
  const std::optional<double> now = impl_->job.progress();
  if (now) progress = *now;
  return now.has_value();
}
bool Converter::getEta(std::chrono::system_clock::time_point& eta) const {
  const std::optional<std::chrono::system_clock::time_point> now = impl_->job.estimatedTimeOfArrival();
  if (now) eta = *now;
  return now.has_value();
}
ConversionStage Converter::stage() const {
  const std::optional<::Converter::Stage> stage = impl_->job.stage();
  if (!stage) return ConversionStage::Open;
  return static_cast<ConversionStage>(static_cast<std::int32_t>(*stage) + 1);
}
std::uint64_t Converter::numInputPoints() const { return impl_->job.numInputPoints(); }

const std::string& Converter::failedReason() const { return impl_->job.failedReason(); }
ConverterResult Converter::resultCode() const {
  return static_cast<ConverterResult>(impl_->job.resultCode());
}
std::uint64_t Converter::numPoints() const { return impl_->job.report().numPoints; }
std::uint64_t Converter::numDuplicates() const { return impl_->job.report().duplicates; }
double Converter::seconds() const { return impl_->job.report().seconds; }
std::vector<std::string> Converter::remarks() const { return impl_->job.report().remarks; }

}  // namespace Sorvik
