#include "support/Process.h"

#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <stdexcept>
#include <thread>

#include "support/SampleData.h"

namespace Testing {
namespace {

int memoryFile() {
  const int descriptor = memfd_create("caught", MFD_CLOEXEC);
  if (descriptor < 0) throw std::runtime_error("memfd_create failed");
  return descriptor;
}

std::string contents(int descriptor) {
  std::string bytes(static_cast<std::size_t>(lseek(descriptor, 0, SEEK_END)), '\0');
  const ssize_t got = pread(descriptor, bytes.data(), bytes.size(), 0);
  if (got != static_cast<ssize_t>(bytes.size())) throw std::runtime_error("cannot read what a process said");
  return bytes;
}

/// In the child, after fork: only calls that are safe there.
[[noreturn]] void become(char* const* arguments, int out, int err, bool pendingInterrupt) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);  // a test that dies leaves no servers behind
  dup2(out, STDOUT_FILENO);
  dup2(err, STDERR_FILENO);
  std::signal(SIGINT, SIG_DFL);  // whoever runs the tests may ignore it
  std::signal(SIGPIPE, SIG_DFL);
  if (pendingInterrupt) {
    sigset_t interrupts;
    sigemptyset(&interrupts);
    sigaddset(&interrupts, SIGINT);
    sigprocmask(SIG_BLOCK, &interrupts, nullptr);
    raise(SIGINT);
  }
  execv(arguments[0], arguments);
  _exit(127);
}

}  // namespace

Process::Process(const std::vector<std::string>& command, const ProcessSetup& setup)
    : out_(memoryFile()), err_(memoryFile()) {
  std::vector<std::string> words = command;
  std::vector<char*> arguments(words.size() + 1);  // the last one stays null
  std::transform(words.begin(), words.end(), arguments.begin(),
                 [](std::string& word) { return word.data(); });
  const int out = setup.output < 0 ? out_ : setup.output;
  const int err = setup.errors < 0 ? err_ : setup.errors;
  pid_ = fork();
  if (pid_ == 0) become(arguments.data(), out, err, setup.pendingInterrupt);
  if (pid_ < 0) throw std::runtime_error("cannot start " + command.front());
}

Process::~Process() {
  if (!ended_) {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
  close(out_);
  close(err_);
}

void Process::signal(int number) const { kill(pid_, number); }

void Process::waitUntilItSleeps() const {
  const std::string path = "/proc/" + std::to_string(pid_) + "/stat";
  for (;;) {
    const std::string stat = readFile(path);
    const char state = stat[stat.rfind(')') + 2];  // the name before it may hold anything
    if (state == 'S' || state == 'Z') return;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

bool Process::hasEnded() const {
  siginfo_t info{};
  return waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
         info.si_pid == pid_;
}

ProcessResult Process::wait() {
  int status = 0;
  while (waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
  }
  ended_ = true;
  return {WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status), contents(out_), contents(err_)};
}

ProcessResult runProcess(const std::vector<std::string>& command) { return Process(command).wait(); }

}  // namespace Testing
