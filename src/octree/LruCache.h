#pragma once

#include <cstdint>
#include <list>
#include <mutex>
#include <stdexcept>
#include <stop_token>
#include <unordered_map>
#include <utility>

namespace Octree {

/// A least-recently-used map from keys to shared handles, filled by loaders. Evicted values stay valid for
/// whoever holds them.
/// Threads: all calls are safe together. The loader runs without the lock, so a slow load blocks nobody and
/// several threads may load one key at once; the value stored first is the one that all of them get.
template <class Key, class Value>
class LruCache {
 public:
  /// @param capacity  the most weight held; every entry weighs 1.
  explicit LruCache(std::uint64_t capacity) : capacity_(capacity) {}

  /// Gives the value of @p key when it is held; @p result stays as it is otherwise.
  bool find(const Key& key, Value& result) {
    const std::lock_guard lock(mutex_);
    if (!places_.contains(key)) return false;
    result = moveToFront(key).value;
    return true;
  }

  /// Gives the value of @p key in @p result, from the cache or else from @p loader, which is called as
  /// bool(key, Value& result, std::stop_token).
  /// @return false, and nothing is stored, when the loader returned false or a stop was requested by then.
  template <class Loader>
  bool get(const Key& key, Value& result, const Loader& loader, std::stop_token stopToken) {
    if (find(key, result)) return true;
    Value loaded{};
    if (!loader(key, loaded, stopToken) || stopToken.stop_requested()) return false;
    const std::lock_guard lock(mutex_);
    const auto stored = places_.find(key);
    if (stored != places_.end()) {
      result = stored->second->value;
      return true;
    }
    while (capacity_ - used_ == 0 && !places_.empty()) evictLast();
    entries_.push_front({key, std::move(loaded), kWeight});
    places_.emplace(key, entries_.begin());
    used_ += kWeight;
    result = entries_.front().value;
    return true;
  }

 private:
  static constexpr std::uint64_t kWeight = 1;

  struct Entry {
    Key key;
    Value value;
    std::uint64_t weight;
  };

  const Entry& moveToFront(const Key& key) {
    const std::lock_guard lock(mutex_);
    const auto place = places_.find(key);
    if (place == places_.end()) throw std::invalid_argument("Error: Key is not in cache");
    entries_.splice(entries_.begin(), entries_, place->second);
    return entries_.front();
  }

  void evictLast() {
    used_ -= entries_.back().weight;
    places_.erase(entries_.back().key);
    entries_.pop_back();
  }

  std::recursive_mutex mutex_;  // guards all that follows; the hit path locks it twice
  std::uint64_t capacity_;
  std::uint64_t used_ = 0;
  std::list<Entry> entries_;  // most recently used first
  std::unordered_map<Key, typename std::list<Entry>::iterator> places_;
};

}  // namespace Octree
