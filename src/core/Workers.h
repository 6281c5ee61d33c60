#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace Core {

/// A queue of tasks and the threads that work it off, for work that goes on behind its caller.
/// The destructor drops tasks that have not begun and joins the threads, so a running task must end soon once
/// its owner has cancelled it. Tasks must not throw and must not own the Workers' owner.
/// Threads: all calls are safe together; the lock is never held while a task runs.
class Workers {
 public:
  /// One thread fewer than the processors, at least one. Threads start with the first task.
  Workers();
  explicit Workers(unsigned threads);
  ~Workers();
  Workers(const Workers&) = delete;
  Workers& operator=(const Workers&) = delete;

  void add(std::function<void()> task);

 private:
  void run();

  const unsigned threadCount_;
  std::mutex mutex_;
  std::condition_variable wake_;
  std::deque<std::function<void()>> tasks_;  // guarded by mutex_
  bool stopping_ = false;                    // guarded by mutex_
  std::vector<std::jthread> threads_;  // guarded by mutex_; last, so that threads end before the rest goes
};

}  // namespace Core
