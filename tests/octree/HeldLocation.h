#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

#include "octree/MapLocation.h"

namespace Testing {

/// An octree's files as behind a slow line: fetches return at once, and those that are held are answered when
/// the test says so. A stop ends a held fetch. Threads: all calls are safe together.
class HeldLocation final : public PoTree::Location {
 public:
  using Request = MapLocation::Request;

  explicit HeldLocation(const PotreeFiles& files) : files_(files) {}

  /// From now on holds the fetches that @p which says; those of a file.
  void hold(std::function<bool(const Request&)> which);
  void hold(const std::string& name);
  /// Holds none any more and answers what is held, the last first.
  void answerAll();
  /// Answers what is held as it comes, on a thread of its own, until this object goes.
  void answerInBackground();

  /// The fetches that were held from the first on, answered or not.
  [[nodiscard]] std::size_t numHeld() const;
  /// Waits until so many were held, for ten seconds at most. Gives how many there were then.
  std::size_t waitUntilHeld(std::size_t count) const;
  /// Those that a stop ended.
  [[nodiscard]] std::size_t numStopped() const;
  [[nodiscard]] const MapLocation& files() const { return files_; }
  [[nodiscard]] MapLocation& files() { return files_; }

  [[nodiscard]] std::string toString() const override { return "held"; }
  [[nodiscard]] std::future<std::string> fetchFile(const std::string& name, std::uint64_t byteOffset,
                                                   std::uint64_t byteCount,
                                                   std::stop_token stopToken) const override;
  [[nodiscard]] std::future<std::uint64_t> fetchFileSize(const std::string& name,
                                                         std::stop_token stopToken) const override;

 private:
  struct Held {
    std::promise<std::string> promise;
    std::future<std::string> answer;
    bool open = true;
    std::optional<std::stop_callback<std::function<void()>>> onStop;
  };

  void answer(Held& held) const;
  void stop(Held& held) const;

  MapLocation files_;
  mutable std::mutex mutex_;  // guards what follows
  std::function<bool(const Request&)> holds_;
  mutable std::vector<std::shared_ptr<Held>> held_;
  mutable std::size_t stopped_ = 0;
  std::jthread answering_;  // last, so that it ends first
};

}  // namespace Testing
