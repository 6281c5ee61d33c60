#include "converter/WorkerThreads.h"

#include <exception>
#include <mutex>
#include <thread>
#include <vector>

#include "converter/ConversionError.h"

namespace Converter {

void runOnThreads(unsigned count, std::stop_token stopToken,
                  const std::function<void(std::stop_token)>& body) {
  std::stop_source stop;
  std::exception_ptr error;
  std::mutex errorMutex;
  {
    const std::stop_callback whenStopped(stopToken, [&] { stop.request_stop(); });
    const auto guarded = [&] {
      try {
        body(stop.get_token());
      } catch (...) {
        const std::lock_guard lock(errorMutex);
        if (!error) error = std::current_exception();
        stop.request_stop();
      }
    };
    std::vector<std::jthread> threads;
    for (unsigned i = 1; i < count; ++i) threads.emplace_back(guarded);
    guarded();
  }
  if (error) std::rethrow_exception(error);
  throwIfStopped(stopToken);
}

void throwIfStopped(const std::stop_token& stopToken) {
  if (stopToken.stop_requested()) throw ConversionCancelled();
}

}  // namespace Converter
