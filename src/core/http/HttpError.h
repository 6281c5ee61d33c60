#pragma once

#include <stdexcept>
#include <string>

namespace Core {

/// A request that failed for good. The text names the address, without query and credentials, and the reason.
class HttpError : public std::runtime_error {
 public:
  /// @param status  of the answer that was the last one; 0 when there was none.
  HttpError(const std::string& text, int status) : std::runtime_error(text), status_(status) {}

  [[nodiscard]] int status() const { return status_; }
  /// Whether the server answered that what was asked for is not there for this client (4xx).
  [[nodiscard]] bool isRefusal() const { return status_ >= 400 && status_ < 500; }

 private:
  int status_;
};

}  // namespace Core
