#pragma once

#include <functional>

namespace Testing {

/// Runs @p work in a forked child process, which has no other threads and runs no destructors of the test.
/// @return the child's exit status, which is what @p work returns (0 to 127); 128 and the signal's number
/// when
///         a signal ended it, and 127 when @p work threw, which is then printed.
/// @throws std::runtime_error when there can be no child.
int inChild(const std::function<int()>& work);

/// The same, the child being a user without privileges (65534) when the test runs as root.
int asPlainUser(const std::function<int()>& work);

}  // namespace Testing
