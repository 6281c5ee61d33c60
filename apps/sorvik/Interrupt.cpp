#include "sorvik/Interrupt.h"

#include <unistd.h>

#include <csignal>

#include "sorvik/ExitStatus.h"

namespace Program {
namespace {

// A signal handler has no argument to find an object by: this is the one variable that outlives all calls.
volatile std::sig_atomic_t interrupted = 0;

extern "C" void onInterrupt(int /*signal*/) {
  if (interrupted != 0) _exit(static_cast<int>(ExitStatus::Interrupted));
  interrupted = 1;
}

}  // namespace

Interrupt::Interrupt() {
  struct sigaction action {};
  action.sa_handler = onInterrupt;
  sigemptyset(&action.sa_mask);
  action.sa_flags = 0;  // no SA_RESTART: a write to a reader that has stopped must end
  sigaction(SIGINT, &action, nullptr);
  sigset_t interrupts;
  sigemptyset(&interrupts);
  sigaddset(&interrupts, SIGINT);
  sigprocmask(SIG_UNBLOCK, &interrupts, nullptr);  // the mask is inherited
}

bool Interrupt::came() const { return interrupted != 0; }

void Interrupt::check() const {
  if (came()) throw Interrupted();
}

}  // namespace Program
