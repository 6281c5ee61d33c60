#include "core/Parallel.h"

#include <algorithm>

#ifdef SORVIK_PLAIN_THREADS
#include <atomic>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>
#else
#include <tbb/parallel_for.h>
#endif

namespace Core {

#ifdef SORVIK_PLAIN_THREADS

void parallelFor(std::size_t count, const std::function<void(std::size_t)>& body) {
  std::atomic<std::size_t> next{0};
  std::mutex mutex;
  std::exception_ptr failure;  // guarded by mutex
  const auto work = [&] {
    for (std::size_t i = next++; i < count; i = next++) {
      try {
        body(i);
      } catch (...) {
        const std::lock_guard lock(mutex);
        if (!failure) failure = std::current_exception();
        next = count;
      }
    }
  };
  {
    std::vector<std::jthread> helpers;
    const std::size_t threads =
        std::min<std::size_t>(count, std::max(1U, std::thread::hardware_concurrency()));
    for (std::size_t t = 1; t < threads; ++t) helpers.emplace_back(work);
    work();
  }
  if (failure) std::rethrow_exception(failure);
}

#else

void parallelFor(std::size_t count, const std::function<void(std::size_t)>& body) {
  tbb::parallel_for(std::size_t{0}, count, body);
}

#endif

void parallelBlocks(std::size_t count, std::size_t blockSize,
                    const std::function<void(std::size_t, std::size_t)>& body) {
  const std::size_t blocks = count / blockSize + (count % blockSize != 0 ? 1 : 0);
  parallelFor(blocks, [&](std::size_t block) {
    const std::size_t first = block * blockSize;
    body(first, first + std::min(blockSize, count - first));
  });
}

}  // namespace Core
