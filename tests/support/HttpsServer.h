#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "support/Process.h"
#include "support/TempFolder.h"

namespace Testing {

/// A test authority and certificates for servers of this machine, made new. From then on this process trusts
/// the authority, by SSL_CERT_FILE, and asks no proxy for its own machine.
class TestAuthority {
 public:
  /// @throws std::runtime_error when openssl cannot make them.
  TestAuthority();

  [[nodiscard]] const std::filesystem::path& folder() const { return folder_.path(); }

 private:
  TempFolder folder_;
};

/// A request as a server has noted it; "-" for what it did not have.
struct LoggedRequest {
  std::string file;
  std::string range;
  std::string ifRange;
  std::string authorization;
  std::string acceptEncoding;
  std::string query;
  std::string clientPort;
};

/// tests/support/https_server.py, which answers wrongly on purpose, on free ports of 127.0.0.1. It ends with
/// the object, and with the thread that made it.
class HttpsServer {
 public:
  struct Setup {
    double delaySeconds = 0;  ///< before each answer
    std::uint16_t port = 0;   ///< 0: a free one
  };

  /// Serves the files below @p root; returns when it answers. Authority and root must outlive the object.
  HttpsServer(const TestAuthority& authority, const std::filesystem::path& root, const Setup& setup);
  HttpsServer(const TestAuthority& authority, const std::filesystem::path& root)
      : HttpsServer(authority, root, Setup{}) {}

  /// "https://127.0.0.1:PORT/" and the path: CASE/FAULT[/FILE].
  /// @param certificate  "good", "expired", "wrong-host" or "self-signed".
  [[nodiscard]] std::string url(const std::string& path, const std::string& certificate = "good") const;
  [[nodiscard]] std::uint16_t port(const std::string& certificate = "good") const;
  /// The requests so far of a case, in order.
  [[nodiscard]] std::vector<LoggedRequest> requests(const std::string& testCase) const;

 private:
  TempFolder folder_;
  std::map<std::string, std::uint16_t> ports_;
  std::unique_ptr<Process> process_;
};

}  // namespace Testing
