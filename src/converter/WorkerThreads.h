#pragma once

#include <functional>
#include <stop_token>

namespace Converter {

/// Calls @p body(stop token) on @p count threads (at least one, the caller's among them) and returns when all
/// have ended. The token is told to stop when @p stopToken is, or when one of the calls has thrown; the first
/// exception is thrown here, ConversionCancelled when there was none and @p stopToken was told to stop.
void runOnThreads(unsigned count, std::stop_token stopToken,
                  const std::function<void(std::stop_token)>& body);

/// @throws ConversionCancelled when @p stopToken was told to stop.
void throwIfStopped(const std::stop_token& stopToken);

}  // namespace Converter
