#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>

#include "math/SoAPointContainer.h"
#include "octree/Octree.h"

namespace Octree::Algorithm {

/// Loads nodes that a walk will come to while the walk's owner uses the points of the nodes before. Nodes are
/// named by their numbers in the walk. What is loaded waits here until it is taken.
///
/// Where fetches wait in the call (disk), the octree's workers fetch and decode. Elsewhere (https) all
/// fetches are begun at once, so that the line is never idle, and the workers decode what has come; none of
/// them waits for bytes. A taker whose node is not begun loads it himself, and decodes others while a worker
/// has his.
///
/// Belongs to one walk, on one thread; the destructor cancels what is under way and waits for the workers
/// alone, which look at the stop once a MiB.
class ReadAhead {
 public:
  /// Bytes of the data file that may be under way or waiting, compressed as they stand.
  static constexpr std::uint64_t kByteBudget = std::uint64_t{32} << 20U;
  /// Nodes likewise: the smallest have no bytes to speak of, but take memory here.
  static constexpr std::size_t kMostNodes = 4096;

  /// @param stopToken  the walk's: a stop ends the loading, too.
  ReadAhead(std::shared_ptr<Octree> octree, std::stop_token stopToken,
            std::uint64_t byteBudget = kByteBudget);
  ~ReadAhead();
  ReadAhead(const ReadAhead&) = delete;
  ReadAhead& operator=(const ReadAhead&) = delete;

  /// Of the fetches: requested by a stop of the walk and by its end.
  [[nodiscard]] std::stop_token stopToken() const { return stop_.get_token(); }

  [[nodiscard]] bool hasRoom() const { return bytes_ < byteBudget_ && nodes_.size() < kMostNodes; }

  /// Begins to load a node of @p bytes; numbers rise from call to call.
  void request(std::uint64_t number, const OctreeNodeId& id, std::uint64_t bytes);

  /// Gives the workers what has been fetched by now.
  void handOver();

  /// Lets go of the nodes before that number.
  void dropBefore(std::uint64_t number);

  /// Takes the node of that number out, waiting for it; nodes before it are dropped.
  /// @return whether it was loaded, its points then being in @p points; nothing when it was not requested.
  /// @throws what loading it threw.
  std::optional<bool> take(std::uint64_t number, Math::NodePoints& points);

 private:
  enum class Progress { Waiting, Running, Done, Dropped };

  struct Node {
    std::uint64_t number = 0;
    OctreeNodeId id;
    std::uint64_t bytes = 0;
    bool absent = false;                     // its bytes have not come and it has no task; the walk's alone
    Progress progress = Progress::Waiting;   // guarded by Shared::mutex
    std::optional<PoTree::NodeFetch> fetch;  // this and what follows: of whoever moved the node to Running
    bool loaded = false;
    std::exception_ptr error;
    Math::NodePoints points;
  };
  using NodePtr = std::shared_ptr<Node>;

  /// What tasks share with their walk; it outlives both.
  struct Shared {
    std::mutex mutex;
    std::condition_variable changed;
    std::size_t running = 0;  // guarded by mutex; on workers
  };

  void addTask(const NodePtr& node);
  void waitForPoints(const NodePtr& node);
  [[nodiscard]] NodePtr firstWaiting() const;
  void dropFront();
  static void load(Octree& octree, Node& node, const std::stop_token& stopToken);

  const std::shared_ptr<Octree> octree_;
  const bool fetchOnWorkers_;
  const std::uint64_t byteBudget_;
  const std::shared_ptr<Shared> shared_ = std::make_shared<Shared>();
  std::stop_source stop_;
  std::stop_callback<std::function<void()>> whenWalkStops_;
  std::deque<NodePtr> nodes_;   // by rising number
  std::deque<NodePtr> absent_;  // those of them whose bytes have not come
  std::uint64_t bytes_ = 0;     // of nodes_
};

}  // namespace Octree::Algorithm
