#include "sorvik/Interrupt.h"

#include <poll.h>
#include <unistd.h>

#include <csignal>
#include <ctime>
#include <string_view>

#include "sorvik/ExitStatus.h"

namespace Program {
namespace {

sigset_t interrupts() {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGINT);
  return set;
}

/// Says it where that does not wait: nobody may read standard error any more.
void say(std::string_view text) {
  pollfd ready{STDERR_FILENO, POLLOUT, 0};
  if (poll(&ready, 1, 0) == 1) (void)!write(STDERR_FILENO, text.data(), text.size());
}

}  // namespace

Interrupt::Interrupt() {
  const sigset_t set = interrupts();
  pthread_sigmask(SIG_BLOCK, &set, nullptr);
  std::signal(SIGINT, SIG_DFL);  // a signal that is ignored, as by what a shell starts behind, never arrives
  const timespec noTime{};
  came_ = sigtimedwait(&set, nullptr, &noTime) == SIGINT;  // it may have come before
  thread_ = std::thread([this] { waitForSignals(); });
}

Interrupt::~Interrupt() {
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
  }
  pthread_kill(thread_.native_handle(), SIGINT);
  thread_.join();
}

void Interrupt::check() const {
  if (came()) throw Interrupted();
}

void Interrupt::endAtOnce() {
  const std::lock_guard lock(mutex_);
  atOnce_ = true;
  if (came_) leave();
}

void Interrupt::removeUnfinished(const std::function<std::string()>& make) {
  const std::lock_guard lock(mutex_);
  unfinishedFile_ = make();
}

void Interrupt::waitForSignals() {
  const sigset_t set = interrupts();
  for (;;) {
    int signal = 0;
    if (sigwait(&set, &signal) != 0) continue;
    const std::lock_guard lock(mutex_);
    if (ending_) return;
    if (atOnce_ || came_) leave();
    came_ = true;
  }
}

/// The other threads go on meanwhile, so nothing is torn down; the file is theirs no more once it has no
/// name.
void Interrupt::leave() const {
  if (!unfinishedFile_.empty()) unlink(unfinishedFile_.c_str());
  say("sorvik: interrupted\n");
  _exit(static_cast<int>(ExitStatus::Interrupted));
}

}  // namespace Program
