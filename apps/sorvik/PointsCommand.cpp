#include "sorvik/PointsCommand.h"

#include <algorithm>
#include <vector>

#include "Sorvik/PointCloud.h"
#include "sorvik/LocationArgument.h"
#include "sorvik/PointExport.h"
#include "sorvik/PointSummary.h"
#include "sorvik/PointWalk.h"
#include "sorvik/RegionFile.h"

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
    how.attributes.emplace_back("position");
  }
  return {parseLocation(options.location), how};
}

/// Where the points go; nowhere when they are only counted.
std::optional<PointExport> makeExport(const PointsOptions& options, const PointLayout& layout,
                                      const Streams& streams) {
  std::optional<PointExport> exporter;
  if (options.file) {
    streams.interrupt.removeUnfinished(
        [&] { return exporter.emplace(*options.file, layout, options.lasVersion).unfinishedFile(); });
  } else if (writesPoints(options)) {
    exporter.emplace(streams.results, layout);
  }
  return exporter;
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

ExitStatus runPoints(const PointsOptions& options, const Streams& streams) {
  streams.interrupt.endAtOnce();
  const Sorvik::PointCloud cloud = openCloud(options);
  const PointLayout layout = layoutOf(cloud, options.frame, options.attributes);
  std::optional<PointExport> exporter = makeExport(options, layout, streams);

  PointSelection selection;
  if (options.shape) selection.shape = makeShape(*options.shape, layout.origin);
  if (options.region) selection.region = readRegion(*options.region, originIn(options.regionFrame, cloud));
  selection.minSpacing = options.minSpacing;
  PointSummary summary;
  std::uint64_t numPoints = 0;
  const LostSubtrees lost = walkPoints(cloud, selection, [&](const Sorvik::PointChunk& chunk) {
    numPoints += chunk.size();
    if (options.json) summary.add(chunk);
    if (exporter) exporter->add(chunk);
    return !streams.results.readerGone();
  });

  const bool complete = reportUnreadable(cloud, lost, streams.messages);
  const bool accepted = complete || options.skipUnreadable;
  if (exporter && accepted) {
    exporter->close();
  } else if (!accepted) {
    streams.messages << "sorvik: " << (options.file ? *options.file + " was not written; " : "")
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
