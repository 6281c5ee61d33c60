#include "sorvik/Output.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace Program {

Output::Output(int descriptor, std::string name) : descriptor_(descriptor), name_(std::move(name)) {}

void Output::write(std::string_view bytes) {
  while (!bytes.empty() && !readerGone_) {
    const ssize_t written = ::write(descriptor_, bytes.data(), bytes.size());
    if (written >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(written));
    } else {
      waitOrFail(errno);
    }
  }
}

void Output::waitOrFail(int error) {
  if (error == EPIPE) {
    readerGone_ = true;
  } else if (error == EAGAIN) {
    // The descriptor was handed to us in non-blocking mode, which is not ours to change.
    pollfd ready{descriptor_, POLLOUT, 0};
    poll(&ready, 1, -1);
  } else if (error != EINTR) {
    throw std::system_error(error, std::generic_category(), name_);
  }
}

}  // namespace Program
