// A host program that loads the library, forks with it loaded, and unloads it again.
//   unload LIBRARY
#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace {

int fail(const char* what) {
  const char* const reason = dlerror();
  std::fprintf(stderr, "%s: %s\n", what, reason == nullptr ? "" : reason);
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  for (int round = 0; round < 3; ++round) {
    void* const library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) return fail("dlopen");
    // std::string Sorvik::versionString()
    if (dlsym(library, "_ZN6Sorvik13versionStringB5cxx11Ev") == nullptr) return fail("dlsym");
    const pid_t child = fork();
    if (child == 0) std::exit(0);
    int status = 0;
    if (waitpid(child, &status, 0) != child || status != 0) return fail("a forked child");
    if (dlclose(library) != 0) return fail("dlclose");
    if (dlopen(argv[1], RTLD_NOW | RTLD_NOLOAD) != nullptr) return fail("the library stays loaded");
  }
  return 0;
}
