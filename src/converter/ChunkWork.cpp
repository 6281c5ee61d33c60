#include "converter/ChunkWork.h"

#include <algorithm>
#include <span>
#include <utility>

#include "converter/FileRole.h"
#include "converter/WorkerThreads.h"

namespace Converter {
namespace {

constexpr std::size_t kBatchBytes = std::size_t{1} << 20U;

}  // namespace

std::uint64_t ChunkWork::memoryFor(const IndexPlan& plan, const Chunk& chunk) {
  constexpr std::uint64_t kSortBytesPerPoint = 32;  // two entries, or keys, priorities and levels
  return 2 * chunk.bytes + chunk.bytes / plan.records.stride * kSortBytesPerPoint;
}

RawBytes ChunkWork::takeRecords() {
  RawBytes records(chunk_.bytes);
  std::span<std::byte> rest(records);
  for (const std::size_t cell : chunk_.cells) {
    for (const TempStore::Piece& piece : store_.piecesOf(cell)) {
      store_.read(piece, rest.first(piece.size));
      rest = rest.subspan(piece.size);
    }
    store_.discard(cell);
  }
  return records;
}

std::uint64_t ChunkWork::load(AttributeStatistics& dropped, const std::stop_token& stopToken) {
  const std::size_t stride = plan_.records.stride;
  RawBytes records = takeRecords();
  advance(plan_.shares.load);
  throwIfStopped(stopToken);
  points_ = std::make_unique<SortedPoints>(std::move(records), stride, plan_.grid,
                                           static_cast<unsigned>(chunk_.id.level()),
                                           [this] { advance(plan_.shares.order); });
  advance(plan_.shares.gather);
  std::uint64_t duplicates = 0;
  if (plan_.dropDuplicates) {
    points_->dropDuplicates([&](const std::byte* record) {
      dropped.add(RecordView{record, stride, 1});
      ++duplicates;
    });
  }
  throwIfStopped(stopToken);
  tree_ = std::make_unique<ChunkTree>(*points_, chunk_.id, plan_.leafPoints, plan_.sampling);
  return duplicates;
}

void ChunkWork::select(SpacingGrid& grid, const std::stop_token& stopToken) {
  const std::uint64_t units = chunk_.bytes / plan_.records.stride * plan_.shares.select;
  std::uint64_t told = 0;
  tree_->select(grid, stopToken, [&](double share) {
    const auto reached = static_cast<std::uint64_t>(share * static_cast<double>(units));
    progress_.advance(reached - std::exchange(told, reached));
  });
  progress_.advance(units - told);
  std::size_t size = 0;
  for (const ChunkTree::Node& node : tree_->nodes()) {
    nodes_.push_back({node.id, node.numPoints, size});
    size += node.numPoints * plan_.output.stride();
  }
  stored_.resize(size);
  std::vector<std::byte*> next;
  next.reserve(nodes_.size());
  for (const StoredNode& node : nodes_) next.push_back(stored_.data() + node.offset);
  tree_->eachPoint([&](std::size_t node, std::size_t point) {
    plan_.output.convert(points_->record(point), next[node]);
    next[node] += plan_.output.stride();
  });
  tree_.reset();
  points_.reset();
  cutIntoBatches();
  advance(plan_.shares.arrange);
}

void ChunkWork::cutIntoBatches() {
  std::size_t bytes = 0;
  for (std::size_t i = 0; i < nodes_.size(); ++i) {
    if (batches_.empty() || bytes >= kBatchBytes) {
      batches_.push_back({i, i, {}, {}});
      bytes = 0;
    }
    bytes += nodes_[i].numPoints * plan_.output.stride();
    batches_.back().endNode = i + 1;
  }
}

void ChunkWork::encode(std::size_t batch, const std::stop_token& stopToken) {
  NodeBatch& work = batches_[batch];
  work.scratch.resize(work.endNode - work.firstNode);
  for (std::size_t i = work.firstNode; i < work.endNode; ++i) {
    throwIfStopped(stopToken);
    const StoredNode& node = nodes_[i];
    const std::span records(stored_.data() + node.offset, node.numPoints * plan_.output.stride());
    work.encoded.push_back(
        {node.id, node.numPoints, plan_.encoder.encode(records, work.scratch[i - work.firstNode])});
    progress_.advance(node.numPoints * plan_.shares.encode);
  }
}

std::uint64_t ChunkWork::write(OctreeWriter& writer) {
  std::uint64_t numPoints = 0;
  for (NodeBatch& batch : batches_) {
    withRole(FileRole::Output, [&] { writer.addEncoded(batch.encoded); });
    for (const EncodedNode& node : batch.encoded) numPoints += node.numPoints;
  }
  return numPoints;
}

}  // namespace Converter
