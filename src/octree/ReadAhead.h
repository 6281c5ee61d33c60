#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>

#include "math/SoAPointContainer.h"
#include "octree/Octree.h"

namespace Octree::Algorithm {

/// Loads nodes that a walk will come to, on the octree's workers, while the walk's owner uses the points of
/// the nodes before. Nodes are named by their numbers in the walk. What is loaded waits here until it is
/// taken; what was not begun by then is left to the taker, so that nobody waits for a queue. Belongs to one
/// walk, on one thread; the destructor cancels what is under way and waits for it.
class ReadAhead {
 public:
  /// Bytes of the data file that may be under way or waiting, compressed as they stand.
  static constexpr std::uint64_t kByteBudget = std::uint64_t{32} << 20U;

  /// @param stopToken  the walk's: a stop ends the loading, too.
  ReadAhead(std::shared_ptr<Octree> octree, std::stop_token stopToken);
  ~ReadAhead();
  ReadAhead(const ReadAhead&) = delete;
  ReadAhead& operator=(const ReadAhead&) = delete;

  [[nodiscard]] bool hasRoom() const { return bytes_ < kByteBudget; }

  /// Begins to load a node of @p bytes; numbers rise from call to call.
  void request(std::uint64_t number, const OctreeNodeId& id, std::uint64_t bytes);

  /// Takes the node of that number out, waiting for it if it is being loaded; nodes before it are dropped.
  /// @return whether it was loaded, its points then being in @p points; nothing when it was not requested or
  ///         not begun.
  std::optional<bool> take(std::uint64_t number, Math::NodePoints& points);

 private:
  enum class Progress { Waiting, Running, Done, Dropped };

  struct Node {
    std::uint64_t number;
    OctreeNodeId id;
    std::uint64_t bytes;
    Progress progress = Progress::Waiting;  // guarded by Shared::mutex
    bool loaded = false;                    // written before Done, read after
    Math::NodePoints points;                // likewise
  };

  /// What tasks share with their walk; it outlives both.
  struct Shared {
    std::mutex mutex;
    std::condition_variable changed;
    std::size_t running = 0;  // guarded by mutex
  };

  void dropFront();

  const std::shared_ptr<Octree> octree_;
  const std::shared_ptr<Shared> shared_ = std::make_shared<Shared>();
  std::stop_source stop_;
  std::stop_callback<std::function<void()>> whenWalkStops_;
  std::deque<std::shared_ptr<Node>> nodes_;  // by rising number
  std::uint64_t bytes_ = 0;                  // of nodes_
};

}  // namespace Octree::Algorithm
