#include "core/Workers.h"

#include <algorithm>
#include <utility>

namespace Core {

Workers::Workers() : Workers(std::max(2U, std::thread::hardware_concurrency()) - 1) {}

Workers::Workers(unsigned threads) : threadCount_(threads) {}

Workers::~Workers() {
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
    tasks_.clear();
  }
  wake_.notify_all();
}

void Workers::add(std::function<void()> task) {
  {
    const std::lock_guard lock(mutex_);
    tasks_.push_back(std::move(task));
    if (threads_.empty()) {
      for (unsigned i = 0; i < threadCount_; ++i) threads_.emplace_back([this] { run(); });
    }
  }
  wake_.notify_one();
}

void Workers::run() {
  for (;;) {
    std::function<void()> task;
    {
      std::unique_lock lock(mutex_);
      wake_.wait(lock, [this] { return stopping_ || !tasks_.empty(); });
      if (stopping_) return;
      task = std::move(tasks_.front());
      tasks_.pop_front();
    }
    task();
  }
}

}  // namespace Core
