#pragma once

#include <stdexcept>

namespace Program {

/// The program was called in a way that means nothing: exit status 2, with this text on standard error. The
/// text names the option or argument.
class CallError : public std::invalid_argument {
 public:
  using std::invalid_argument::invalid_argument;
};

}  // namespace Program
