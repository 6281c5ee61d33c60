#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

#include "support/HttpsServer.h"

namespace Testing {

/// nginx over https and HTTP/2 on a free port of 127.0.0.1, serving the files below a folder. It ends with
/// the object, and with the thread that made it.
class NginxServer {
 public:
  /// Whether Debian's nginx is there.
  [[nodiscard]] static bool isInstalled();

  /// Returns when it answers. @throws std::runtime_error when it does not start.
  NginxServer(const TestAuthority& authority, const std::filesystem::path& root);

  [[nodiscard]] std::string url(const std::string& path) const;
  /// Lines of its access log: "PROTOCOL STATUS".
  [[nodiscard]] std::string log() const;

 private:
  [[nodiscard]] bool start(const TestAuthority& authority, const std::filesystem::path& root);

  TempFolder folder_;
  std::uint16_t port_ = 0;
  std::unique_ptr<Process> process_;
};

}  // namespace Testing
