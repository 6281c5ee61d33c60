#include "sorvik/ConvertArguments.h"

#include <CLI/CLI.hpp>

#include "sorvik/CallError.h"
#include "sorvik/LocationArgument.h"
#include "sorvik/NumberArguments.h"

namespace Program {
namespace {

using Sorvik::ConverterCompression;
using Sorvik::ConverterEncoding;
using Sorvik::ConverterOptions;
using Sorvik::ConverterSampling;

// More threads than any machine has are a slip of the keyboard.
constexpr std::uint64_t kMostThreads = 4096;

constexpr const char* kHelp =
    "The octree appears at FOLDER once it is whole; what fails or is cancelled leaves nothing there. The "
    "points\n"
    "are neither thinned nor changed. LAS, LAZ and E57 files are read. Of scanner projects (.rsp, .rpp, "
    ".rcp)\n"
    "the exported files are read: x.las, x.laz or x.e57 beside x.rxp. The points of .rxp, .rdbx, .rcs, .zfs\n"
    "and .zfprj are in closed formats: export them as E57 or LAS.\n"
    "Ctrl-C cancels, a second one ends the program at once; the next call then cleans up.";

ConverterCompression compressionOf(const std::string& name) {
  if (name == "fast") return ConverterCompression::Fast;
  return name == "small" ? ConverterCompression::Small : ConverterCompression::Default;
}

std::uint64_t memoryOf(const std::string& text) {
  const std::uint64_t bytes = parseByteCount("--memory", text);
  if (bytes < ConverterOptions::kLeastMemoryBudget) throw CallError("--memory: at least 512M is needed");
  return bytes;
}

double scaleOf(const std::string& text) {
  const double scale = parseNumber("--scale", text);
  if (scale <= 0) throw CallError("--scale: the step is not above 0");
  return scale;
}

}  // namespace

ConvertArguments::ConvertArguments(CLI::App& app) {
  CLI::App* const convert = app.add_subcommand("convert", "Convert scan files to an octree");
  convert
      ->add_option("INPUT", inputs_,
                   "Scan files, and folders that are searched for scan files, subfolders too")
      ->required()
      ->type_name("");
  convert->add_option("-o,--output", output_, "Folder of the octree; must not exist, or be empty")
      ->required()
      ->type_name("FOLDER");
  convert->add_flag("--overwrite", options_.converter.overwrite, "Replace an octree that is at FOLDER");
  convert->add_flag("--json", options_.json,
                    "Print one JSON object: result, numPoints, seconds, failedReason");
  convert->add_flag("--progress", options_.progress,
                    "Print lines of progress where standard error is no terminal");
  addConversion(*convert);
  addMachine(*convert);
  convert->footer(kHelp);
}

void ConvertArguments::addConversion(CLI::App& convert) {
  CLI::App* const group = convert.add_option_group("Conversion", "What is written");
  group->add_option("--encoding", encoding_, "brotli (default) or uncompressed")
      ->check(CLI::IsMember({"brotli", "uncompressed"}))
      ->type_name("NAME");
  group
      ->add_option("--compression", compression_,
                   "Of brotli: default (made for points; fast is the same) or small (a general search, slow)")
      ->check(CLI::IsMember({"fast", "default", "small"}))
      ->type_name("NAME");
  group
      ->add_option("--sampling", sampling_,
                   "Points of coarse levels: poisson (default, even) or random (fast)")
      ->check(CLI::IsMember({"poisson", "random"}))
      ->type_name("NAME");
  group
      ->add_option("--scale", scale_,
                   "Step between stored coordinates, in their unit; chosen from the inputs by default")
      ->type_name("S");
  ConverterOptions& options = options_.converter;
  group->add_flag("--drop-duplicates", options.dropDuplicates, "Keep one of several wholly equal points");
  group->add_flag("--strict-crs", options.strictCrs, "Refuse inputs of differing coordinate systems");
  group->add_flag("--require-color-or-intensity", options.requireColorOrIntensity,
                  "Refuse inputs whose points have neither");
  group->add_flag("--allow-truncated", options.allowTruncated,
                  "Keep the whole points of files that end early");
  group->add_flag("--allow-outside", options.allowOutside,
                  "Read members of a scanner project outside its folder");
  group->add_flag("--apply-pose", options.applyPose,
                  "Apply the poses of a RiSCAN PRO project to scans exported without them");
}

void ConvertArguments::addMachine(CLI::App& convert) {
  CLI::App* const group =
      convert.add_option_group("Machine", "What is used; the octree does not depend on it");
  group
      ->add_option("--memory", memory_,
                   "Memory to use, as in 2G; half of the machine's, at most 4G, by default; at least 512M")
      ->type_name("BYTES");
  group->add_option("--threads", threads_, "Threads to use; one a processor by default")->type_name("N");
  group->add_option("--temp", temporaryFolder_, "Folder for temporary files; beside the octree by default")
      ->type_name("FOLDER");
}

ConvertOptions ConvertArguments::options() const {
  ConvertOptions options = options_;
  for (const std::string& input : inputs_) {
    if (input.empty()) throw CallError("INPUT is empty");
    options.inputs.push_back(widePath(input));
  }
  if (output_.empty()) throw CallError("-o: the folder's name is empty");
  options.output = widePath(output_);
  ConverterOptions& converter = options.converter;
  if (encoding_ == "uncompressed") converter.encoding = ConverterEncoding::Uncompressed;
  if (encoding_ == "uncompressed" && !compression_.empty()) {
    throw CallError("--compression: is for brotli, not for --encoding uncompressed");
  }
  converter.compression = compressionOf(compression_);
  if (sampling_ == "random") converter.sampling = ConverterSampling::Random;
  if (!scale_.empty()) converter.scale = scaleOf(scale_);
  if (!memory_.empty()) converter.memoryBudget = memoryOf(memory_);
  if (!threads_.empty()) {
    converter.threads = static_cast<unsigned>(parseCount("--threads", threads_, 1, kMostThreads));
  }
  converter.temporaryFolder = widePath(temporaryFolder_);
  return options;
}

}  // namespace Program
