#include "converter/IndexStage.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <random>
#include <span>
#include <utility>

#include "converter/ChunkWork.h"
#include "converter/FileRole.h"
#include "converter/UpperTree.h"
#include "converter/WorkerThreads.h"

namespace Converter {
namespace {

/// What finished nodes above the chunks may take of the memory.
std::uint64_t upperBytes(const WorkOrder& order) { return order.memoryBudget / 16; }

/// Takes chunks through their steps on all threads: loading as memory allows, choosing above in the order of
/// the chunks, selecting, encoding in batches, and writing in the order of the chunks. The foremost chunk
/// that is not yet written is always let in, so that the wait for memory ends.
class Indexer {
 public:
  Indexer(const IndexPlan& plan, TempStore& store, OctreeWriter& writer, AttributeStatistics& statistics,
          const WorkOrder& order, Progress& progress)
      : plan_(plan),
        store_(store),
        writer_(writer),
        statistics_(statistics),
        order_(order),
        progress_(progress),
        upper_(plan.sampling, plan.output, store, upperBytes(order)),
        chunks_(plan.chunks.size()),
        random_(order.shuffleSeed.value_or(0)) {}

  IndexResult run(std::stop_token stopToken) {
    runOnThreads(order_.threads, stopToken, [this](const std::stop_token& stop) {
      const std::stop_callback wakeAll(stop, [this] {
        const std::lock_guard lock(mutex_);
        changed_.notify_all();
      });
      SpacingGrid grid;
      while (const auto task = nextTask(stop)) {
        work(*task, grid, stop);
        const std::lock_guard lock(mutex_);
        changed_.notify_all();
      }
    });
    writeUpper(stopToken);
    return result_;
  }

 private:
  enum class Step { Waiting, Loading, Loaded, Selecting, Encoding, Encoded };

  struct ChunkState {
    std::unique_ptr<ChunkWork> work;
    Step step = Step::Waiting;
    std::uint64_t memory = 0;
    std::vector<std::size_t> batches;  // not yet begun
    std::size_t batchesUnderWay = 0;
  };

  enum class Kind { Load, Select, Encode, Write };
  struct Task {
    Kind kind;
    std::size_t chunk;
    std::size_t batch = 0;
  };

  /// Waits until there is something to do. Nothing when all is done or a stop was requested.
  std::optional<Task> nextTask(const std::stop_token& stop) {
    std::unique_lock lock(mutex_);
    for (;;) {
      if (stop.stop_requested() || written_ == chunks_.size()) return std::nullopt;
      if (const auto task = findTask()) return task;
      changed_.wait(lock);
    }
  }

  /// The task that brings the foremost chunk on, and only then a new chunk. Under the lock.
  std::optional<Task> findTask() {
    if (!writing_ && chunks_[written_].step == Step::Encoded) {
      writing_ = true;
      return Task{Kind::Write, written_};
    }
    if (!choosing_ && chosen_ < chunks_.size() && chunks_[chosen_].step == Step::Loaded) {
      choosing_ = true;
      chunks_[chosen_].step = Step::Selecting;
      return Task{Kind::Select, chosen_};
    }
    for (std::size_t i = written_; i < loaded_; ++i) {
      if (!chunks_[i].batches.empty()) return Task{Kind::Encode, i, takeBatch(chunks_[i])};
    }
    return findLoad();
  }

  std::optional<Task> findLoad() {
    if (loaded_ == chunks_.size()) return std::nullopt;
    const std::uint64_t memory = ChunkWork::memoryFor(plan_, plan_.chunks[loaded_]);
    const bool foremost = loaded_ == written_;
    if (!foremost && (memoryInUse_ + memory + upperBytes(order_) > order_.memoryBudget ||
                      loaded_ - written_ >= order_.threads)) {
      return std::nullopt;
    }
    ChunkState& chunk = chunks_[loaded_];
    chunk.work = std::make_unique<ChunkWork>(plan_, plan_.chunks[loaded_], store_, progress_);
    chunk.step = Step::Loading;
    chunk.memory = memory;
    memoryInUse_ += memory;
    return Task{Kind::Load, loaded_++};
  }

  std::size_t takeBatch(ChunkState& chunk) {
    if (order_.shuffleSeed) std::swap(chunk.batches[random_() % chunk.batches.size()], chunk.batches.back());
    const std::size_t batch = chunk.batches.back();
    chunk.batches.pop_back();
    ++chunk.batchesUnderWay;
    return batch;
  }

  void work(const Task& task, SpacingGrid& grid, const std::stop_token& stop) {
    switch (task.kind) {
      case Kind::Load:
        return load(task.chunk, stop);
      case Kind::Select:
        return select(task.chunk, grid, stop);
      case Kind::Encode:
        return encode(task, stop);
      case Kind::Write:
        return write(task.chunk);
    }
  }

  void load(std::size_t number, const std::stop_token& stop) {
    AttributeStatistics dropped(plan_.records);
    const std::uint64_t duplicates = chunks_[number].work->load(dropped, stop);
    const std::lock_guard lock(mutex_);
    result_.duplicates += duplicates;
    statistics_.removeDuplicates(dropped);
    chunks_[number].step = Step::Loaded;
  }

  void select(std::size_t number, SpacingGrid& grid, const std::stop_token& stop) {
    ChunkWork& work = *chunks_[number].work;
    work.chooseAbove(upper_);
    {
      const std::lock_guard lock(mutex_);
      choosing_ = false;
      ++chosen_;
      changed_.notify_all();
    }
    work.select(grid, stop);
    const std::lock_guard lock(mutex_);
    ChunkState& chunk = chunks_[number];
    memoryInUse_ -= std::exchange(chunk.memory, work.memoryForEncoding());
    memoryInUse_ += chunk.memory;
    chunk.step = work.numBatches() == 0 ? Step::Encoded : Step::Encoding;
    for (std::size_t batch = work.numBatches(); batch > 0; --batch) chunk.batches.push_back(batch - 1);
  }

  void encode(const Task& task, const std::stop_token& stop) {
    chunks_[task.chunk].work->encode(task.batch, stop);
    const std::lock_guard lock(mutex_);
    ChunkState& chunk = chunks_[task.chunk];
    if (--chunk.batchesUnderWay == 0 && chunk.batches.empty()) chunk.step = Step::Encoded;
  }

  void write(std::size_t number) {
    const std::uint64_t numPoints = chunks_[number].work->write(writer_);
    chunks_[number].work.reset();
    const std::lock_guard lock(mutex_);
    result_.numPoints += numPoints;
    memoryInUse_ -= chunks_[number].memory;
    writing_ = false;
    ++written_;
  }

  /// The nodes above the chunks, encoded a few at a time.
  void writeUpper(const std::stop_token& stopToken) {
    const std::vector<UpperTree::Node> nodes = upper_.finish();
    const std::size_t group = std::size_t{order_.threads} * 4;
    for (std::size_t first = 0; first < nodes.size(); first += group) {
      writeUpperGroup(std::span(nodes).subspan(first, std::min(group, nodes.size() - first)), stopToken);
    }
  }

  void writeUpperGroup(std::span<const UpperTree::Node> nodes, const std::stop_token& stopToken) {
    std::vector<RawBytes> records(nodes.size());
    std::vector<std::string> scratch(nodes.size());
    std::vector<EncodedNode> encoded(nodes.size());
    std::atomic<std::size_t> next{0};
    runOnThreads(order_.threads, stopToken, [&](const std::stop_token& stop) {
      for (std::size_t i = next++; i < nodes.size() && !stop.stop_requested(); i = next++) {
        std::span<const std::byte> bytes = nodes[i].records;
        if (bytes.empty()) {
          const TempStore::Piece piece = store_.piecesOf(nodes[i].cell).front();
          records[i].resize(piece.size);
          store_.read(piece, records[i]);
          bytes = records[i];
        }
        encoded[i] = {nodes[i].id, nodes[i].numPoints, plan_.encoder.encode(bytes, scratch[i])};
        progress_.advance(nodes[i].numPoints * plan_.shares.encode);
      }
    });
    withRole(FileRole::Output, [&] { writer_.addEncoded(encoded); });
    for (const UpperTree::Node& node : nodes) result_.numPoints += node.numPoints;
  }

  const IndexPlan& plan_;
  TempStore& store_;
  OctreeWriter& writer_;             // one thread at a time, by writing_
  AttributeStatistics& statistics_;  // guarded by mutex_
  const WorkOrder& order_;
  Progress& progress_;
  UpperTree upper_;  // one thread at a time, by choosing_

  std::mutex mutex_;  // guards all that follows; the work in a chunk is guarded by its step
  std::condition_variable changed_;
  std::vector<ChunkState> chunks_;
  std::size_t loaded_ = 0;   // chunks that were let in
  std::size_t chosen_ = 0;   // chunks from which the nodes above have chosen
  std::size_t written_ = 0;  // chunks that are in the file
  bool choosing_ = false;
  bool writing_ = false;
  std::uint64_t memoryInUse_ = 0;
  std::mt19937_64 random_;
  IndexResult result_;
};

}  // namespace

IndexResult indexChunks(const IndexPlan& plan, TempStore& store, OctreeWriter& writer,
                        AttributeStatistics& statistics, const WorkOrder& order, Progress& progress,
                        std::stop_token stopToken) {
  return Indexer(plan, store, writer, statistics, order, progress).run(std::move(stopToken));
}

}  // namespace Converter
