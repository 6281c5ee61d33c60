#include "octree/HeldLocation.h"

#include <chrono>
#include <stdexcept>

namespace Testing {

void HeldLocation::hold(std::function<bool(const Request&)> which) {
  const std::lock_guard lock(mutex_);
  holds_ = std::move(which);
}

void HeldLocation::hold(const std::string& name) {
  hold([name](const Request& request) { return request.name == name; });
}

void HeldLocation::answerAll() {
  hold([](const Request&) { return false; });
  const std::lock_guard lock(mutex_);
  const std::vector<std::shared_ptr<Held>> lastFirst(held_.rbegin(), held_.rend());
  for (const std::shared_ptr<Held>& held : lastFirst) answer(*held);
}

void HeldLocation::answerInBackground() {
  answering_ = std::jthread([this](const std::stop_token& end) {
    for (std::size_t next = 0; !end.stop_requested(); std::this_thread::yield()) {
      const std::lock_guard lock(mutex_);
      for (; next < held_.size(); ++next) answer(*held_[next]);
    }
  });
}

std::size_t HeldLocation::numHeld() const {
  const std::lock_guard lock(mutex_);
  return held_.size();
}

std::size_t HeldLocation::waitUntilHeld(std::size_t count) const {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (numHeld() < count && std::chrono::steady_clock::now() < end) std::this_thread::yield();
  return numHeld();
}

std::size_t HeldLocation::numStopped() const {
  const std::lock_guard lock(mutex_);
  return stopped_;
}

std::future<std::string> HeldLocation::fetchFile(const std::string& name, std::uint64_t byteOffset,
                                                 std::uint64_t byteCount, std::stop_token stopToken) const {
  std::future<std::string> answer = files_.fetchFile(name, byteOffset, byteCount, stopToken);
  const auto held = std::make_shared<Held>();
  {
    const std::lock_guard lock(mutex_);
    if (!holds_ || !holds_({name, byteOffset, byteCount})) return answer;
    held->answer = std::move(answer);
    held_.push_back(held);
  }
  std::future<std::string> result = held->promise.get_future();
  held->onStop.emplace(std::move(stopToken), [this, each = held.get()] { stop(*each); });
  return result;
}

std::future<std::uint64_t> HeldLocation::fetchFileSize(const std::string& name,
                                                       std::stop_token stopToken) const {
  return files_.fetchFileSize(name, std::move(stopToken));
}

void HeldLocation::answer(Held& held) const {
  if (!held.open) return;
  held.open = false;
  try {
    held.promise.set_value(held.answer.get());
  } catch (const std::exception&) {
    held.promise.set_exception(std::current_exception());
  }
}

void HeldLocation::stop(Held& held) const {
  const std::lock_guard lock(mutex_);
  if (!held.open) return;
  held.open = false;
  ++stopped_;
  held.promise.set_exception(std::make_exception_ptr(std::runtime_error("held: stopped")));
}

}  // namespace Testing
