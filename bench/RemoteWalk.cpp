// A walk over a cloud on a server that takes 50 ms longer for each request, against the same nodes fetched
// one after the other. Also: the time until the first chunk, in such delays, and the bytes that were fetched
// and not used.
//   remote_walk [POINTS]
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <map>
#include <memory>

#include "Rounds.h"
#include "octree/QueryPoints.h"
#include "octree/potree/HttpsLocation.h"
#include "support/HttpsServer.h"
#include "support/OctreeBuilder.h"
#include "support/PointRecords.h"
#include "support/TempFolder.h"

namespace {

using Octree::Algorithm::QueryPointsIterator;

constexpr double kDelaySeconds = 0.05;

std::shared_ptr<Octree::Octree> open(const std::string& url) {
  return std::make_shared<Octree::Octree>(std::make_shared<PoTree::HttpsLocation>(url, nullptr), 1.0);
}

struct Walked {
  double firstChunkSeconds = 0;  ///< from opening
  double walkSeconds = 0;        ///< from then on
  std::size_t nodes = 0;
  std::uint64_t points = 0;
};

Walked walk(const std::string& url) {
  Walked walked;
  const double begin = Bench::wallSeconds();
  const auto octree = open(url);
  for (QueryPointsIterator it = Octree::allPoints(octree, nullptr, 0, {}); it != QueryPointsIterator();
       ++it) {
    walked.points += (*it)->points().size();
    if (walked.nodes++ == 0) walked.firstChunkSeconds = Bench::wallSeconds() - begin;
  }
  walked.walkSeconds = Bench::wallSeconds() - begin - walked.firstChunkSeconds;
  return walked;
}

/// The same nodes with one request after the other, as a reader without read-ahead fetches them.
Walked oneByOne(const std::string& url) {
  Walked walked;
  const auto octree = open(url);
  const double begin = Bench::wallSeconds();
  for (std::deque<Octree::OctreeNodeId> queue{Octree::OctreeNodeId()}; !queue.empty(); queue.pop_front()) {
    Math::NodePoints points;
    if (octree->loadNodePoints(queue.front(), points, {})) walked.points += points.size();
    ++walked.nodes;
    for (const Octree::OctreeNodeId& child : octree->children(queue.front(), {})) queue.push_back(child);
  }
  walked.walkSeconds = Bench::wallSeconds() - begin;
  return walked;
}

/// How many requests one after the other come before the first answer with node data, that one included.
std::size_t requestsUntilFirstNode(const std::vector<Testing::LoggedRequest>& requests) {
  std::size_t count = 0;
  while (count < requests.size() && !requests[count].file.ends_with("octree.bin")) ++count;
  return count + 1;
}

/// First byte and end of the ranges that a case has fetched of the data file.
std::map<std::uint64_t, std::uint64_t> fetchedRanges(const std::vector<Testing::LoggedRequest>& requests) {
  std::map<std::uint64_t, std::uint64_t> ranges;
  for (const Testing::LoggedRequest& request : requests) {
    if (!request.file.ends_with("octree.bin")) continue;
    unsigned long long first = 0;
    unsigned long long last = 0;
    if (std::sscanf(request.range.c_str(), "bytes=%llu-%llu", &first, &last) == 2) ranges[first] = last + 1;
  }
  return ranges;
}

}  // namespace

int main(int argc, char** argv) {
  const std::size_t points = argc > 1 ? std::strtoull(argv[1], nullptr, 10) : 720'000;  // 2,000 nodes
  const Testing::TempFolder folder;
  Testing::buildOctree(Testing::surveyRecords(points, 1), PoTree::Encoding::Uncompressed,
                       folder.path() / "cloud", {.leafPoints = 900, .gridBits = 5});
  const std::uint64_t fileSize = std::filesystem::file_size(folder.path() / "cloud" / "octree.bin");
  const Testing::TestAuthority authority;
  const Testing::HttpsServer server(authority, folder.path(), {.delaySeconds = kDelaySeconds});

  const Walked ours = walk(server.url("walk/plain/cloud"));
  const auto requests = server.requests("walk");
  std::uint64_t fetched = 0;
  for (const auto& [first, end] : fetchedRanges(requests)) fetched += end - first;
  std::printf("%zu nodes, %llu points, %.1f MB: %zu requests, %.1f MB of node data fetched\n", ours.nodes,
              static_cast<unsigned long long>(ours.points), static_cast<double>(fileSize) / 1e6,
              requests.size(), static_cast<double>(fetched) / 1e6);
  std::printf("first chunk after %.0f ms, the %zu. request the first for node data\n",
              1e3 * ours.firstChunkSeconds, requestsUntilFirstNode(requests));
  const Walked baseline = oneByOne(server.url("onebyone/plain/cloud"));
  std::printf("walk %.2f s, one request after the other %.2f s: %.1f times as fast\n", ours.walkSeconds,
              baseline.walkSeconds, baseline.walkSeconds / ours.walkSeconds);
  return ours.points == baseline.points && ours.nodes == baseline.nodes ? 0 : 1;
}
