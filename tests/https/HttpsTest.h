#pragma once

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "core/http/HttpClient.h"
#include "support/HttpsServer.h"

namespace Testing {

/// What all tests of this program share: a test authority, and a server of the files below a folder, which
/// holds data.bin.
struct HttpsWorld {
  HttpsWorld();

  TempFolder root;
  std::string data;  ///< of data.bin: 200,000 bytes that do not repeat
  TestAuthority authority;
  HttpsServer server;
};

/// Made by the first call.
[[nodiscard]] HttpsWorld& httpsWorld();

/// Tests of clients of that server. Its settings have short pauses; what else a test wants to be short, it
/// says.
class HttpsTest : public testing::Test {
 protected:
  HttpsTest();

  [[nodiscard]] HttpsServer& server() { return httpsWorld().server; }
  /// The name of this test, by which the server knows its requests.
  [[nodiscard]] static std::string testCase();
  /// The address of the root by way of a fault: see tests/support/https_server.py.
  [[nodiscard]] std::string url(const std::string& fault, const std::string& certificate = "good");
  [[nodiscard]] std::vector<LoggedRequest> requests() { return server().requests(testCase()); }

  /// Bytes of data.bin as they are, and as a new client gets them.
  [[nodiscard]] static std::string data(std::size_t offset = 100, std::size_t count = 1000);
  [[nodiscard]] std::string fetch(const std::string& fault, std::uint64_t offset = 100,
                                  std::uint64_t count = 1000);
  /// The message with which the same fails, from what follows the name of the file on; "none" when it does
  /// not.
  [[nodiscard]] std::string failure(const std::string& fault, std::uint64_t offset = 100,
                                    std::uint64_t count = 1000);
  [[nodiscard]] std::string wholeFailure(const std::string& fault, const std::string& file = "data.bin");

  Core::HttpSettings settings;
};

/// The message of what @p call throws; "none" otherwise.
template <class Call>
[[nodiscard]] std::string thrownBy(const Call& call) {
  try {
    (void)call();
  } catch (const std::exception& error) {
    return error.what();
  }
  return "none";
}

}  // namespace Testing
