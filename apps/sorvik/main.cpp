#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <iostream>

#include "sorvik/CommandLine.h"

namespace {

/// Opens what the caller closed, for the wrong direction: else a file of ours would get the number of
/// standard output and be written over by the results.
void keepStandardDescriptors() {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(descriptor, F_GETFD) >= 0 || errno != EBADF) continue;
    (void)open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
  }
}

}  // namespace

int main(int argc, char** argv) {
  keepStandardDescriptors();
  // A reader that goes and a file that may not grow are errors of the write, not the end of the process.
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
  Program::Interrupt interrupt;
  Program::Output results(STDOUT_FILENO, "standard output");
  return static_cast<int>(Program::run(argc, argv, {results, std::cerr, interrupt}));
}
