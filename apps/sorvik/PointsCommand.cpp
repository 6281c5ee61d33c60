#include "sorvik/PointsCommand.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <vector>

#include "Sorvik/PointCloud.h"
#include "sorvik/CallError.h"
#include "sorvik/CsvWriter.h"
#include "sorvik/LocationArgument.h"
#include "sorvik/OutputFile.h"
#include "sorvik/PlyWriter.h"
#include "sorvik/PointSummary.h"
#include "sorvik/PointWalk.h"

namespace Program {
namespace {

constexpr std::size_t kReasonsShown = 5;
constexpr std::size_t kMostListed = 1000;  // what a cloud remembers; there may have been more

/// Whether points are written, not only counted.
bool writesPoints(const PointsOptions& options) { return options.file || (!options.count && !options.json); }

Sorvik::PointCloud openCloud(const PointsOptions& options) {
  Sorvik::PointCloudOptions how;
  if (writesPoints(options)) {
    how.allAttributes = !options.attributes;
    how.attributes = options.attributes.value_or(std::vector<std::string>());
  }
  return {parseLocation(options.location), how};
}

std::unique_ptr<PointSink> makeSink(const PointsOptions& options, const PointLayout& layout, OutputFile* file,
                                    Output& results) {
  if (!writesPoints(options)) return nullptr;
  if (file == nullptr) return std::make_unique<CsvWriter>(layout, results);
  if (options.file->format == PointFileFormat::Ply) return std::make_unique<PlyWriter>(layout, *file);
  return std::make_unique<CsvWriter>(layout, file->output());
}

/// Says which parts of the cloud are missing in what was walked. True when none is.
bool reportUnreadable(const Sorvik::PointCloud& cloud, const LostSubtrees& lost, std::ostream& messages) {
  const std::vector<Sorvik::UnreadableNode> nodes = cloud.unreadableNodes();
  if (nodes.empty() && lost.count == 0) return true;
  if (nodes.empty()) {
    messages << "sorvik: " << lost.count << " parts of the hierarchy could not be read: " << lost.firstReason
             << '\n';
    return false;
  }
  messages << "sorvik: " << (nodes.size() < kMostListed ? "" : "at least ") << nodes.size()
           << (nodes.size() == 1 ? " node" : " nodes") << " of the cloud could not be read:\n";
  const std::size_t shown = std::min(nodes.size(), kReasonsShown);
  for (std::size_t i = 0; i < shown; ++i) {
    messages << "  " << nodes[i].node << ": " << nodes[i].reason << '\n';
  }
  if (shown < nodes.size()) messages << "  ...\n";
  return false;
}

}  // namespace

PointFile parsePointFile(const std::string& path) {
  std::string extension = std::filesystem::path(path).extension().string();
  for (char& c : extension) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  if (extension == ".csv") return {path, PointFileFormat::Csv};
  if (extension == ".ply") return {path, PointFileFormat::Ply};
  const bool planned = extension == ".las" || extension == ".laz";
  if (extension.empty()) throw CallError("-o: '" + path + "' has no extension: use .csv or .ply");
  throw CallError("cannot write " + extension + " files" + (planned ? " yet" : "") + ": use .csv or .ply");
}

ExitStatus runPoints(const PointsOptions& options, const Streams& streams) {
  const Sorvik::PointCloud cloud = openCloud(options);
  const PointLayout layout = layoutOf(cloud, options.frame, options.attributes);
  std::optional<OutputFile> file;
  if (options.file) file.emplace(options.file->path, streams.interrupt);
  const auto sink = makeSink(options, layout, file ? &*file : nullptr, streams.results);

  PointSelection selection;
  if (options.shape) selection.shape = makeShape(*options.shape, layout.origin);
  selection.minSpacing = options.minSpacing;
  PointSummary summary;
  std::uint64_t numPoints = 0;
  const LostSubtrees lost =
      walkPoints(cloud, selection, streams.interrupt, [&](const Sorvik::PointChunk& chunk) {
        numPoints += chunk.size();
        if (options.json) summary.add(chunk);
        if (sink) sink->add(chunk);
        return !streams.results.readerGone();
      });
  if (sink) sink->finish();

  const bool complete = reportUnreadable(cloud, lost, streams.messages);
  const bool accepted = complete || options.skipUnreadable;
  if (file && accepted) {
    file->commit();
  } else if (!accepted) {
    streams.messages << "sorvik: " << (file ? options.file->path + " was not written; " : "")
                     << "--skip-unreadable takes what can be read\n";
  }
  if (options.json) {
    streams.results.write(summary.json(layout.origin) + '\n');
  } else if (options.count) {
    streams.results.write(std::to_string(numPoints) + '\n');
  }
  return accepted ? ExitStatus::Done : ExitStatus::Failed;
}

}  // namespace Program
