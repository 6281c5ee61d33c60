#include "sorvik/CommandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <exception>
#include <new>
#include <sstream>
#include <string>
#include <vector>

#include "Sorvik/Version.h"
#include "sorvik/CallError.h"
#include "sorvik/ConvertArguments.h"
#include "sorvik/InfoCommand.h"
#include "sorvik/LegendArguments.h"
#include "sorvik/MakeSampleCommand.h"
#include "sorvik/NumberArguments.h"
#include "sorvik/PointFileArgument.h"
#include "sorvik/PointsCommand.h"
#include "sorvik/RegionCommand.h"

namespace Program {
namespace {

constexpr const char* kProgramHelp =
    "Exit status: 0 done, 1 the work failed, 2 the call was wrong, 130 interrupted.\n"
    "Results go to standard output, messages to standard error.";
constexpr const char* kLocationHelp = "Folder of a cloud, its metadata.json, or an https:// address";
constexpr const char* kLasVersionHelp =
    "Of .las and .laz files: 1.4, unless given, or 1.2, whose points hold less; values that it has no place "
    "for "
    "are refused";
constexpr const char* kPointsHelp =
    "Coordinates, given and printed, are world coordinates in the cloud's unit; with --local they are those "
    "of\n"
    "the octree frame: world coordinates less the reference position that 'sorvik info' prints. Angles are\n"
    "radians, counter-clockwise; quaternions x, y, z, w. Give at most one shape.\n"
    "CSV columns and PLY properties are those that the cloud stores. CSV coordinates have the decimals of "
    "the\n"
    "cloud's scale.";

/// The options as texts, as the parser leaves them.
struct PointsTexts {
  std::vector<std::string> shapes;  // one for each of shapeOptions(); the parser knows which were given
  std::string region;
  std::string regionFrame;
  std::string minSpacing;
  std::string attributes;
  std::string file;
  std::string lasVersion;
};

void addInfo(CLI::App& app, InfoOptions& options) {
  CLI::App* const info = app.add_subcommand("info", "Print the facts of a cloud");
  info->add_option("LOCATION", options.location, kLocationHelp)->required()->type_name("");
  info->add_flag("--json", options.json, "Print one JSON object");
  info->add_flag_callback(
      "--local", [&options] { options.frame = Frame::Octree; },
      "Print the bounding box in the octree frame: less the reference position");
  info->footer("Coordinates are world coordinates in the cloud's unit, as is the spacing.");
}

void addPoints(CLI::App& app, PointsOptions& options, PointsTexts& texts) {
  CLI::App* const points =
      app.add_subcommand("points", "Write or count the points of a cloud, or of a shape");
  points->add_option("LOCATION", options.location, kLocationHelp)->required()->type_name("");
  points
      ->add_option("--min-spacing", texts.minSpacing,
                   "Leave out levels of detail finer than this distance between points, in the cloud's unit")
      ->type_name("S");
  points
      ->add_option("--attributes", texts.attributes,
                   "What to write beside the positions, by the names that 'sorvik info' prints")
      ->type_name("NAME,...");
  points
      ->add_option("-o,--output", texts.file,
                   "Write the points to a .las, .laz, .ply or .csv file, not to standard output")
      ->type_name("FILE");
  points->add_option("--las-version", texts.lasVersion, kLasVersionHelp)->type_name("VERSION");
  points->add_flag("--count", options.count, "Print only how many points there are");
  points->add_flag("--json", options.json, "Print a summary as one JSON object: sums, extremes, classes");
  points->add_flag_callback(
      "--local", [&options] { options.frame = Frame::Octree; },
      "Coordinates of the octree frame, not the world's");
  points->add_flag("--skip-unreadable", options.skipUnreadable,
                   "Take what can be read of a damaged cloud, and end with status 0");
  CLI::App* const shapes = points->add_option_group("Shapes", "Which points");
  texts.shapes.resize(shapeOptions().size());
  for (std::size_t i = 0; i < texts.shapes.size(); ++i) {
    const ShapeOption& option = shapeOptions()[i];
    shapes->add_option(option.name, texts.shapes[i], option.help)->type_name(option.form);
  }
  shapes->add_option("--region", texts.region, "Points in the clipping region that a JSON file describes")
      ->type_name("FILE");
  shapes->require_option(0, 1);
  points
      ->add_option("--region-frame", texts.regionFrame,
                   "Whether the region's coordinates are those of the octree frame, as unless given, or the "
                   "world's")
      ->type_name("local|world")
      ->check(CLI::IsMember({"local", "world"}))
      ->needs("--region");
  points->footer(kPointsHelp);
}

void readTexts(const CLI::App& points, const PointsTexts& texts, PointsOptions& options) {
  for (std::size_t i = 0; i < texts.shapes.size(); ++i) {
    const ShapeOption& option = shapeOptions()[i];
    if (points.count(option.name) != 0) options.shape = parseShape(option, texts.shapes[i]);
  }
  if (points.count("--region") != 0) options.region = texts.region;
  if (texts.regionFrame == "world") options.regionFrame = Frame::World;
  if (points.count("--min-spacing") != 0) {
    options.minSpacing = static_cast<float>(parseNumber("--min-spacing", texts.minSpacing));
    if (options.minSpacing < 0) throw CallError("--min-spacing: the spacing is negative");
  }
  if (points.count("--attributes") != 0) options.attributes = parseAttributeNames(texts.attributes);
  if (points.count("-o") != 0) {
    checkPointFile("-o", texts.file);
    options.file = texts.file;
  }
  if (points.count("--las-version") != 0) options.lasVersion = parseLasVersion(texts.lasVersion, texts.file);
}

/// The options of make-sample as texts.
struct MakeSampleTexts {
  std::string points;
  std::string seed;
  std::string lasVersion;
};

void addMakeSample(CLI::App& app, MakeSampleOptions& options, MakeSampleTexts& texts) {
  CLI::App* const sample = app.add_subcommand("make-sample", "Write a synthetic airborne survey");
  sample->add_option("FILE", options.file, "A .las, .laz, .ply or .csv file")->required()->type_name("");
  sample->add_option("--points", texts.points, "How many points: 1000000 unless given")->type_name("N");
  sample->add_option("--seed", texts.seed, "Which survey, 0 to 2^64 - 1: 1 unless given")->type_name("S");
  sample->add_option("--las-version", texts.lasVersion, kLasVersionHelp)->type_name("VERSION");
  sample->add_flag("--json", options.json, "Print one JSON object");
  sample->footer("The same number of points and seed make the same file on every machine.");
}

ExitStatus runMakeSample(const CLI::App& sample, const MakeSampleTexts& texts, MakeSampleOptions options,
                         const Streams& streams) {
  constexpr std::uint64_t kMostPoints = 1'000'000'000'000;
  if (sample.count("--points") != 0) options.numPoints = parseCount("--points", texts.points, 0, kMostPoints);
  if (sample.count("--seed") != 0) options.seed = parseCount("--seed", texts.seed, 0, UINT64_MAX);
  if (sample.count("--las-version") != 0) {
    checkPointFile("FILE", options.file);
    options.lasVersion = parseLasVersion(texts.lasVersion, options.file);
  }
  return runMakeSample(options, streams);
}

void addRegion(CLI::App& app, RegionOptions& options, std::string& at) {
  CLI::App* const region =
      app.add_subcommand("region", "Say whether a point lies in a stored clipping region");
  region->add_option("FILE", options.file, "A clipping region as JSON")->required()->type_name("");
  region->add_option("--at", at, "The point, in the frame of the file")->required()->type_name("X,Y,Z");
  region->add_flag("--json", options.json, "Print one JSON object");
}

ExitStatus runRegion(const std::string& at, RegionOptions options, const Streams& streams) {
  const std::vector<double> numbers = parseNumbers("--at", at);
  if (numbers.size() != options.at.size()) {
    throw CallError("--at: expected the 3 numbers X,Y,Z, found " + std::to_string(numbers.size()));
  }
  std::copy(numbers.begin(), numbers.end(), options.at.begin());
  return runRegion(options, streams);
}

/// Help and version are results, anything else that the parser throws is a wrong call.
ExitStatus answerParser(const CLI::App& app, const CLI::ParseError& error, const Streams& streams) {
  std::ostringstream results;
  std::ostringstream messages;
  const int code = app.exit(error, results, messages);
  streams.results.write(results.str());
  if (code == 0) return ExitStatus::Done;
  streams.messages << "sorvik: " << messages.str();
  return ExitStatus::WrongCall;
}

ExitStatus runCommand(int count, const char* const* arguments, const Streams& streams) {
  CLI::App app("Large point clouds stored as octrees", "sorvik");
  app.set_version_flag("--version", Sorvik::versionString());
  app.require_subcommand(0, 1);
  app.footer(kProgramHelp);
  InfoOptions info;
  PointsOptions points;
  PointsTexts texts;
  addInfo(app, info);
  MakeSampleOptions sample;
  MakeSampleTexts sampleTexts;
  addPoints(app, points, texts);
  ConvertArguments convert(app);
  LegendArguments legend(app);
  addMakeSample(app, sample, sampleTexts);
  RegionOptions region;
  std::string regionAt;
  addRegion(app, region, regionAt);
  try {
    app.parse(count, arguments);
  } catch (const CLI::ParseError& error) {
    return answerParser(app, error, streams);
  }
  if (app.get_subcommands().empty()) throw CallError("a command is missing: sorvik --help lists them");
  if (app.got_subcommand("info")) return runInfo(info, streams);
  if (app.got_subcommand("convert")) return runConvert(convert.options(), streams);
  if (app.got_subcommand("legend")) return runLegend(legend.options(), streams);
  if (app.got_subcommand("region")) return runRegion(regionAt, region, streams);
  if (app.got_subcommand("make-sample")) {
    return runMakeSample(*app.get_subcommand("make-sample"), sampleTexts, sample, streams);
  }
  readTexts(*app.get_subcommand("points"), texts, points);
  return runPoints(points, streams);
}

}  // namespace

ExitStatus run(int count, const char* const* arguments, const Streams& streams) {
  try {
    return runCommand(count, arguments, streams);
  } catch (const CallError& error) {
    streams.messages << "sorvik: " << error.what() << '\n';
    return ExitStatus::WrongCall;
  } catch (const std::bad_alloc&) {
    streams.messages << "sorvik: not enough memory\n";
  } catch (const std::exception& error) {
    // Interrupted itself, or a system call of the library that an interrupt has ended.
    const bool interrupted = streams.interrupt.came();
    streams.messages << "sorvik: " << (interrupted ? Interrupted().what() : error.what()) << '\n';
    if (interrupted) return ExitStatus::Interrupted;
  }
  return ExitStatus::Failed;
}

}  // namespace Program
