#include "support/ForkedChild.h"

#include <grp.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <stdexcept>

namespace Testing {
namespace {

constexpr int kThrown = 127;
constexpr uid_t kPlainUser = 65534;

}  // namespace

int inChild(const std::function<int()>& work) {
  const pid_t child = fork();
  if (child < 0) throw std::runtime_error("cannot fork");
  if (child == 0) {
    int status = kThrown;
    try {
      status = work();
    } catch (const std::exception& error) {
      std::fprintf(stderr, "in a forked child: %s\n", error.what());
    }
    _exit(status);
  }
  int status = 0;
  if (waitpid(child, &status, 0) != child) throw std::runtime_error("cannot wait for a child");
  return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

int asPlainUser(const std::function<int()>& work) {
  return inChild([&] {
    const bool isPlain =
        geteuid() != 0 || (setgroups(0, nullptr) == 0 && setresgid(kPlainUser, kPlainUser, kPlainUser) == 0 &&
                           setresuid(kPlainUser, kPlainUser, kPlainUser) == 0);
    if (!isPlain) throw std::runtime_error("cannot become a plain user");
    return work();
  });
}

}  // namespace Testing
